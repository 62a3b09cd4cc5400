#pragma once

#include "BeaconryKit/model/AskAction.h"
#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/service/DecisionRouter.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/terminal/TerminalRunner.h"

namespace pelorin {

/// Delivers a user's answer to the session that asked: as the reply that a hook waits for if one does, else by typing
/// into the session's terminal if that can and may be done. Lives on the main thread; keeps no state between answers.
class AnswerRouter {
public:
    /// All three must outlive the answer router.
    AnswerRouter(DecisionRouter& router, const NotifierSettings& settings, TerminalRunner& runner);

    /// Delivers the answer. `needsTerminal` means that nothing was done and the user must answer in the terminal; the
    /// outcome `failed` never comes. A position of the greatest integer is a programming error and stops the program.
    AnswerResult answer(const AskEvent& ask, const AskChoice& choice, const SessionTarget& target);

    /// Whether anything may be typed there at all.
    bool mayType(const SessionTarget& target) const;

private:
    AnswerResult inject(const QString& text, const SessionTarget& target);

    DecisionRouter& m_router;
    const NotifierSettings& m_settings;
    TerminalRunner& m_runner;
};

} // namespace pelorin
