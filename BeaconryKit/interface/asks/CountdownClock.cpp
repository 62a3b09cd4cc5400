#include "BeaconryKit/interface/asks/CountdownClock.h"

namespace pelorin {

Countdown CountdownClock::label(const AskEvent& ask) const {
    return countdownLabel(ask.receivedAt, ask.isPermission() ? waitSeconds : 0, now);
}

bool CountdownClock::isRunning(const AskEvent& ask) const {
    const Countdown::Phase phase = label(ask).phase;
    return phase == Countdown::Phase::running || phase == Countdown::Phase::urgent;
}

} // namespace pelorin
