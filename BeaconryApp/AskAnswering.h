#pragma once

#include "BeaconryKit/model/AskAction.h"
#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/service/DecisionRouter.h"
#include "BeaconryKit/service/RequestDetails.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"
#include "BeaconryKit/terminal/AnswerRouter.h"
#include "BeaconryKit/terminal/TerminalFocus.h"
#include "BeaconryKit/terminal/TerminalRunner.h"
#include "BeaconryKit/terminal/TypedAnswer.h"

#include <QObject>

#include <memory>
#include <optional>

namespace pelorin {

/// What answers need. All of it must outlive the answering.
struct AskAnsweringParts {
    AskStore& store;
    SessionRegistry& registry;
    NotifierSettings& settings;
    DecisionRouter& router;
    TerminalFocus& focus;
    TerminalRunner& runner;
    /// What our own helper has told with requests. Without it all requests count as other senders'.
    const RequestDetails* details = nullptr;
    /// For the looks at terminals that our helper's requests come from; needed with `details`.
    Dispatch* dispatch = nullptr;
};

/// Does what the user asks for on an ask, wherever it was asked for. Lives on the main thread; owned by the delegate.
class AskAnswering final : public QObject {
    Q_OBJECT

public:
    explicit AskAnswering(const AskAnsweringParts& parts);

    /// Answers the waiting hook or the terminal, brings the terminal forward, withdraws the row.
    void handle(const AskEvent& ask, const AskAction& action);

    /// Completes the request with a phone's decision and withdraws its row, whether or not a hook still waits.
    void decideByPhone(const QString& requestId, Decision decision);

    /// Fills the ask of that identity with what its terminal shows. May be called from any thread, and returns when it
    /// is done.
    void expand(const QString& id);

    /// The row that `expand` has made of this ask; nothing when the ask has no row, or another one.
    std::optional<AskEvent> unfolded(const AskEvent& ask) const;

    /// Brings a session's terminal forward.
    void show(const AskEvent& ask);
    void show(const SessionInfo& session);

signals:
    /// The terminal of that session was to be shown, and there was nothing that could be done.
    void terminalNotShown(const QString& sessionId);

private:
    std::optional<HelperDetails> details(const AskEvent& ask) const;
    SessionTerminal terminal(const AskEvent& ask, const HelperDetails& details) const;
    void show(TerminalFocus::Place place, const QString& sessionId, const std::optional<HelperDetails>& details);
    bool typeCarefully(const AskEvent& ask, const AskChoice& choice, const HelperDetails& details);
    SessionTarget target(const AskEvent& record) const;
    void answer(const AskEvent& ask, const AskChoice& choice);
    bool resolve(const AskEvent& ask, Decision decision);
    void decide(const AskEvent& ask, Decision decision);

    const AskAnsweringParts m_parts;
    AnswerRouter m_answerRouter;
    std::unique_ptr<TypedAnswer> m_typedAnswer;
};

} // namespace pelorin
