#include "BeaconryKit/terminal/TypedAnswer.h"

#include "BeaconryKit/platform/WhileAlive.h"
#include "BeaconryKit/terminal/DialogOwner.h"
#include "BeaconryKit/terminal/ExpandedAsk.h"

#include <QLoggingCategory>

#include <algorithm>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(logAnswer, "pelorin.terminal.answer", QtWarningMsg)

// A CLI may draw in several strokes, between which its dialog can't be recognised.
constexpr int looksUntilGone = 2;
// A CLI that takes the key at once has drawn that by then. Words take longer.
constexpr int looksUntilUrged = 5;
constexpr int looksUntilWordsAreLost = TypedAnswer::looks / 2;

/// Whether the keys of the options pick them: in an open field they would be words.
bool takesOptions(const TerminalDialog& dialog) {
    return dialog.keys == TerminalDialog::Keys::pick &&
           (dialog.field == TerminalDialog::Field::none || dialog.field == TerminalDialog::Field::closed);
}

bool takesText(const TerminalDialog& dialog) {
    return dialog.field == TerminalDialog::Field::closed || dialog.field == TerminalDialog::Field::open;
}

/// A control character would be a key of its own, such as Return or Escape.
bool isTypable(const QString& text) {
    const bool hasControls =
        std::ranges::any_of(text, [](QChar unit) { return unit.category() == QChar::Other_Control; });
    return !hasControls && !TerminalDialog::squeezed(text).isEmpty();
}

} // namespace

TypedAnswer::TypedAnswer(AskStore& store, Dispatch& dispatch, Answered onAnswered)
    : m_store(store), m_dispatch(dispatch), m_onAnswered(std::move(onAnswered)) {
}

AskEvent TypedAnswer::unfolded(const AskEvent& ask, const QString& screen) {
    AskEvent unfolded = expandedAsk(ask, screen);
    // Nothing on the screen tells nothing about what can be answered.
    if (screen.trimmed().isEmpty())
        return unfolded;
    m_shown.removeIf([this](const auto& shown) { return !m_store.ask(shown.key()); });
    m_shown.remove(ask.id());
    unfolded.options.clear();
    unfolded.acceptsText = false;
    if (const auto dialog = ownDialog(ask, screen)) {
        if (takesOptions(*dialog))
            unfolded.options = dialog->options;
        unfolded.acceptsText = takesText(*dialog);
        m_shown.insert(ask.id(), *dialog);
    }
    return unfolded;
}

TypedAnswer::Start TypedAnswer::answer(const AskEvent& ask, const AskChoice& choice, const SessionTerminal& terminal) {
    // Two answers to one terminal would mix.
    if (m_busy.contains(terminal.name()))
        return Start::taken;
    const auto screen = terminal.screen();
    if (!screen || screen->trimmed().isEmpty())
        return Start::notSeen;
    if (!terminal.takesKeys())
        return Start::notTaken;
    const auto* option = std::get_if<AskChoice::Option>(&choice.value);
    const auto* text = std::get_if<AskChoice::Text>(&choice.value);
    if (text && !isTypable(text->text))
        return Start::notTaken;

    const auto dialog = ownDialog(ask, *screen);
    const auto shown = m_shown.constFind(ask.id());
    const bool isTheShown = dialog && shown != m_shown.cend() && dialog->isSameAs(*shown);
    const bool fits =
        isTheShown && (option ? takesOptions(*dialog) && option->index >= 0 && option->index < dialog->options.size()
                              : text && takesText(*dialog));
    if (!fits) {
        refresh(ask, *screen);
        return Start::taken;
    }
    const auto attempt = std::make_shared<Attempt>(Attempt{.ask = ask,
                                                           .terminal = terminal,
                                                           .dialog = *dialog,
                                                           .option = option ? option->index : dialog->fieldOption,
                                                           .text = text ? text->text : QString()});
    m_busy.insert(terminal.name());
    if (text && dialog->field == TerminalDialog::Field::open) {
        typeText(attempt);
    } else {
        typeKey(*attempt);
        wait(attempt, option ? Step::going : Step::opening);
    }
    return Start::taken;
}

std::optional<TerminalDialog> TypedAnswer::ownDialog(const AskEvent& ask, const QString& screen) const {
    auto dialog = TerminalDialog::find(ask.source, screen);
    return dialog && isDialogOf(*dialog, ask, m_store.asks()) ? dialog : std::nullopt;
}

void TypedAnswer::wait(const SharedAttempt& attempt, Step step) {
    attempt->step = step;
    attempt->looksLeft = looks;
    lookLater(attempt);
}

void TypedAnswer::lookLater(const SharedAttempt& attempt) {
    m_dispatch.mainQueue().asyncAfter(interval, whileAlive(this, [attempt](TypedAnswer& self) { self.look(attempt); }));
}

void TypedAnswer::look(const SharedAttempt& attempt) {
    const auto screen = currentRow(attempt->ask) ? attempt->terminal.screen() : std::nullopt;
    // The row has been answered elsewhere meanwhile, or the terminal can't be read any more.
    if (!screen) {
        m_busy.remove(attempt->terminal.name());
        return;
    }
    const auto dialog = TerminalDialog::find(attempt->ask.source, *screen);
    goOn(attempt, dialog && dialog->isSameAs(attempt->dialog) ? dialog : std::nullopt, *screen);
}

void TypedAnswer::goOn(const SharedAttempt& attempt, const std::optional<TerminalDialog>& dialog,
                       const QString& screen) {
    attempt->looksWithoutIt = dialog ? 0 : attempt->looksWithoutIt + 1;
    if (attempt->looksWithoutIt == looksUntilGone) {
        finish(attempt, screen);
        return;
    }
    if (dialog && attempt->step == Step::opening && dialog->field == TerminalDialog::Field::open) {
        typeText(attempt);
        return;
    }
    if (dialog && attempt->step == Step::typing && dialog->field == TerminalDialog::Field::filled &&
        dialog->fieldText == TerminalDialog::squeezed(attempt->text)) {
        attempt->terminal.pressReturn();
        wait(attempt, Step::going);
        return;
    }
    const bool isPickedField = dialog && attempt->step == Step::going && attempt->text.isEmpty() &&
                               dialog->field == TerminalDialog::Field::open;
    if (isPickedField || --attempt->looksLeft == 0) {
        qCDebug(logAnswer) << "The dialog of" << attempt->ask.id() << "still stands.";
        m_busy.remove(attempt->terminal.name());
        refresh(attempt->ask, screen);
        return;
    }
    const int looksUntil = attempt->step == Step::typing ? looksUntilWordsAreLost : looksUntilUrged;
    if (dialog && attempt->looksLeft == looks - looksUntil)
        urge(*attempt, *dialog);
    lookLater(attempt);
}

void TypedAnswer::typeKey(const Attempt& attempt) {
    attempt.terminal.type(attempt.dialog.options.at(attempt.option).key);
}

void TypedAnswer::urge(const Attempt& attempt, const TerminalDialog& dialog) {
    // There are words in the field: Return has been pressed already, or they are others.
    if (dialog.field == TerminalDialog::Field::filled)
        return;
    if (attempt.step == Step::typing) {
        if (dialog.field == TerminalDialog::Field::open)
            attempt.terminal.type(attempt.text);
        return;
    }
    if (dialog.highlighted < 0)
        return;
    if (dialog.highlighted != attempt.option)
        typeKey(attempt);
    else if (attempt.option != dialog.fieldOption)
        attempt.terminal.pressReturn();
}

void TypedAnswer::typeText(const SharedAttempt& attempt) {
    attempt->terminal.type(attempt->text);
    wait(attempt, Step::typing);
}

void TypedAnswer::finish(const SharedAttempt& attempt, const QString& screen) {
    m_busy.remove(attempt->terminal.name());
    // Words were still to be confirmed, or a notice's next question stands there.
    const bool isAnswered = attempt->step == Step::going;
    if (isAnswered && (attempt->ask.isPermission() || !ownDialog(attempt->ask, screen)))
        m_onAnswered(attempt->ask);
    else
        refresh(attempt->ask, screen);
}

void TypedAnswer::refresh(const AskEvent& ask, const QString& screen) {
    if (const SharedAsk row = currentRow(ask))
        m_store.upsert(unfolded(*row, screen));
}

SharedAsk TypedAnswer::currentRow(const AskEvent& ask) const {
    const SharedAsk row = m_store.ask(ask.id());
    return row && isSameFolded(*row, ask) ? row : nullptr;
}

} // namespace pelorin
