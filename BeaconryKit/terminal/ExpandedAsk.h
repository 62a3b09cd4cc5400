#pragma once

#include "BeaconryKit/model/AskEvent.h"

namespace pelorin {

/// The ask, unfolded. Its detail is the last 20 lines of the terminal's screen that are not empty; a line of blanks is
/// not empty. Its options, and whether it takes text, are those that the whole screen shows.
AskEvent expandedAsk(AskEvent ask, const QString& screenText);

/// Whether both are the same ask, whatever of its terminal either shows.
bool isSameFolded(const AskEvent& left, AskEvent right);

} // namespace pelorin
