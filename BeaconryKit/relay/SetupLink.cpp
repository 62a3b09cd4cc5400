#include "BeaconryKit/relay/SetupLink.h"

#include "BeaconryKit/model/Blanks.h"

namespace pelorin {

QString phoneSetupLink(const QString& relayURL, const QString& relayToken) {
    return trimBlanks(relayURL) + QStringLiteral("/?t=") + trimBlanks(relayToken);
}

} // namespace pelorin
