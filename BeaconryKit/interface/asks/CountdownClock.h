#pragma once

#include "BeaconryKit/interface/asks/Countdown.h"
#include "BeaconryKit/model/AskEvent.h"

namespace pelorin {

/// The time that all countdown labels of a list are told by. A value.
struct CountdownClock {
    /// How long a permission request may wait; below 1 there are no labels.
    qint64 waitSeconds = 0;
    WallTime now{};

    /// What the ask's label says. Only permission requests have one.
    Countdown label(const AskEvent& ask) const;
    /// Whether the ask's label still changes with time.
    bool isRunning(const AskEvent& ask) const;
};

} // namespace pelorin
