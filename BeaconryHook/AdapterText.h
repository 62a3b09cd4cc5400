#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace pelorin::hook {

// Small texts that adapters compose.

/// One tool of a CLI, and the one of the application's names that it goes by. Names are JSON texts, quotes included.
struct ToolName {
    std::string_view own;
    std::string_view known;
};

/// The name that the application knows for a tool, or the name as it is.
template <std::size_t count>
std::string_view knownToolName(std::string_view name, const ToolName (&table)[count]) {
    for (const ToolName& tool : table) {
        if (name == tool.own)
            return tool.known;
    }
    return name;
}

/// Appends the text so that it stands on one line: runs of white space and control characters become one space.
void appendOnOneLine(std::string& out, std::string_view text);

/// An object of these members: names, and the JSON texts of their values. A member without a value is left out.
std::string objectOf(std::initializer_list<std::pair<std::string_view, std::string_view>> members);

/// The text as a JSON string.
std::string jsonString(std::string_view text);

/// What the strings of a JSON array mean, one behind the other.
std::string joinedStrings(std::string_view array, std::string_view separator);

/// What the questions of a JSON array of objects ask, on one line; empty when there are none.
std::string joinedQuestions(std::string_view questions);

} // namespace pelorin::hook
