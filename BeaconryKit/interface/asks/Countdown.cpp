#include "BeaconryKit/interface/asks/Countdown.h"

namespace pelorin {

namespace {

constexpr qint64 urgentBelow = 11;

Countdown labelOf(qint64 remaining) {
    if (remaining < 1)
        return {Countdown::Phase::over, QStringLiteral("→ terminal")};
    return {remaining < urgentBelow ? Countdown::Phase::urgent : Countdown::Phase::running,
            QString::number(remaining) + QStringLiteral("s left")};
}

qint64 secondsUntil(WallTime end, WallTime now) {
    return std::chrono::ceil<std::chrono::seconds>(end - now).count();
}

} // namespace

Countdown countdownLabel(WallTime end, WallTime now) {
    return labelOf(secondsUntil(end, now));
}

Countdown countdownLabel(WallTime receivedAt, qint64 waitSeconds, WallTime now) {
    // Added to whole seconds: a wait may be longer than any time can be.
    return waitSeconds < 1 ? Countdown{} : labelOf(secondsUntil(receivedAt, now) + waitSeconds);
}

} // namespace pelorin
