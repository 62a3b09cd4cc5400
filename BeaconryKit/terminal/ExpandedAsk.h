#pragma once

#include "BeaconryKit/model/AskEvent.h"

namespace pelorin {

/// The ask, unfolded: with the last 20 lines of the terminal's screen that are not empty as its detail, and with the
/// options, and whether text is taken, that the whole screen shows. A line of blanks is not empty.
AskEvent expandedAsk(AskEvent ask, const QString& screenText);

} // namespace pelorin
