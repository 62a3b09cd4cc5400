#include "BeaconryKit/model/Blanks.h"

namespace pelorin {

QString trimBlanks(const QString& text) {
    const auto isBlank = [](QChar character) {
        return character == u' ' || character == u'\t';
    };
    QStringView trimmed = text;
    while (!trimmed.isEmpty() && isBlank(trimmed.front()))
        trimmed = trimmed.sliced(1);
    while (!trimmed.isEmpty() && isBlank(trimmed.back()))
        trimmed.chop(1);
    return trimmed.toString();
}

} // namespace pelorin
