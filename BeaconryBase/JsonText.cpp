#include "BeaconryBase/JsonText.h"

#include <cstddef>
#include <cstdint>

namespace pelorin {

namespace {

constexpr std::string_view spaces = " \t\n\r";
constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

void skipSpaces(std::string_view& text) {
    const std::size_t start = text.find_first_not_of(spaces);
    text.remove_prefix(start == std::string_view::npos ? text.size() : start);
}

std::string_view takeFront(std::string_view& text, std::size_t size) {
    const std::string_view front = text.substr(0, size);
    text.remove_prefix(front.size());
    return front;
}

// The size of the string that begins the text, both quotes included.
std::size_t stringSize(std::string_view text) {
    std::size_t position = 1;
    while (position < text.size()) {
        position = text.find_first_of("\"\\", position);
        if (position == std::string_view::npos)
            break;
        if (text[position] == '"')
            return position + 1;
        position += 2;
    }
    return text.size();
}

std::size_t valueSize(std::string_view text) {
    if (text.starts_with('"'))
        return stringSize(text);
    if (!text.starts_with('{') && !text.starts_with('[')) {
        const std::size_t end = text.find_first_of(",]} \t\n\r");
        return end == std::string_view::npos ? text.size() : end;
    }
    std::size_t depth = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        position = text.find_first_of("\"{}[]", position);
        if (position == std::string_view::npos)
            break;
        if (text[position] == '"') {
            position += stringSize(text.substr(position));
            continue;
        }
        const bool opens = text[position] == '{' || text[position] == '[';
        depth = opens ? depth + 1 : depth - 1;
        ++position;
        if (depth == 0)
            return position;
    }
    return text.size();
}

// Leaves the text at the next item of an object or array; false at its end.
bool moveToItem(std::string_view& rest, char closing) {
    skipSpaces(rest);
    if (rest.starts_with(','))
        rest.remove_prefix(1);
    skipSpaces(rest);
    return !rest.empty() && rest.front() != closing;
}

// The size of the valid UTF-8 sequence that begins the text; 0 when there is none.
std::size_t sequenceSize(std::string_view text) {
    const auto byte = [&](std::size_t index) {
        return static_cast<unsigned char>(text[index]);
    };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
        return 1;
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < size)
        return 0;
    for (std::size_t index = 1; index < size; ++index) {
        if ((byte(index) & 0xC0) != 0x80)
            return 0;
    }
    // Overlong forms, surrogates, and what lies beyond the last code point.
    if ((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F) || (lead == 0xF0 && byte(1) < 0x90) ||
        (lead == 0xF4 && byte(1) > 0x8F))
        return 0;
    return size;
}

void appendControlEscape(std::string& out, unsigned char control) {
    constexpr std::string_view hexDigits = "0123456789abcdef";
    switch (control) {
    case '\b':
        out += "\\b";
        return;
    case '\f':
        out += "\\f";
        return;
    case '\n':
        out += "\\n";
        return;
    case '\r':
        out += "\\r";
        return;
    case '\t':
        out += "\\t";
        return;
    default:
        out += "\\u00";
        out += hexDigits[control >> 4];
        out += hexDigits[control & 0xF];
    }
}

// Appends the text's first character, which is no plain ASCII, and returns how many bytes of the text that took.
std::size_t appendRepairedCharacter(std::string& out, std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x20) {
        appendControlEscape(out, first);
        return 1;
    }
    const std::size_t size = sequenceSize(text);
    if (size == 0) {
        out += replacementCharacter;
        return 1;
    }
    out += text.substr(0, size);
    return size;
}

bool isPlainAscii(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= 0x20 && value < 0x80;
}

std::optional<std::uint32_t> hexUnit(std::string_view digits) {
    if (digits.size() < 4)
        return std::nullopt;
    std::uint32_t unit = 0;
    for (const char digit : digits.substr(0, 4)) {
        const char lower = static_cast<char>(digit | 0x20);
        if (digit >= '0' && digit <= '9')
            unit = unit * 16 + static_cast<std::uint32_t>(digit - '0');
        else if (lower >= 'a' && lower <= 'f')
            unit = unit * 16 + static_cast<std::uint32_t>(lower - 'a' + 10);
        else
            return std::nullopt;
    }
    return unit;
}

void appendCodePoint(std::string& out, std::uint32_t codePoint) {
    const auto continuation = [&](int shift) {
        return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
    };
    if (codePoint < 0x80) {
        out += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        out += static_cast<char>(0xC0 | (codePoint >> 6));
        out += continuation(0);
    } else if (codePoint < 0x10000) {
        out += static_cast<char>(0xE0 | (codePoint >> 12));
        out += continuation(6);
        out += continuation(0);
    } else {
        out += static_cast<char>(0xF0 | (codePoint >> 18));
        out += continuation(12);
        out += continuation(6);
        out += continuation(0);
    }
}

// Takes the hexadecimal digits behind "\u", and the second half of a surrogate pair with them.
void appendUnicodeEscape(std::string& out, std::string_view& rest) {
    const std::optional<std::uint32_t> unit = hexUnit(rest);
    takeFront(rest, 4);
    const bool isSurrogate = unit && *unit >= 0xD800 && *unit < 0xE000;
    if (unit && !isSurrogate) {
        appendCodePoint(out, *unit);
        return;
    }
    if (unit && *unit < 0xDC00 && rest.starts_with("\\u")) {
        const std::optional<std::uint32_t> low = hexUnit(rest.substr(2));
        if (low && *low >= 0xDC00 && *low < 0xE000) {
            takeFront(rest, 6);
            appendCodePoint(out, 0x10000 + ((*unit - 0xD800) << 10) + (*low - 0xDC00));
            return;
        }
    }
    out += replacementCharacter;
}

} // namespace

JsonMemberReader::JsonMemberReader(std::string_view object)
    : m_rest(object.starts_with('{') ? object.substr(1) : std::string_view()) {
}

std::optional<JsonMember> JsonMemberReader::next() {
    if (!moveToItem(m_rest, '}'))
        return std::nullopt;
    const std::string_view name = takeFront(m_rest, stringSize(m_rest));
    skipSpaces(m_rest);
    takeFront(m_rest, 1);
    skipSpaces(m_rest);
    const std::string_view value = takeFront(m_rest, valueSize(m_rest));
    return JsonMember{name, value};
}

JsonElementReader::JsonElementReader(std::string_view array)
    : m_rest(array.starts_with('[') ? array.substr(1) : std::string_view()) {
}

std::optional<std::string_view> JsonElementReader::next() {
    if (!moveToItem(m_rest, ']'))
        return std::nullopt;
    // Text that is no valid array must not hold this up for ever.
    const std::size_t size = valueSize(m_rest);
    return takeFront(m_rest, size == 0 ? 1 : size);
}

std::string_view jsonMember(std::string_view object, std::string_view name) {
    std::string_view value;
    JsonMemberReader members(object);
    while (const auto member = members.next()) {
        if (jsonStringEquals(member->name, name))
            value = member->value;
    }
    return value;
}

bool jsonStringEquals(std::string_view value, std::string_view meaning) {
    if (value.find('\\') != std::string_view::npos)
        return value.starts_with('"') && decodedJsonString(value) == meaning;
    return value.size() == meaning.size() + 2 && value.front() == '"' && value.substr(1, meaning.size()) == meaning;
}

std::string decodedJsonString(std::string_view value) {
    std::string out;
    if (value.size() < 2 || value.front() != '"')
        return out;
    std::string_view rest = value.substr(1, value.size() - 2);
    while (!rest.empty()) {
        out += takeFront(rest, rest.find('\\'));
        if (rest.size() < 2)
            break;
        const char escape = rest[1];
        takeFront(rest, 2);
        switch (escape) {
        case 'u':
            appendUnicodeEscape(out, rest);
            break;
        case 'b':
            out += '\b';
            break;
        case 'f':
            out += '\f';
            break;
        case 'n':
            out += '\n';
            break;
        case 'r':
            out += '\r';
            break;
        case 't':
            out += '\t';
            break;
        default:
            out += escape;
        }
    }
    return out;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t size = sequenceSize(text);
        if (size == 0)
            return false;
        text.remove_prefix(size);
    }
    return true;
}

void appendJsonString(std::string& out, std::string_view text) {
    out += '"';
    while (!text.empty()) {
        const char first = text.front();
        if (first == '"' || first == '\\') {
            out += '\\';
            out += first;
            text.remove_prefix(1);
        } else if (isPlainAscii(first)) {
            out += first;
            text.remove_prefix(1);
        } else {
            text.remove_prefix(appendRepairedCharacter(out, text));
        }
    }
    out += '"';
}

void appendRepaired(std::string& out, std::string_view value) {
    out.reserve(out.size() + value.size());
    bool isInString = false;
    while (!value.empty()) {
        if (!isInString) {
            const std::size_t quote = value.find('"');
            out += takeFront(value, quote == std::string_view::npos ? quote : quote + 1);
            isInString = true;
            continue;
        }
        const char first = value.front();
        if (first == '\\') {
            // An escaped quote does not end the string.
            out += takeFront(value, 2);
        } else if (isPlainAscii(first)) {
            isInString = first != '"';
            out += first;
            value.remove_prefix(1);
        } else {
            value.remove_prefix(appendRepairedCharacter(out, value));
        }
    }
}

} // namespace pelorin
