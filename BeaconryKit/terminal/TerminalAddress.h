#pragma once

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/SessionInfo.h"

namespace pelorin {

/// Whether what a hook tells of its terminal can be an address at all. Records keep it as it came, and anybody who
/// reaches the port can send it: it is looked at before it becomes part of a command or a script. Pure functions.
class TerminalAddress {
public:
    TerminalAddress() = delete;

    /// "%" and digits.
    static bool isTmuxPane(QStringView text);
    /// Digits: a pane of wezterm, a window of kitty.
    static bool isNumber(QStringView text);
    /// A device's name or path: letters and digits of ASCII, "/", ".", "_" and "-".
    static bool isDevice(QStringView text);

    /// The record, in which all that is no address is empty.
    static AskEvent checked(AskEvent ask);
    static SessionInfo checked(SessionInfo session);
};

} // namespace pelorin
