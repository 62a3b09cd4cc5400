#include "BeaconryKit/interface/manager/QRCode.h"

#include <qrencode.h>

#include <memory>

namespace pelorin {

std::optional<QRCode> QRCode::encode(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
        QRcode_encodeData(static_cast<int>(bytes.size()), reinterpret_cast<const unsigned char*>(bytes.constData()), 0,
                          QR_ECLEVEL_M),
        &QRcode_free);
    if (!code)
        return std::nullopt;
    QByteArray dark(static_cast<qsizetype>(code->width) * code->width, 0);
    // The lowest bit of a module is its colour, the others say what it is for.
    for (qsizetype index = 0; index < dark.size(); ++index)
        dark[index] = static_cast<char>(code->data[index] & 1);
    return QRCode(code->width, std::move(dark));
}

std::optional<QRCode::Bitmap> QRCode::bitmap(int size) const {
    const int scale = size / (m_modules + 2 * quietZone);
    if (scale < 1)
        return std::nullopt;
    const int margin = (size - scale * m_modules) / 2;
    Bitmap bitmap{size, QByteArray(static_cast<qsizetype>(size) * size, '\xff')};
    for (int y = 0; y < scale * m_modules; ++y) {
        char* line = bitmap.pixels.data() + static_cast<qsizetype>(margin + y) * size + margin;
        for (int x = 0; x < scale * m_modules; ++x) {
            if (isDark(x / scale, y / scale))
                line[x] = 0;
        }
    }
    return bitmap;
}

std::optional<QRCode::Bitmap> QRCode::image(const QString& text, int size) {
    const auto code = encode(text);
    return code ? code->bitmap(size) : std::nullopt;
}

} // namespace pelorin
