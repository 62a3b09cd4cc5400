#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace pelorin {

/// A QR code with 15 % error correction (level M), the text as its UTF-8 bytes. A value; any thread. It knows modules
/// and pixels only: painting is the interface's.
class QRCode {
public:
    /// How many light modules a scanner needs around the code.
    static constexpr int quietZone = 4;

    /// A square picture of one byte a pixel, row by row: 0 is dark, 255 is light.
    struct Bitmap {
        int size = 0;
        QByteArray pixels;

        bool operator==(const Bitmap&) const = default;
    };

    /// Encodes the text. Nothing for an empty one and for more than a code can hold (2,331 bytes).
    static std::optional<QRCode> encode(const QString& text);

    /// How many modules the code has a side, the quiet zone not counted: 21 to 177.
    int modules() const { return m_modules; }

    /// Whether a module is dark; both from 0 to below `modules()`.
    bool isDark(int column, int row) const { return m_dark[row * m_modules + column] != 0; }

    /// The code with its quiet zone, centred in a picture of `size` by `size` pixels. Every module is a square of the
    /// same whole number of pixels, the greatest that fits, so it is sharp at any size. Nothing when a module would be
    /// smaller than a pixel.
    std::optional<Bitmap> bitmap(int size) const;

    /// Both steps: the picture of a text, if there can be one.
    static std::optional<Bitmap> image(const QString& text, int size);

    bool operator==(const QRCode&) const = default;

private:
    QRCode(int modules, QByteArray dark) : m_modules(modules), m_dark(std::move(dark)) {}

    int m_modules;
    QByteArray m_dark;
};

} // namespace pelorin
