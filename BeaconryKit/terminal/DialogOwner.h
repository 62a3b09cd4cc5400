#pragma once

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/SharedAsks.h"
#include "BeaconryKit/terminal/TerminalDialog.h"

namespace pelorin {

/// Whether the dialog is the one that the ask is about. A session with several open requests shows one dialog at a
/// time, and a notice may be older than what the terminal shows. `rows` are all rows, the ask's own among them: a
/// dialog that could be another request's, too, is nobody's. A pure function.
bool isDialogOf(const TerminalDialog& dialog, const AskEvent& ask, const SharedAsks& rows);

} // namespace pelorin
