#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pelorin {

// Reads and writes JSON text. The readers take text that `ObjectScanner` has found complete. They never read beyond any
// other text either, but their results then mean nothing.

/// A member of an object: its name as it stands, quotes and escapes included, and its value's text.
struct JsonMember {
    std::string_view name;
    std::string_view value;
};

/// Hands out an object's members in their order. The text must outlive it.
class JsonMemberReader {
public:
    /// `object` begins with its opening brace. Any other value has no members.
    explicit JsonMemberReader(std::string_view object);

    std::optional<JsonMember> next();

private:
    std::string_view m_rest;
};

/// Hands out an array's elements in their order, each as its text. The text must outlive it.
class JsonElementReader {
public:
    /// `array` begins with its opening bracket. Any other value has no elements.
    explicit JsonElementReader(std::string_view array);

    std::optional<std::string_view> next();

private:
    std::string_view m_rest;
};

/// The text of the value under the name: the last one where a name stands twice, as the application reads it. Empty
/// when there is none, or when `object` is none.
std::string_view jsonMember(std::string_view object, std::string_view name);

/// Whether the text of a name or of a string value, quotes included, means exactly this.
bool jsonStringEquals(std::string_view value, std::string_view meaning);

/// What the text of a string value means, as UTF-8. Half a surrogate pair becomes U+FFFD; bytes that are no UTF-8 stay.
/// Empty when the value is not a string.
std::string decodedJsonString(std::string_view value);

/// Whether the text is valid UTF-8.
bool isUtf8(std::string_view text);

/// Appends the text as a JSON string, quotes included. A byte that is not part of valid UTF-8 becomes U+FFFD.
void appendJsonString(std::string& out, std::string_view text);

/// Appends a value's text, and repairs its strings. A raw control character becomes its escape, and a byte that is not
/// part of valid UTF-8 becomes U+FFFD. All else stays as it stands.
void appendRepaired(std::string& out, std::string_view value);

} // namespace pelorin
