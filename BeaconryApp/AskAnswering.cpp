#include "BeaconryApp/AskAnswering.h"

#include "BeaconryKit/platform/Overloaded.h"
#include "BeaconryKit/terminal/ExpandedAsk.h"
#include "BeaconryKit/terminal/TerminalAddress.h"
#include "BeaconryKit/terminal/TerminalCapture.h"

#include <QThread>

namespace pelorin {

AskAnswering::AskAnswering(const AskAnsweringParts& parts)
    : m_parts(parts), m_answerRouter(parts.router, parts.settings, parts.runner) {
    if (parts.details && parts.dispatch)
        m_typedAnswer = std::make_unique<TypedAnswer>(parts.store, *parts.dispatch, [this](const AskEvent& ask) {
            // The dialog has been answered: a hook that still waits for the same has nothing to say any more.
            resolve(ask, Decision::ask);
            m_parts.store.remove(ask.id());
        });
}

void AskAnswering::handle(const AskEvent& ask, const AskAction& action) {
    std::visit(Overloaded{
                   [&](const AskAction::Option& option) { answer(ask, AskChoice::option(option.index)); },
                   [&](const AskAction::Text& text) { answer(ask, AskChoice::text(text.text)); },
                   [&](const AskAction::Open&) {
                       // The CLI's own prompt gets the question back.
                       resolve(ask, Decision::ask);
                       show(ask);
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
    if (const auto known = details(*ask)) {
        if (const auto screen = terminal(*ask, *known).screen())
            m_parts.store.upsert(m_typedAnswer->unfolded(*ask, *screen));
    } else if (const auto screen = TerminalCapture::screen(target(*ask), m_parts.runner)) {
        m_parts.store.upsert(expandedAsk(*ask, *screen));
    }
}

std::optional<AskEvent> AskAnswering::unfolded(const AskEvent& ask) const {
    const SharedAsk row = m_parts.store.ask(ask.id());
    return row && isSameFolded(*row, ask) ? std::optional(*row) : std::nullopt;
}

void AskAnswering::show(const AskEvent& ask) {
    show(TerminalFocus::placeOf(TerminalAddress::checked(ask)), ask.sessionId, details(ask));
}

void AskAnswering::show(const SessionInfo& session) {
    show(TerminalFocus::placeOf(TerminalAddress::checked(session)), session.sessionId,
         m_parts.details ? m_parts.details->ofSession(session.sessionId) : std::nullopt);
}

void AskAnswering::show(TerminalFocus::Place place, const QString& sessionId,
                        const std::optional<HelperDetails>& details) {
    if (!details) {
        m_parts.focus.focus(place);
        return;
    }
    place.tmuxServer = details->tmuxServer;
    if (!m_parts.focus.show(place, m_parts.runner))
        emit terminalNotShown(sessionId);
}

std::optional<HelperDetails> AskAnswering::details(const AskEvent& ask) const {
    return m_typedAnswer ? m_parts.details->ofAsk(ask) : std::nullopt;
}

SessionTerminal AskAnswering::terminal(const AskEvent& ask, const HelperDetails& details) const {
    return {target(ask), TmuxSocket(details.tmuxServer), m_parts.runner};
}

SessionTarget AskAnswering::target(const AskEvent& record) const {
    const AskEvent ask = TerminalAddress::checked(record);
    const auto session = m_parts.registry.session(ask.sessionId);
    return {.tmuxPane = ask.tmuxPane,
            .tty = ask.ttyDevicePath().value_or(QString()),
            .termProgram = ask.termProgram,
            .optIn = session && session->optIn};
}

void AskAnswering::answer(const AskEvent& ask, const AskChoice& choice) {
    if (const auto known = details(ask); known && typeCarefully(ask, choice, *known))
        return;
    if (m_answerRouter.answer(ask, choice, target(ask)) == AnswerResult::needsTerminal())
        show(ask);
    else
        m_parts.store.remove(ask.id());
}

bool AskAnswering::typeCarefully(const AskEvent& ask, const AskChoice& choice, const HelperDetails& details) {
    const SessionTerminal terminal = this->terminal(ask, details);
    if (!m_answerRouter.mayType(terminal.target()))
        return false;
    switch (m_typedAnswer->answer(ask, choice, terminal)) {
    case TypedAnswer::Start::taken:
        return true;
    case TypedAnswer::Start::notTaken:
        break;
    case TypedAnswer::Start::notSeen:
        // The same pane of another server is another session's.
        if (terminal.isOnDefaultServer())
            return false;
        break;
    }
    show(ask);
    return true;
}

bool AskAnswering::resolve(const AskEvent& ask, Decision decision) {
    return ask.isPermission() && m_parts.router.resolve(ask.requestId, decision);
}

void AskAnswering::decide(const AskEvent& ask, Decision decision) {
    // A hook that waits no longer has left the question to the terminal.
    if (ask.isPermission() && !resolve(ask, decision))
        show(ask);
    m_parts.store.remove(ask.id());
}

} // namespace pelorin
