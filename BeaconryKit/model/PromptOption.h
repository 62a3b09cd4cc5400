#pragma once

#include <QString>

namespace pelorin {

/// One numbered option read off a terminal prompt.
struct PromptOption {
    /// The number as it stands on the screen, leading zeros included.
    QString key;
    /// The option's text.
    QString label;

    bool operator==(const PromptOption&) const = default;
};

} // namespace pelorin
