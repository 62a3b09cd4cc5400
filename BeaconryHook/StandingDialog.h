#pragma once

#include "BeaconryBase/FileDescriptor.h"
#include "BeaconryHook/Deadline.h"
#include "BeaconryHook/DialogWatch.h"

namespace pelorin::hook {

/// Takes the signals that tell this process to end, instead of ending. There is one at most.
class EndSignals {
public:
    EndSignals();

    /// Gets readable with the first signal.
    int descriptor() const { return m_readEnd.number(); }

private:
    FileDescriptor m_readEnd;
};

/// How the wait for the end of a dialog has ended.
enum class DialogEnd {
    /// The dialog is gone: the CLI or a later hook has said so, or the session's record, or there is no CLI any more.
    gone,
    /// It may stand still.
    unknown
};

/// Waits until the dialog that stands in the terminal is gone, or the time is up. The other end of `answerDescriptor`
/// is the CLI's.
DialogEnd awaitEndOfDialog(const EndSignals& signals, DialogWatch& watch, int answerDescriptor,
                           const Deadline& deadline);

} // namespace pelorin::hook
