#include "BeaconryKit/terminal/SessionTerminal.h"

#include "BeaconryKit/terminal/AppleScriptText.h"
#include "BeaconryKit/terminal/TerminalCapture.h"
#include "BeaconryKit/terminal/TerminalProgram.h"

namespace pelorin {

namespace {

const QString iTermSession =
    QStringLiteral("tell application \"iTerm2\" to tell current session of current window to ");
const QString terminalKeys = QStringLiteral("tell application \"Terminal\" to activate\n"
                                            "tell application \"System Events\" to ");

} // namespace

SessionTerminal::SessionTerminal(SessionTarget target, const TmuxSocket& server, TerminalRunner& runner)
    : m_target(std::move(target)), m_server(server), m_runner(&runner) {
}

std::optional<QString> SessionTerminal::screen() const {
    if (m_target.tmuxPane.isEmpty() || m_server.isDefault())
        return TerminalCapture::screen(m_target, *m_runner);
    return tmux({QStringLiteral("capture-pane"), QStringLiteral("-p"), QStringLiteral("-t"), m_target.tmuxPane});
}

bool SessionTerminal::takesKeys() const {
    if (m_target.tmuxPane.isEmpty())
        return m_target.termProgram == TerminalProgram::iTerm || m_target.termProgram == TerminalProgram::terminal;
    const auto mode = tmux({QStringLiteral("display-message"), QStringLiteral("-p"), QStringLiteral("-t"),
                            m_target.tmuxPane, QStringLiteral("#{pane_in_mode}")});
    return mode && mode->trimmed() == u'0';
}

void SessionTerminal::type(const QString& text) const {
    if (m_target.tmuxPane.isEmpty()) {
        const QString quoted = u'"' + escapedForAppleScript(text) + u'"';
        runScript(QStringLiteral("write text ") + quoted + QStringLiteral(" newline NO"),
                  QStringLiteral("keystroke ") + quoted);
        return;
    }
    // To tmux a semicolon at the end of an argument ends the command, even after "--".
    QString keys = text;
    if (keys.endsWith(u';'))
        keys.insert(keys.size() - 1, u'\\');
    tmux({QStringLiteral("send-keys"), QStringLiteral("-t"), m_target.tmuxPane, QStringLiteral("-l"),
          QStringLiteral("--"), keys});
}

void SessionTerminal::pressReturn() const {
    if (m_target.tmuxPane.isEmpty())
        runScript(QStringLiteral("write text \"\""), QStringLiteral("keystroke return"));
    else
        tmux({QStringLiteral("send-keys"), QStringLiteral("-t"), m_target.tmuxPane, QStringLiteral("Enter")});
}

QString SessionTerminal::name() const {
    if (m_target.tmuxPane.isEmpty())
        return m_target.termProgram;
    return m_server.arguments({m_target.tmuxPane}).join(u' ');
}

std::optional<QString> SessionTerminal::tmux(const QStringList& command) const {
    return m_server.isOurs() ? m_runner->run(QStringLiteral("tmux"), m_server.arguments(command)) : std::nullopt;
}

void SessionTerminal::runScript(const QString& forITerm, const QString& forTerminal) const {
    if (m_target.termProgram == TerminalProgram::iTerm)
        m_runner->run(QStringLiteral("osascript"), {QStringLiteral("-e"), iTermSession + forITerm});
    else if (m_target.termProgram == TerminalProgram::terminal)
        m_runner->run(QStringLiteral("osascript"), {QStringLiteral("-e"), terminalKeys + forTerminal});
}

} // namespace pelorin
