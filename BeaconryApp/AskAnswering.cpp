#include "BeaconryApp/AskAnswering.h"

#include "BeaconryKit/platform/Overloaded.h"
#include "BeaconryKit/terminal/ExpandedAsk.h"
#include "BeaconryKit/terminal/TerminalCapture.h"

#include <QThread>

namespace pelorin {

AskAnswering::AskAnswering(const AskAnsweringParts& parts)
    : m_parts(parts), m_answerRouter(parts.router, parts.settings, parts.runner) {
}

void AskAnswering::handle(const AskEvent& ask, const AskAction& action) {
    std::visit(Overloaded{
                   [&](const AskAction::Option& option) { answer(ask, AskChoice::option(option.index)); },
                   [&](const AskAction::Text& text) { answer(ask, AskChoice::text(text.text)); },
                   [&](const AskAction::Open&) {
                       // The CLI's own prompt gets the question back.
                       resolve(ask, Decision::ask);
                       m_parts.focus.focus(ask);
                       m_parts.store.remove(ask.id());
                   },
                   [&](const AskAction::Dismiss&) {
                       resolve(ask, Decision::ask);
                       m_parts.store.remove(ask.id());
                   },
                   [&](const AskAction::Allow&) { decide(ask, Decision::allow); },
                   [&](const AskAction::Deny&) { decide(ask, Decision::deny); },
                   [&](const AskAction::Expand&) { expand(ask.id()); },
               },
               action.value);
}

void AskAnswering::decideByPhone(const QString& requestId, Decision decision) {
    m_parts.router.resolve(requestId, decision);
    m_parts.store.remove(requestId);
}

void AskAnswering::expand(const QString& id) {
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [this, id] { expand(id); }, Qt::BlockingQueuedConnection);
        return;
    }
    const SharedAsk ask = m_parts.store.ask(id);
    if (!ask)
        return;
    if (const auto screen = TerminalCapture::screen(target(*ask), m_parts.runner))
        m_parts.store.upsert(expandedAsk(*ask, *screen));
}

std::optional<AskEvent> AskAnswering::unfolded(const AskEvent& ask) const {
    const SharedAsk row = m_parts.store.ask(ask.id());
    if (!row)
        return std::nullopt;
    AskEvent folded = *row;
    folded.detail = ask.detail;
    folded.options = ask.options;
    folded.acceptsText = ask.acceptsText;
    return folded == ask ? std::optional(*row) : std::nullopt;
}

SessionTarget AskAnswering::target(const AskEvent& ask) const {
    const auto session = m_parts.registry.session(ask.sessionId);
    return {.tmuxPane = ask.tmuxPane,
            .tty = ask.ttyDevicePath().value_or(QString()),
            .termProgram = ask.termProgram,
            .optIn = session && session->optIn};
}

void AskAnswering::answer(const AskEvent& ask, const AskChoice& choice) {
    if (m_answerRouter.answer(ask, choice, target(ask)) == AnswerResult::needsTerminal())
        m_parts.focus.focus(ask);
    else
        m_parts.store.remove(ask.id());
}

bool AskAnswering::resolve(const AskEvent& ask, Decision decision) {
    return ask.isPermission() && m_parts.router.resolve(ask.requestId, decision);
}

void AskAnswering::decide(const AskEvent& ask, Decision decision) {
    // A hook that waits no longer has left the question to the terminal.
    if (ask.isPermission() && !resolve(ask, decision))
        m_parts.focus.focus(ask);
    m_parts.store.remove(ask.id());
}

} // namespace pelorin
