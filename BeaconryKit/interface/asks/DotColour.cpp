#include "BeaconryKit/interface/asks/DotColour.h"

#include "BeaconryKit/interface/asks/SourceStyle.h"

namespace pelorin {

QColor dotColour(const QString& sessionId) {
    const SourceStyle::Colour colour = SourceStyle::dotColor(sessionId);
    return QColor::fromRgbF(static_cast<float>(colour.red), static_cast<float>(colour.green),
                            static_cast<float>(colour.blue));
}

} // namespace pelorin
