#include "BeaconryKit/model/AutoDecision.h"

namespace pelorin {

QString rawValue(AutoDecision policy) {
    switch (policy) {
    case AutoDecision::allow:
        return QStringLiteral("allow");
    case AutoDecision::deny:
        return QStringLiteral("deny");
    case AutoDecision::wait:
        break;
    }
    return QStringLiteral("wait");
}

std::optional<AutoDecision> autoDecisionFromRawValue(const QString& text) {
    for (const AutoDecision policy : allAutoDecisions) {
        if (text == rawValue(policy))
            return policy;
    }
    return std::nullopt;
}

QString displayName(AutoDecision policy) {
    switch (policy) {
    case AutoDecision::allow:
        return QStringLiteral("Auto-allow");
    case AutoDecision::deny:
        return QStringLiteral("Auto-deny");
    case AutoDecision::wait:
        break;
    }
    return QStringLiteral("Wait for me");
}

} // namespace pelorin
