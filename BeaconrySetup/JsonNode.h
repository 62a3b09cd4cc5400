#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pelorin::setup {

/// How a settings file is laid out, so that what is added looks like the rest of it.
struct TextStyle {
    /// What ends a line.
    std::string_view newline = "\n";
    /// What a level is indented by.
    std::string unit = "  ";
    /// What stands between a name and its value.
    std::string_view colon = ": ";
    /// What stands between two values on one line.
    std::string_view comma = ", ";
};

/// A JSON value that is to be written.
class JsonNode {
public:
    static JsonNode text(std::string_view value);
    /// A number or literal, as it is to stand.
    static JsonNode raw(std::string_view value);
    static JsonNode object(std::vector<std::pair<std::string, JsonNode>> members);
    static JsonNode array(std::vector<JsonNode> elements);

    /// Appends the value over several lines. The first line goes where the output ends; the others are indented, the
    /// last one by `indentation`.
    void appendLines(std::string& out, const TextStyle& style, const std::string& indentation) const;

    /// Appends the value on one line.
    void appendLine(std::string& out, const TextStyle& style) const;

private:
    enum class Kind { scalar, object, array };

    Kind m_kind = Kind::scalar;
    std::string m_scalar;
    // Elements have no names.
    std::vector<std::pair<std::string, JsonNode>> m_items;
};

} // namespace pelorin::setup
