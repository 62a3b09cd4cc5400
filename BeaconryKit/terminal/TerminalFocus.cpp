#include "BeaconryKit/terminal/TerminalFocus.h"

#include "BeaconryKit/terminal/TerminalProgram.h"
#include "BeaconryKit/terminal/TmuxClients.h"
#include "BeaconryKit/terminal/TmuxSocket.h"

#include <QFile>

#include <array>
#include <utility>

namespace pelorin {

namespace {

// On Linux there is none.
const QString appleScript = QStringLiteral("/usr/bin/osascript");

template <class Record>
TerminalFocus::Place placeOfRecord(const Record& record) {
    return {.termProgram = record.termProgram,
            .ttyDevicePath = record.ttyDevicePath(),
            .tmuxPane = record.tmuxPane,
            .weztermPane = record.weztermPane,
            .kittyWindowId = record.kittyWindowId};
}

/// The name by which AppleScript knows the application; none for one that AppleScript cannot talk to.
std::optional<QStringView> applicationName(const QString& termProgram) {
    static constexpr std::array<std::pair<QStringView, QStringView>, 5> names{{
        {TerminalProgram::terminal, u"Terminal"},
        {TerminalProgram::iTerm, u"iTerm2"},
        {TerminalProgram::ghostty, u"Ghostty"},
        {TerminalProgram::warp, u"Warp"},
        {TerminalProgram::visualStudioCode, u"Visual Studio Code"},
    }};
    for (const auto& [program, name] : names) {
        if (termProgram == program)
            return name;
    }
    return std::nullopt;
}

/// Brings the application to the front, whichever of its windows that is.
std::optional<QString> activationScript(const QString& termProgram) {
    const auto name = applicationName(termProgram);
    if (!name)
        return std::nullopt;
    return QStringLiteral("tell application \"") + name->toString() + QStringLiteral("\" to activate");
}

/// Selects the tab with the device and puts its window in front.
QString terminalScript(const QString& ttyDevicePath) {
    return QStringLiteral("tell application \"Terminal\"\n"
                          "    activate\n"
                          "    repeat with w in windows\n"
                          "        repeat with t in tabs of w\n"
                          "            if tty of t is \"") +
           ttyDevicePath +
           QStringLiteral("\" then\n"
                          "                set selected of t to true\n"
                          "                set index of w to 1\n"
                          "            end if\n"
                          "        end repeat\n"
                          "    end repeat\n"
                          "end tell");
}

/// Selects the session with the device, its tab and its window.
QString iTermScript(const QString& ttyDevicePath) {
    return QStringLiteral("tell application \"iTerm2\"\n"
                          "    activate\n"
                          "    repeat with w in windows\n"
                          "        repeat with t in tabs of w\n"
                          "            repeat with s in sessions of t\n"
                          "                if tty of s is \"") +
           ttyDevicePath +
           QStringLiteral("\" then\n"
                          "                    select s\n"
                          "                    select t\n"
                          "                    select w\n"
                          "                end if\n"
                          "            end repeat\n"
                          "        end repeat\n"
                          "    end repeat\n"
                          "end tell");
}

/// The commands by which a terminal program's own tool chooses the place, each with its arguments; none without such a
/// tool.
QList<QStringList> toolCommands(const TerminalFocus::Place& place) {
    if (!place.tmuxPane.isEmpty()) {
        const TmuxSocket server(place.tmuxServer);
        if (!server.isOurs())
            return {};
        const auto tmux = [&](const QString& command) {
            return QStringList(QStringLiteral("tmux")) +
                   server.arguments({command, QStringLiteral("-t"), place.tmuxPane});
        };
        // tmux finds the window by the pane.
        return {tmux(QStringLiteral("select-window")), tmux(QStringLiteral("select-pane"))};
    }
    if (!place.weztermPane.isEmpty())
        return {{QStringLiteral("wezterm"), QStringLiteral("cli"), QStringLiteral("activate-pane"),
                 QStringLiteral("--pane-id"), place.weztermPane}};
    if (!place.kittyWindowId.isEmpty())
        return {{QStringLiteral("kitten"), QStringLiteral("@"), QStringLiteral("focus-window"),
                 QStringLiteral("--match"), QStringLiteral("id:") + place.kittyWindowId}};
    return {};
}

} // namespace

TerminalFocus::TerminalFocus(CommandLauncher& launcher, WindowRaiser& raiser) : m_launcher(launcher), m_raiser(raiser) {
}

void TerminalFocus::focus(const AskEvent& ask) {
    focus(placeOf(ask));
}

void TerminalFocus::focus(const SessionInfo& session) {
    focus(placeOf(session));
}

void TerminalFocus::focus(const Place& place) {
    bringForward(place);
}

bool TerminalFocus::bringForward(const Place& place) {
    const QList<QStringList> commands = toolCommands(place);
    for (const QStringList& command : commands)
        m_launcher.start(QStringLiteral("/usr/bin/env"), command);
    const auto text =
        commands.isEmpty() ? script(place.termProgram, place.ttyDevicePath) : activationScript(place.termProgram);
    if (text)
        runScript(*text);
    const bool isRaised = raiseWindow(place.ttyDevicePath);
    return isRaised || !commands.isEmpty() || (text && QFile::exists(appleScript));
}

bool TerminalFocus::show(const Place& place, TerminalRunner& runner) {
    const bool isForward = bringForward(place);
    if (place.tmuxPane.isEmpty())
        return isForward;
    const auto device = TmuxClients::show(place.tmuxPane, TmuxSocket(place.tmuxServer), runner);
    raiseWindow(device);
    return device.has_value();
}

TerminalFocus::Place TerminalFocus::placeOf(const AskEvent& ask) {
    return placeOfRecord(ask);
}

TerminalFocus::Place TerminalFocus::placeOf(const SessionInfo& session) {
    return placeOfRecord(session);
}

void TerminalFocus::focus(const QString& termProgram, const std::optional<QString>& ttyDevicePath) {
    bringForward({.termProgram = termProgram, .ttyDevicePath = ttyDevicePath});
}

std::optional<QString> TerminalFocus::script(const QString& termProgram, const std::optional<QString>& ttyDevicePath) {
    if (ttyDevicePath && termProgram == TerminalProgram::terminal)
        return terminalScript(*ttyDevicePath);
    if (ttyDevicePath && termProgram == TerminalProgram::iTerm)
        return iTermScript(*ttyDevicePath);
    return activationScript(termProgram);
}

std::optional<QString> TerminalFocus::script(const Place& place) {
    QStringList lines;
    for (const QStringList& command : toolCommands(place))
        lines.append(command.join(u' '));
    return lines.isEmpty() ? script(place.termProgram, place.ttyDevicePath) : lines.join(QStringLiteral("; "));
}

std::optional<QString> TerminalFocus::script(const AskEvent& ask) {
    return script(placeOf(ask));
}

void TerminalFocus::runScript(const QString& script) {
    // Where there is no AppleScript this starts nothing, and the desktop's own means remain.
    m_launcher.start(appleScript, {QStringLiteral("-e"), script});
}

bool TerminalFocus::raiseWindow(const std::optional<QString>& ttyDevicePath) {
    return ttyDevicePath && m_raiser.raise(*ttyDevicePath);
}

} // namespace pelorin
