#include "BeaconryKit/interface/asks/RowArming.h"

#include <utility>

namespace pelorin {

RowArming::RowArming(Moment armsAt) : m_armsAt(armsAt) {
}

bool RowArming::disarm(Moment armsAt) {
    return !std::exchange(m_armsAt, armsAt);
}

bool RowArming::moveTo(double place, Moment armsAt) {
    const std::optional<double> before = std::exchange(m_place, place);
    // A row that is seen for the first time has not moved: somebody has scrolled to it.
    return before && *before != place && disarm(armsAt);
}

bool RowArming::armIfDue(Moment now) {
    if (!m_armsAt || *m_armsAt > now)
        return false;
    m_armsAt.reset();
    return true;
}

} // namespace pelorin
