#include "BeaconryKit/terminal/TerminalCapture.h"

#include "BeaconryKit/terminal/TerminalProgram.h"

namespace pelorin {

std::optional<QString> TerminalCapture::screen(const SessionTarget& target, TerminalRunner& runner) {
    if (!target.tmuxPane.isEmpty())
        return runner.run(QStringLiteral("tmux"), {QStringLiteral("capture-pane"), QStringLiteral("-p"),
                                                   QStringLiteral("-t"), target.tmuxPane});
    if (target.termProgram == TerminalProgram::iTerm)
        return runner.run(
            QStringLiteral("osascript"),
            {QStringLiteral("-e"),
             QStringLiteral(
                 "tell application \"iTerm2\" to tell current session of current window to return contents")});
    if (target.termProgram == TerminalProgram::terminal)
        return runner.run(
            QStringLiteral("osascript"),
            {QStringLiteral("-e"),
             QStringLiteral("tell application \"Terminal\" to return contents of selected tab of front window")});
    return std::nullopt;
}

} // namespace pelorin
