#pragma once

#include "BeaconryKit/model/PromptOption.h"

#include <QList>
#include <QString>

#include <optional>

namespace pelorin {

/// What a screen asks. A value.
struct ParsedPrompt {
    /// The last line with a question, without blanks and tabs at its ends.
    std::optional<QString> question;
    /// The numbered lines of the whole screen, from top to bottom; those of an older menu too, if it still shows.
    QList<PromptOption> options;
    /// Whether the prompt takes free text: exactly when there are no options.
    bool acceptsText = true;
    /// The position in `options`, from 0, of the highlighted one (the last of them, if several are).
    std::optional<qsizetype> currentIndex;

    bool operator==(const ParsedPrompt&) const = default;
};

/// Reads the question and the numbered options off a terminal's screen. Pure functions.
class PromptParser {
public:
    PromptParser() = delete;

    /// Parses the text as the terminal gave it, colours and all. Never fails, and takes time linear in the text's size,
    /// whatever it holds.
    static ParsedPrompt parse(const QString& text);
};

} // namespace pelorin
