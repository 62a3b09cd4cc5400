#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <QString>

namespace pelorin {

/// What the countdown label of a row says.
struct Countdown {
    enum class Phase {
        /// There is no label.
        none,
        /// Time is left.
        running,
        /// Little time is left.
        urgent,
        /// The answer must now be given in the terminal.
        over
    };

    Phase phase = Phase::none;
    /// The label's text; empty when there is no label.
    QString text;

    bool operator==(const Countdown&) const = default;
};

/// The label at `now` of a row whose answer may be given here until `end`. Whole seconds are rounded up, so that "1s
/// left" stands until the very end.
Countdown countdownLabel(WallTime end, WallTime now);

/// The label at `now` of a row that arrived at `receivedAt` and may wait `waitSeconds`; below 1 second there is none.
Countdown countdownLabel(WallTime receivedAt, qint64 waitSeconds, WallTime now);

} // namespace pelorin
