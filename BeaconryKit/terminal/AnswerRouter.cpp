#include "BeaconryKit/terminal/AnswerRouter.h"

#include "BeaconryKit/platform/ProgrammingError.h"
#include "BeaconryKit/terminal/AppleScriptText.h"
#include "BeaconryKit/terminal/TerminalProgram.h"

#include <limits>

namespace pelorin {

namespace {

/// What the CLI's own prompt takes: the key of the menu's line, not a word.
QString typedText(Decision decision) {
    return decision == Decision::allow ? QStringLiteral("1") : QStringLiteral("2");
}

QString typedText(const AskChoice::Option& option) {
    if (option.index == std::numeric_limits<qint64>::max())
        programmingError("an option's position leaves room for its number");
    return QString::number(option.index + 1);
}

QString typedText(const AskChoice::Text& text) {
    return text.text;
}

} // namespace

AnswerRouter::AnswerRouter(DecisionRouter& router, const NotifierSettings& settings, TerminalRunner& runner)
    : m_router(router), m_settings(settings), m_runner(runner) {
}

AnswerResult AnswerRouter::answer(const AskEvent& ask, const AskChoice& choice, const SessionTarget& target) {
    const auto* decision = std::get_if<Decision>(&choice.value);
    // A hook that waits no longer is no error: the session then shows its own prompt, into which can be typed.
    if (decision && !ask.requestId.isEmpty() && m_router.finish(ask.requestId, *decision, false))
        return AnswerResult::resolvedViaHook();
    if (!mayType(target))
        return AnswerResult::needsTerminal();
    return inject(std::visit([](const auto& answer) { return typedText(answer); }, choice.value), target);
}

bool AnswerRouter::mayType(const SessionTarget& target) const {
    return !target.tmuxPane.isEmpty() || target.optIn || m_settings.injectionAllowlist().contains(target.termProgram);
}

AnswerResult AnswerRouter::inject(const QString& text, const SessionTarget& target) {
    // What the commands print, and whether they worked, is not looked at: there is no second way to try.
    if (!target.tmuxPane.isEmpty()) {
        const auto sendKeys = [&](const QString& keys) {
            m_runner.run(QStringLiteral("tmux"),
                         {QStringLiteral("send-keys"), QStringLiteral("-t"), target.tmuxPane, keys});
        };
        // Not literally: a text that is the name of a key, as C-c, sends that key.
        sendKeys(text);
        sendKeys(QStringLiteral("Enter"));
        return AnswerResult::injected();
    }
    QString script;
    if (target.termProgram == TerminalProgram::iTerm)
        script =
            QStringLiteral("tell application \"iTerm2\" to tell current session of current window to write text \"") +
            escapedForAppleScript(text) + QStringLiteral("\"");
    else if (target.termProgram == TerminalProgram::terminal)
        script = QStringLiteral("tell application \"Terminal\" to activate\n"
                                "tell application \"System Events\" to keystroke \"") +
                 escapedForAppleScript(text) + QStringLiteral("\" & return");
    else
        return AnswerResult::needsTerminal();
    m_runner.run(QStringLiteral("osascript"), {QStringLiteral("-e"), script});
    return AnswerResult::injected();
}

} // namespace pelorin
