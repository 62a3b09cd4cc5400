#include "BeaconryKit/interface/asks/CountdownClock.h"

namespace pelorin {

Countdown CountdownClock::label(const AskEvent& ask) const {
    if (const auto end = knownEnd(ask))
        return countdownLabel(*end, now);
    return countdownLabel(ask.receivedAt, ask.isPermission() ? waitSeconds : 0, now);
}

bool CountdownClock::isRunning(const AskEvent& ask) const {
    const Countdown::Phase phase = label(ask).phase;
    return phase == Countdown::Phase::running || phase == Countdown::Phase::urgent;
}

bool CountdownClock::takesDecision(const AskEvent& ask) const {
    if (!ask.isPermission())
        return false;
    const auto end = knownEnd(ask);
    return !end || now < *end;
}

std::optional<WallTime> CountdownClock::knownEnd(const AskEvent& ask) const {
    return endOfWait && ask.isPermission() ? endOfWait(ask.id()) : std::nullopt;
}

} // namespace pelorin
