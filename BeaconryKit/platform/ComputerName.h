#pragma once

#include <QString>

#include <optional>

namespace pelorin {

/// The computer's name as its user reads it: the name given to it in the system's settings, else its host name. Nothing
/// when it has none. May block for a moment; any thread.
std::optional<QString> computerName();

} // namespace pelorin
