#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pelorin::hook {

/// The uses of tools that a session's own record tells of: a file of one JSON object a line, to which Claude Code adds
/// while it works. The record says what no event does: that a request was answered in the terminal. Its form is the
/// CLI's own business, so a line that is not understood tells nothing.
class ToolUses {
public:
    struct Use {
        std::string id;
        /// The JSON texts of the tool's name and of its input.
        std::string name;
        std::string input;
    };

    /// Reads further lines, each ended.
    void read(std::string_view lines);

    /// The uses that have no result yet, the oldest first.
    const std::vector<Use>& pending() const { return m_pending; }

private:
    void readLine(std::string_view line);

    std::vector<Use> m_pending;
};

/// Whether a request has been answered, by what the session's record tells while it is watched.
class AnswerWatch {
public:
    /// `toolName` and `toolInput` are the request's JSON texts.
    AnswerWatch(std::string_view toolName, std::string_view toolInput);

    /// Looks at what is pending now. True once the request's use of the tool was pending and is no longer.
    bool isAnswered(const ToolUses& uses);

private:
    bool isMeant(const ToolUses::Use& use) const;

    std::string m_toolName;
    std::string m_toolInput;
    bool m_wasPending = false;
};

} // namespace pelorin::hook
