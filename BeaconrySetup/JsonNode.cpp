#include "BeaconrySetup/JsonNode.h"

#include "BeaconryBase/JsonText.h"

namespace pelorin::setup {

JsonNode JsonNode::text(std::string_view value) {
    JsonNode node;
    appendJsonString(node.m_scalar, value);
    return node;
}

JsonNode JsonNode::raw(std::string_view value) {
    JsonNode node;
    node.m_scalar = value;
    return node;
}

JsonNode JsonNode::object(std::vector<std::pair<std::string, JsonNode>> members) {
    JsonNode node;
    node.m_kind = Kind::object;
    node.m_items = std::move(members);
    return node;
}

JsonNode JsonNode::array(std::vector<JsonNode> elements) {
    JsonNode node;
    node.m_kind = Kind::array;
    for (JsonNode& element : elements)
        node.m_items.emplace_back(std::string(), std::move(element));
    return node;
}

void JsonNode::appendLines(std::string& out, const TextStyle& style, const std::string& indentation) const {
    if (m_kind == Kind::scalar || m_items.empty()) {
        appendLine(out, style);
        return;
    }
    const std::string inner = indentation + style.unit;
    out += m_kind == Kind::object ? '{' : '[';
    bool isFirst = true;
    for (const auto& [name, value] : m_items) {
        if (!isFirst)
            out += ',';
        isFirst = false;
        out += style.newline;
        out += inner;
        if (m_kind == Kind::object) {
            appendJsonString(out, name);
            out += style.colon;
        }
        value.appendLines(out, style, inner);
    }
    out += style.newline;
    out += indentation;
    out += m_kind == Kind::object ? '}' : ']';
}

void JsonNode::appendLine(std::string& out, const TextStyle& style) const {
    if (m_kind == Kind::scalar) {
        out += m_scalar;
        return;
    }
    out += m_kind == Kind::object ? '{' : '[';
    bool isFirst = true;
    for (const auto& [name, value] : m_items) {
        if (!isFirst)
            out += style.comma;
        isFirst = false;
        if (m_kind == Kind::object) {
            appendJsonString(out, name);
            out += style.colon;
        }
        value.appendLine(out, style);
    }
    out += m_kind == Kind::object ? '}' : ']';
}

} // namespace pelorin::setup
