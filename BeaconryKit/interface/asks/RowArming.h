#pragma once

#include <chrono>
#include <optional>

namespace pelorin {

/// Whether a row takes clicks. It does once it has stood still for long enough: whoever was about to click where a row
/// has just come to meant something else. A value; who holds it says how long is enough.
class RowArming {
public:
    using Moment = std::chrono::steady_clock::time_point;

    /// A row that takes no clicks before `armsAt`.
    explicit RowArming(Moment armsAt);

    bool isArmed() const { return !m_armsAt; }
    /// When the row is due to take clicks; nothing when it takes them already.
    std::optional<Moment> armsAt() const { return m_armsAt; }

    /// The row takes no clicks before `armsAt`. Returns whether it took them until now.
    bool disarm(Moment armsAt);
    /// The row stands at `place`, in pixels from any fixed point. If it stood elsewhere, it is disarmed. Returns
    /// whether it took clicks until now.
    bool moveTo(double place, Moment armsAt);
    /// The row takes clicks from now on if it is due. Returns whether it was.
    bool armIfDue(Moment now);

private:
    std::optional<double> m_place;
    // Nothing once the row is armed.
    std::optional<Moment> m_armsAt;
};

} // namespace pelorin
