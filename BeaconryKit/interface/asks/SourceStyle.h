#pragma once

#include <QString>

#include <array>

namespace pelorin {

/// How a CLI is named and how a session is marked on screen: pure functions and constants.
class SourceStyle {
public:
    SourceStyle() = delete;

    /// An opaque colour of the sRGB space; each part is from 0 to 1.
    struct Colour {
        double red;
        double green;
        double blue;

        bool operator==(const Colour&) const = default;
    };

    static constexpr int paletteCount = 6;
    static constexpr std::array<Colour, paletteCount> palette{{
        {0.36, 0.72, 0.98},
        {0.44, 0.85, 0.56},
        {0.98, 0.64, 0.24},
        {0.86, 0.47, 0.92},
        {0.98, 0.45, 0.52},
        {0.40, 0.80, 0.80},
    }};

    /// The CLI's name for people. A source that is not known is shown with each of its words (between white space)
    /// capitalised; none at all is "?".
    static QString label(const QString& source);

    /// The palette position of the session's dot: always the same for one id. 5 for an empty one, else the 64-bit
    /// FNV-1a hash of the id's UTF-8 bytes (Fowler, Noll and Vo; offset basis 0xcbf29ce484222325, prime 0x100000001b3)
    /// modulo the palette's size.
    static int dotColorIndex(const QString& sessionId);

    /// The colour of the session's dot.
    static Colour dotColor(const QString& sessionId);
};

} // namespace pelorin
