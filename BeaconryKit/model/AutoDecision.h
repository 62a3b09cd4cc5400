#pragma once

#include <QString>

#include <array>
#include <optional>

namespace pelorin {

/// What happens to a permission request without a person: nothing (it waits), or an answer at once.
enum class AutoDecision { wait, allow, deny };

/// All cases, in the order in which the interface lists them.
inline constexpr std::array allAutoDecisions{AutoDecision::wait, AutoDecision::allow, AutoDecision::deny};

/// The word under which the policy is stored: "wait", "allow" or "deny".
QString rawValue(AutoDecision policy);

/// The policy that the exact, lower-case word stands for; nothing for any other text.
std::optional<AutoDecision> autoDecisionFromRawValue(const QString& rawValue);

/// The policy's name for people: "Wait for me", "Auto-allow" or "Auto-deny".
QString displayName(AutoDecision policy);

} // namespace pelorin
