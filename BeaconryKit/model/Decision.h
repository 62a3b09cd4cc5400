#pragma once

#include <QString>

#include <optional>

namespace pelorin {

/// The answer to a permission request. `ask` hands the question back to the CLI, which then asks at its own prompt.
enum class Decision { allow, deny, ask };

/// The word that stands for the decision in replies to hooks: "allow", "deny" or "ask".
QString rawValue(Decision decision);

/// The decision that the exact, lower-case word stands for; nothing for any other text.
std::optional<Decision> decisionFromRawValue(const QString& rawValue);

} // namespace pelorin
