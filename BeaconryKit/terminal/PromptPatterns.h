#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace pelorin {

/// The patterns by which a prompt is read off a screen, matched by hand in time linear in the text: a backtracking
/// engine needs quadratic time for a long line of blanks, and a terminal may show one. Each function finds exactly what
/// ICU's regular expressions find, in lone surrogates too; "blank" is ICU's `\s` (White_Space), "digit" its `\d`
/// (decimal numbers, of every plane), and its `.` stops at the line ends U+000A to U+000D, U+0085, U+2028 and U+2029.
class PromptPatterns {
public:
    PromptPatterns() = delete;

    /// What `^\s*(❯|>)?\s*(\d+)[.)]\s+(.+?)\s*$` captures. The views point into the line.
    struct Option {
        /// Whether the marker is "❯". A ">" marks an option too, but never the highlighted one.
        bool isHighlighted = false;
        QStringView key;
        QStringView label;
    };

    /// The option that the line is, or nothing.
    static std::optional<Option> option(QStringView line);

    /// Whether `[Dd]o you want to .+\?` is found in the line.
    static bool containsQuestion(QStringView line);

    /// The text without the terminal's control sequences: every match of ESC and `\[[0-9;]*[A-Za-z]`, in one pass from
    /// left to right. What only a removal brings together stays.
    static QString withoutControlSequences(const QString& text);
};

} // namespace pelorin
