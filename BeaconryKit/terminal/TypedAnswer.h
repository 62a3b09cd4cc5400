#pragma once

#include "BeaconryKit/model/AskAction.h"
#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/terminal/SessionTerminal.h"
#include "BeaconryKit/terminal/TerminalDialog.h"

#include <QHash>
#include <QObject>
#include <QSet>

#include <functional>
#include <memory>

namespace pelorin {

/// Types answers into dialogs, and looks before it does: an answer goes only into the very dialog that its row shows.
/// Between its looks it waits on the main queue. Lives on the main thread.
class TypedAnswer final : public QObject {
    Q_OBJECT

public:
    /// How long it waits from one look to the next, and how often it looks for what a key has done.
    static constexpr Duration interval = std::chrono::milliseconds(100);
    static constexpr int looks = 30;

    enum class Start {
        /// The terminal shows nothing that could be looked at. Nothing was typed.
        notSeen,
        /// Nothing can be typed there, as far as this knows. Nothing was typed.
        notTaken,
        /// All that can be done is done or under way: the row has been refreshed, or will be, or goes.
        taken,
    };

    /// Called when the ask's dialog has gone by the typed answer.
    using Answered = std::function<void(const AskEvent& ask)>;

    /// All must outlive the typed answers.
    TypedAnswer(AskStore& store, Dispatch& dispatch, Answered onAnswered);

    /// The ask, unfolded: with the buttons and the field of the dialog that the terminal shows, if that is the ask's.
    /// Remembers the dialog as the one that the row shows.
    AskEvent unfolded(const AskEvent& ask, const QString& screen);

    /// Gives the row's answer, an option or a text, to the terminal.
    Start answer(const AskEvent& ask, const AskChoice& choice, const SessionTerminal& terminal);

private:
    /// What the next look is for.
    enum class Step {
        /// The field is to open.
        opening,
        /// The typed words are to stand in the field.
        typing,
        /// The dialog is to go.
        going,
    };
    struct Attempt {
        AskEvent ask;
        SessionTerminal terminal;
        /// The dialog that is being answered.
        TerminalDialog dialog;
        /// The position of the option whose key is typed.
        qsizetype option = 0;
        /// The words for its field; empty when an option was picked.
        QString text;
        Step step = Step::going;
        int looksLeft = looks;
        int looksWithoutIt = 0;
    };
    using SharedAttempt = std::shared_ptr<Attempt>;

    std::optional<TerminalDialog> ownDialog(const AskEvent& ask, const QString& screen) const;
    void lookLater(const SharedAttempt& attempt);
    void wait(const SharedAttempt& attempt, Step step);
    void look(const SharedAttempt& attempt);
    void goOn(const SharedAttempt& attempt, const std::optional<TerminalDialog>& dialog, const QString& screen);
    static void typeKey(const Attempt& attempt);
    static void urge(const Attempt& attempt, const TerminalDialog& dialog);
    void typeText(const SharedAttempt& attempt);
    void finish(const SharedAttempt& attempt, const QString& screen);
    void refresh(const AskEvent& ask, const QString& screen);
    SharedAsk currentRow(const AskEvent& ask) const;

    AskStore& m_store;
    Dispatch& m_dispatch;
    const Answered m_onAnswered;
    // What the rows show, by their identities.
    QHash<QString, TerminalDialog> m_shown;
    // The terminals that are being typed into.
    QSet<QString> m_busy;
};

} // namespace pelorin
