#pragma once

#include "BeaconryKit/terminal/TerminalRunner.h"
#include "BeaconryKit/terminal/TmuxSocket.h"

#include <optional>

namespace pelorin {

/// The terminals in which people look at a tmux server. Pure functions over a runner; they block as long as that does.
class TmuxClients {
public:
    TmuxClients() = delete;

    /// Has the pane's session shown: in a client that shows it already, or else in the one that was used last. Returns
    /// that client's terminal device; nothing when nobody looks at the server, or the pane has gone.
    static std::optional<QString> show(const QString& pane, const TmuxSocket& server, TerminalRunner& runner);
};

} // namespace pelorin
