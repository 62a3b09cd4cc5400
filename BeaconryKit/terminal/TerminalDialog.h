#pragma once

#include "BeaconryKit/model/PromptOption.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace pelorin {

/// The dialog in which a CLI waits for its user, as a terminal's screen shows it. A value.
struct TerminalDialog {
    /// What the key printed before an option does.
    enum class Keys {
        /// It picks the option at once, or opens the field that the option is. In a dialog's first moments Claude Code
        /// lets it only highlight the option, which Return then picks, or takes no notice of it.
        pick,
        /// It ticks the option, and the dialog goes on.
        tick,
    };

    /// Whether one of the options is a field for the user's own words.
    enum class Field {
        none,
        /// There is one. Its option's key opens it.
        closed,
        /// It is open and empty.
        open,
        /// It is open, or was, and holds words.
        filled,
    };

    /// What stands above the options, line by line, without frames, rules and empty lines.
    QStringList head;
    /// The paragraph above the options, on one line.
    QString question;
    /// The numbered options from top to bottom, each with the first line of its text.
    QList<PromptOption> options;
    Keys keys = Keys::pick;
    /// The position of the highlighted option; -1 where only a colour shows it.
    qsizetype highlighted = -1;
    Field field = Field::none;
    /// The position of the option that is the field; -1 without one.
    qsizetype fieldOption = -1;
    /// The words in the field, squeezed.
    QString fieldText;
    /// All that the dialog says, squeezed: its head, its options and what they say of themselves, but neither which of
    /// them is highlighted nor the words in the field.
    QString text;

    bool operator==(const TerminalDialog&) const = default;

    /// Whether both are the same dialog, wherever its highlight and its field's words are.
    bool isSameAs(const TerminalDialog& other) const {
        return keys == other.keys && options == other.options && text == other.text;
    }
    /// The dialog that the CLI (by the source's name, as "claude") shows at the bottom of the screen, in a drawing that
    /// was learned from captures of that CLI. Nothing where there is no dialog, and for every other drawing.
    static std::optional<TerminalDialog> find(QStringView source, const QString& screen);

    /// The text without blanks, frames and rules, so that it does not depend on how it was wrapped.
    static QString squeezed(QStringView text);
};

} // namespace pelorin
