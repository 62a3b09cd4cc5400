#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pelorin {

/// Finds the end of one JSON object in bytes that arrive in pieces, and checks on the way that it is one. The outcome
/// depends on the bytes alone, not on how they were cut into pieces.
///
/// It is more lenient than the grammar in one respect: a string may hold any byte, raw control characters and invalid
/// UTF-8 included, since CLIs have been seen to send them. `appendRepaired` repairs such strings. A strict reader
/// refuses them by `rawControl` and `isUtf8`.
///
/// It is no library's, for these reasons. It takes the strings that CLIs really send. The setup program needs the place
/// of every part, since it leaves the rest of a file as it stands, byte for byte. And no library at hand pays: in the
/// helper RapidJSON, which is hardly kept up, took 155 to 195 us for a payload of 688 bytes, where this takes 160 to
/// 270, and nlohmann-json took three times as long.
class ObjectScanner {
public:
    /// Objects and arrays may be nested this deep, the outermost one counted. The application reads no deeper either.
    static constexpr std::size_t maximumDepth = 1023;

    enum class Progress {
        /// A valid beginning: more bytes may complete the object.
        incomplete,
        /// The object has ended. What follows it is not looked at.
        complete,
        /// No continuation can make this an object.
        malformed
    };

    /// Takes the next bytes. After anything but `incomplete` further bytes change nothing.
    Progress feed(std::string_view bytes);

    Progress progress() const { return m_progress; }

    /// The number of bytes taken: once complete, the object's last byte is the last of these.
    std::size_t consumed() const { return m_consumed; }

    /// How deep objects and arrays have been nested so far, the outermost one counted.
    std::size_t deepest() const { return m_deepest; }

    /// Where the first raw control character inside a string stands, if there is one.
    std::optional<std::size_t> rawControl() const { return m_rawControl; }

private:
    enum class State : unsigned char {
        beforeObject,
        beforeFirstMember,
        beforeMember,
        afterName,
        beforeFirstElement,
        beforeValue,
        afterValue,
        inString,
        inEscape,
        inUnicodeEscape,
        inLiteral,
        afterMinus,
        afterZero,
        inInteger,
        afterPoint,
        inFraction,
        afterExponentMark,
        afterExponentSign,
        inExponent
    };
    enum class StringRole : unsigned char { name, value };

    void take(char byte);
    void beginValue(char byte);
    void beginString(StringRole role);
    void beginLiteral(std::string_view rest);
    void open(char bracket, State inside);
    void close(char bracket);
    void takeInNumber(char byte);
    void fail() { m_progress = Progress::malformed; }

    Progress m_progress = Progress::incomplete;
    State m_state = State::beforeObject;
    StringRole m_stringRole = StringRole::value;
    int m_unicodeDigits = 0;
    std::string_view m_literalRest;
    std::string m_openBrackets;
    std::size_t m_consumed = 0;
    std::size_t m_deepest = 0;
    std::optional<std::size_t> m_rawControl;
};

} // namespace pelorin
