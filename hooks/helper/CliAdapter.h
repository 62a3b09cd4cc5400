#pragma once

#include "hooks/helper/HttpExchange.h"
#include "hooks/helper/Payload.h"

#include <optional>
#include <string>
#include <string_view>

namespace pelorin::hook {

/// What the helper has to know about one AI CLI. A CLI that is added gets a row in the table behind `adapterFor`.
struct CliAdapter {
    /// The CLI's name, as it stands behind `--source` and in the body.
    std::string_view source;

    /// The environment variable in which the CLI hands its own process id to its hooks, if it does.
    const char* processVariable;

    /// The text of the notice that stands in for a permission request which can't be answered by allowing or denying,
    /// because it asks for something else. Nothing for a real request.
    std::optional<std::string> (*questionText)(const Payload& payload);

    /// What to print so that the CLI carries out the decision. Empty leaves the choice to the CLI's own prompt.
    std::string (*answer)(Decision decision, const Payload& payload);
};

/// The adapter of the CLI with this name. Without one its hooks can tell things, but not ask for permission.
const CliAdapter* adapterFor(std::string_view source);

} // namespace pelorin::hook
