#include "BeaconryKit/interface/asks/Countdown.h"

namespace pelorin {

namespace {

constexpr qint64 urgentBelow = 11;

} // namespace

Countdown countdownLabel(WallTime receivedAt, qint64 waitSeconds, WallTime now) {
    if (waitSeconds < 1)
        return {};
    const qint64 remaining = std::chrono::ceil<std::chrono::seconds>(receivedAt - now).count() + waitSeconds;
    if (remaining < 1)
        return {Countdown::Phase::over, QStringLiteral("→ terminal")};
    return {remaining < urgentBelow ? Countdown::Phase::urgent : Countdown::Phase::running,
            QString::number(remaining) + QStringLiteral("s left")};
}

} // namespace pelorin
