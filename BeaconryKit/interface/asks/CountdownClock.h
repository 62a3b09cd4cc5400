#pragma once

#include "BeaconryKit/interface/asks/Countdown.h"
#include "BeaconryKit/model/AskEvent.h"

#include <functional>
#include <optional>

namespace pelorin {

/// When the hook of the ask of that identity waits no longer; nothing where that is not known.
using EndOfWait = std::function<std::optional<WallTime>(const QString& askId)>;

/// The time that all countdown labels of a list are told by. A value.
struct CountdownClock {
    /// How long a permission request may wait whose own end is not known; below 1 there are no labels.
    qint64 waitSeconds = 0;
    WallTime now{};
    /// The requests' own ends. Empty: none is known.
    EndOfWait endOfWait = {};

    /// What the ask's label says. Only permission requests have one.
    Countdown label(const AskEvent& ask) const;
    /// Whether the ask's label still changes with time.
    bool isRunning(const AskEvent& ask) const;
    /// Whether the ask takes a decision: it is a permission request, and its wait is not known to be over.
    bool takesDecision(const AskEvent& ask) const;

private:
    std::optional<WallTime> knownEnd(const AskEvent& ask) const;
};

} // namespace pelorin
