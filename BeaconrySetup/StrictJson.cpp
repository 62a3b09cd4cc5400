#include "BeaconrySetup/StrictJson.h"

#include "BeaconryBase/JsonText.h"
#include "BeaconryBase/ObjectScanner.h"

#include <algorithm>
#include <vector>

namespace pelorin::setup {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view spaces = " \t\n\r";

std::string atLine(std::string_view text, std::size_t position) {
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(position), '\n') + 1;
    return "line " + std::to_string(line);
}

// What stands at the place where the text stops being JSON.
std::string grammarFault(std::string_view text, std::size_t position) {
    const char found = text[position];
    const std::string place = atLine(text, position);
    if (found == '/' || found == '#')
        return place + " holds a comment";
    const std::size_t before = text.substr(0, position).find_last_not_of(spaces);
    if ((found == '}' || found == ']') && before != std::string_view::npos && text[before] == ',')
        return place + " has a comma behind the last item";
    return place + " is not JSON";
}

std::optional<std::string> doubledName(std::string_view value) {
    if (value.starts_with('[')) {
        JsonElementReader elements(value);
        while (const auto element = elements.next()) {
            if (auto fault = doubledName(*element))
                return fault;
        }
    }
    std::vector<std::string> names;
    JsonMemberReader members(value);
    while (const auto member = members.next()) {
        names.push_back(decodedJsonString(member->name));
        if (auto fault = doubledName(member->value))
            return fault;
    }
    std::sort(names.begin(), names.end());
    const auto twice = std::adjacent_find(names.begin(), names.end());
    if (twice == names.end())
        return std::nullopt;
    return "\"" + *twice + "\" stands twice in one object";
}

} // namespace

std::string_view withoutByteOrderMark(std::string_view text) {
    return text.starts_with(byteOrderMark) ? text.substr(byteOrderMark.size()) : text;
}

std::optional<std::string> faultOf(std::string_view text) {
    if (!isUtf8(text))
        return "it is not UTF-8 text";
    text = withoutByteOrderMark(text);
    const std::size_t start = text.find_first_not_of(spaces);
    if (start == std::string_view::npos)
        return "it holds nothing";
    if (text[start] == '[')
        return "its top level is a list and not an object";

    ObjectScanner scanner;
    switch (scanner.feed(text)) {
    case ObjectScanner::Progress::malformed:
        return grammarFault(text, scanner.consumed() - 1);
    case ObjectScanner::Progress::incomplete:
        return "it ends in the midst of an object";
    case ObjectScanner::Progress::complete:
        break;
    }
    const std::size_t behind = text.find_first_not_of(spaces, scanner.consumed());
    if (behind != std::string_view::npos) {
        if (text[behind] == '/' || text[behind] == '#')
            return grammarFault(text, behind);
        return atLine(text, behind) + " stands behind the end of the object";
    }
    if (const auto control = scanner.rawControl())
        return atLine(text, *control) + " holds a control character inside a string";
    if (scanner.deepest() > settingsDepthLimit)
        return "it is nested too deeply";
    return doubledName(text.substr(start, scanner.consumed() - start));
}

} // namespace pelorin::setup
