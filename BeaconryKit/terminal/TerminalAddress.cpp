#include "BeaconryKit/terminal/TerminalAddress.h"

#include <algorithm>

namespace pelorin {

namespace {

constexpr bool isDigit(QChar unit) {
    return unit >= u'0' && unit <= u'9';
}

constexpr bool isDeviceUnit(QChar unit) {
    return isDigit(unit) || (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || unit == u'/' ||
           unit == u'.' || unit == u'_' || unit == u'-';
}

template <class Record>
Record checkedRecord(Record record) {
    if (!TerminalAddress::isTmuxPane(record.tmuxPane))
        record.tmuxPane.clear();
    if (!TerminalAddress::isNumber(record.weztermPane))
        record.weztermPane.clear();
    if (!TerminalAddress::isNumber(record.kittyWindowId))
        record.kittyWindowId.clear();
    if (!TerminalAddress::isDevice(record.tty))
        record.tty.clear();
    return record;
}

} // namespace

bool TerminalAddress::isTmuxPane(QStringView text) {
    return text.startsWith(u'%') && isNumber(text.sliced(1));
}

bool TerminalAddress::isNumber(QStringView text) {
    return !text.isEmpty() && std::ranges::all_of(text, isDigit);
}

bool TerminalAddress::isDevice(QStringView text) {
    return !text.isEmpty() && std::ranges::all_of(text, isDeviceUnit);
}

AskEvent TerminalAddress::checked(AskEvent ask) {
    return checkedRecord(std::move(ask));
}

SessionInfo TerminalAddress::checked(SessionInfo session) {
    return checkedRecord(std::move(session));
}

} // namespace pelorin
