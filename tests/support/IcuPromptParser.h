#pragma once

#include "BeaconryKit/terminal/PromptParser.h"

#include <QString>

#include <memory>
#include <optional>

namespace pelorin {

/// The prompt parser once more, word for word from its definition, over ICU's own regular expressions: what the
/// hand-written one must equal. Takes quadratic time for long lines of blanks.
class IcuPromptParser {
public:
    IcuPromptParser();
    ~IcuPromptParser();

    /// Nothing when ICU gives up.
    std::optional<ParsedPrompt> parse(const QString& text);

private:
    struct Patterns;
    std::unique_ptr<Patterns> m_patterns;
};

} // namespace pelorin
