#include "BeaconryBase/ObjectScanner.h"

#include <algorithm>

namespace pelorin {

namespace {

bool isSpace(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

bool isHexDigit(char byte) {
    return isDigit(byte) || (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}

bool isControl(char byte) {
    return static_cast<unsigned char>(byte) < 0x20;
}

bool mattersInString(char byte) {
    return byte == '"' || byte == '\\' || isControl(byte);
}

} // namespace

ObjectScanner::Progress ObjectScanner::feed(std::string_view bytes) {
    std::size_t position = 0;
    while (m_progress == Progress::incomplete && position < bytes.size()) {
        if (m_state == State::inString) {
            // Nearly all bytes of a large payload are passed over here.
            const std::size_t start = position;
            while (position < bytes.size() && !mattersInString(bytes[position]))
                ++position;
            m_consumed += position - start;
            if (position == bytes.size())
                break;
        }
        ++m_consumed;
        take(bytes[position++]);
    }
    return m_progress;
}

void ObjectScanner::take(char byte) {
    switch (m_state) {
    case State::beforeObject:
        if (byte == '{')
            open(byte, State::beforeFirstMember);
        else if (!isSpace(byte))
            fail();
        return;
    case State::beforeFirstMember:
    case State::beforeMember:
        if (byte == '"')
            beginString(StringRole::name);
        else if (byte == '}' && m_state == State::beforeFirstMember)
            close('{');
        else if (!isSpace(byte))
            fail();
        return;
    case State::afterName:
        if (byte == ':')
            m_state = State::beforeValue;
        else if (!isSpace(byte))
            fail();
        return;
    case State::beforeFirstElement:
        if (byte == ']')
            close('[');
        else
            beginValue(byte);
        return;
    case State::beforeValue:
        beginValue(byte);
        return;
    case State::afterValue:
        if (byte == ',')
            m_state = m_openBrackets.back() == '{' ? State::beforeMember : State::beforeValue;
        else if (byte == '}')
            close('{');
        else if (byte == ']')
            close('[');
        else if (!isSpace(byte))
            fail();
        return;
    case State::inString:
        if (byte == '\\')
            m_state = State::inEscape;
        else if (byte == '"')
            m_state = m_stringRole == StringRole::name ? State::afterName : State::afterValue;
        else if (isControl(byte) && !m_rawControl)
            m_rawControl = m_consumed - 1;
        return;
    case State::inEscape:
        m_state = State::inString;
        if (byte == 'u') {
            m_state = State::inUnicodeEscape;
            m_unicodeDigits = 0;
        } else if (std::string_view("\"\\/bfnrt").find(byte) == std::string_view::npos) {
            fail();
        }
        return;
    case State::inUnicodeEscape:
        if (!isHexDigit(byte))
            fail();
        else if (++m_unicodeDigits == 4)
            m_state = State::inString;
        return;
    case State::inLiteral:
        if (byte != m_literalRest.front()) {
            fail();
            return;
        }
        m_literalRest.remove_prefix(1);
        if (m_literalRest.empty())
            m_state = State::afterValue;
        return;
    default:
        takeInNumber(byte);
    }
}

void ObjectScanner::beginValue(char byte) {
    if (isSpace(byte))
        return;
    switch (byte) {
    case '{':
        open(byte, State::beforeFirstMember);
        return;
    case '[':
        open(byte, State::beforeFirstElement);
        return;
    case '"':
        beginString(StringRole::value);
        return;
    case 't':
        beginLiteral("rue");
        return;
    case 'f':
        beginLiteral("alse");
        return;
    case 'n':
        beginLiteral("ull");
        return;
    case '-':
        m_state = State::afterMinus;
        return;
    default:
        m_state = State::afterMinus;
        takeInNumber(byte);
    }
}

void ObjectScanner::beginString(StringRole role) {
    m_state = State::inString;
    m_stringRole = role;
}

void ObjectScanner::beginLiteral(std::string_view rest) {
    m_state = State::inLiteral;
    m_literalRest = rest;
}

void ObjectScanner::open(char bracket, State inside) {
    if (m_openBrackets.size() == maximumDepth) {
        fail();
        return;
    }
    m_openBrackets.push_back(bracket);
    m_deepest = std::max(m_deepest, m_openBrackets.size());
    m_state = inside;
}

void ObjectScanner::close(char bracket) {
    if (m_openBrackets.back() != bracket) {
        fail();
        return;
    }
    m_openBrackets.pop_back();
    m_state = State::afterValue;
    if (m_openBrackets.empty())
        m_progress = Progress::complete;
}

void ObjectScanner::takeInNumber(char byte) {
    const bool isExponentMark = byte == 'e' || byte == 'E';
    switch (m_state) {
    case State::afterMinus:
        if (!isDigit(byte))
            fail();
        else
            m_state = byte == '0' ? State::afterZero : State::inInteger;
        return;
    case State::afterZero:
    case State::inInteger:
        if (byte == '.')
            m_state = State::afterPoint;
        else if (isExponentMark)
            m_state = State::afterExponentMark;
        else if (m_state == State::inInteger && isDigit(byte))
            return;
        else
            break;
        return;
    case State::afterPoint:
        if (!isDigit(byte))
            fail();
        m_state = State::inFraction;
        return;
    case State::inFraction:
        if (isExponentMark)
            m_state = State::afterExponentMark;
        else if (!isDigit(byte))
            break;
        return;
    case State::afterExponentMark:
        if (byte == '+' || byte == '-') {
            m_state = State::afterExponentSign;
            return;
        }
        [[fallthrough]];
    case State::afterExponentSign:
        if (!isDigit(byte))
            fail();
        m_state = State::inExponent;
        return;
    default:
        if (isDigit(byte))
            return;
    }
    // Only the byte behind a number tells that the number has ended, and that byte counts.
    m_state = State::afterValue;
    take(byte);
}

} // namespace pelorin
