#include "BeaconryKit/model/Decision.h"

namespace pelorin {

QString rawValue(Decision decision) {
    switch (decision) {
    case Decision::allow:
        return QStringLiteral("allow");
    case Decision::deny:
        return QStringLiteral("deny");
    case Decision::ask:
        break;
    }
    return QStringLiteral("ask");
}

std::optional<Decision> decisionFromRawValue(const QString& text) {
    for (const Decision decision : {Decision::allow, Decision::deny, Decision::ask}) {
        if (text == rawValue(decision))
            return decision;
    }
    return std::nullopt;
}

} // namespace pelorin
