#include "BeaconryHook/AdapterText.h"

#include "BeaconryBase/JsonText.h"

namespace pelorin::hook {

void appendOnOneLine(std::string& out, std::string_view text) {
    const std::size_t start = out.size();
    bool isSpaceDue = false;
    for (const char byte : text) {
        const auto value = static_cast<unsigned char>(byte);
        if (value <= 0x20 || value == 0x7F) {
            isSpaceDue = out.size() > start;
            continue;
        }
        if (isSpaceDue)
            out += ' ';
        isSpaceDue = false;
        out += byte;
    }
}

std::string objectOf(std::initializer_list<std::pair<std::string_view, std::string_view>> members) {
    std::string object = "{";
    for (const auto& [name, value] : members) {
        if (value.empty())
            continue;
        if (object.size() > 1)
            object += ',';
        appendJsonString(object, name);
        object += ':';
        object += value;
    }
    return object + '}';
}

std::string jsonString(std::string_view text) {
    std::string quoted;
    appendJsonString(quoted, text);
    return quoted;
}

std::string joinedStrings(std::string_view array, std::string_view separator) {
    std::string joined;
    JsonElementReader elements(array);
    while (const auto element = elements.next()) {
        if (!joined.empty())
            joined += separator;
        joined += decodedJsonString(*element);
    }
    return joined;
}

std::string joinedQuestions(std::string_view questions) {
    std::string text;
    JsonElementReader elements(questions);
    while (const auto question = elements.next()) {
        std::string one;
        appendOnOneLine(one, decodedJsonString(jsonMember(*question, "question")));
        if (one.empty())
            continue;
        if (!text.empty())
            text += " / ";
        text += one;
    }
    return text;
}

} // namespace pelorin::hook
