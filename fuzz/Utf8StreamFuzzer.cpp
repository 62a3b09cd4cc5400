#include "BeaconryKit/terminal/Utf8Stream.h"

#include <cstdint>
#include <cstdlib>
#include <unicode/ustring.h>
#include <vector>

namespace {

using namespace pelorin;

/// What ICU makes of all the bytes at once.
QString icuText(QByteArrayView bytes) {
    // No byte becomes more than one unit.
    std::vector<UChar> units(static_cast<std::size_t>(bytes.size()) + 1);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(units.data(), static_cast<int32_t>(units.size()), &length, bytes.data(),
                         static_cast<int32_t>(bytes.size()), 0xfffd, nullptr, &status);
    if (U_FAILURE(status))
        std::abort();
    return QString(reinterpret_cast<const QChar*>(units.data()), length);
}

} // namespace

/// However the bytes are cut, the text is what ICU makes of them uncut. The first bytes say where the cuts are.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t cuts = 4;
    if (size < cuts)
        return 0;
    QByteArrayView rest(data + cuts, static_cast<qsizetype>(size - cuts));
    const QString expected = icuText(rest);
    Utf8Stream stream;
    QString text;
    for (std::size_t cut = 0; cut < cuts; ++cut) {
        const qsizetype length = std::min<qsizetype>(data[cut] % 8, rest.size());
        text += stream.decode(rest.first(length));
        rest = rest.sliced(length);
    }
    text += stream.decode(rest) + stream.finish();
    if (text != expected)
        std::abort();
    return 0;
}
