#include "BeaconryKit/terminal/PromptPatterns.h"

#include <algorithm>
#include <array>

namespace pelorin {

namespace {

constexpr QChar escape{0x1b};
constexpr QChar highlightMarker{0x276f};
constexpr QChar plainMarker{u'>'};
constexpr QStringView questionStart = u"o you want to ";

/// The Unicode property White_Space, which all lies in the basic plane.
constexpr bool isBlank(char16_t unit) {
    if (unit < 0x80)
        return unit == u' ' || (unit >= 0x09 && unit <= 0x0d);
    return unit == 0x85 || unit == 0xa0 || unit == 0x1680 || (unit >= 0x2000 && unit <= 0x200a) || unit == 0x2028 ||
           unit == 0x2029 || unit == 0x202f || unit == 0x205f || unit == 0x3000;
}

/// What `.` does not match.
constexpr bool isLineEnd(char16_t unit) {
    return (unit >= 0x0a && unit <= 0x0d) || unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

/// The zeros of all decimal digits (general category Nd) of Unicode 15.0 above ASCII; nine digits follow each. A table
/// of its own, because the toolkit's is of an older Unicode.
constexpr std::array<char32_t, 67> zeros{
    0x0660,  0x06f0,  0x07c0,  0x0966,  0x09e6,  0x0a66,  0x0ae6,  0x0b66,  0x0be6,  0x0c66,  0x0ce6,  0x0d66,
    0x0de6,  0x0e50,  0x0ed0,  0x0f20,  0x1040,  0x1090,  0x17e0,  0x1810,  0x1946,  0x19d0,  0x1a80,  0x1a90,
    0x1b50,  0x1bb0,  0x1c40,  0x1c50,  0xa620,  0xa8d0,  0xa900,  0xa9d0,  0xa9f0,  0xaa50,  0xabf0,  0xff10,
    0x104a0, 0x10d30, 0x11066, 0x110f0, 0x11136, 0x111d0, 0x112f0, 0x11450, 0x114d0, 0x11650, 0x116c0, 0x11730,
    0x118e0, 0x11950, 0x11c50, 0x11d50, 0x11da0, 0x11f50, 0x16a60, 0x16ac0, 0x16b50, 0x1d7ce, 0x1d7d8, 0x1d7e2,
    0x1d7ec, 0x1d7f6, 0x1e140, 0x1e2f0, 0x1e4f0, 0x1e950, 0x1fbf0};

bool isDigitBeyondAscii(char32_t character) {
    const auto next = std::ranges::upper_bound(zeros, character);
    return next != zeros.begin() && character - *std::prev(next) < 10;
}

qsizetype skipBlanks(QStringView line, qsizetype at) {
    while (at < line.size() && isBlank(line[at].unicode()))
        ++at;
    return at;
}

qsizetype skipDigits(QStringView line, qsizetype at) {
    while (at < line.size()) {
        const QChar unit = line[at];
        if (unit.unicode() < 0x80) {
            if (unit < u'0' || unit > u'9')
                return at;
            ++at;
        } else if (unit.isHighSurrogate() && at + 1 < line.size() && line[at + 1].isLowSurrogate()) {
            if (!isDigitBeyondAscii(QChar::surrogateToUcs4(unit, line[at + 1])))
                return at;
            at += 2;
        } else {
            if (!isDigitBeyondAscii(unit.unicode()))
                return at;
            ++at;
        }
    }
    return at;
}

bool containsLineEnd(QStringView text) {
    return std::ranges::any_of(text, [](QChar unit) { return isLineEnd(unit.unicode()); });
}

/// The label of an option of whose line, after the number and its sign, only blanks are left. The last blank that is no
/// line end becomes the label, as long as a blank stays before it.
std::optional<QStringView> blankLabel(QStringView blanks) {
    for (qsizetype at = blanks.size() - 1; at > 0; --at) {
        if (!isLineEnd(blanks[at].unicode()))
            return blanks.sliced(at, 1);
    }
    return std::nullopt;
}

/// The label in what follows the number and its sign.
std::optional<QStringView> label(QStringView rest) {
    const qsizetype start = skipBlanks(rest, 0);
    if (start == 0)
        return std::nullopt;
    if (start == rest.size())
        return blankLabel(rest);
    qsizetype end = rest.size();
    while (isBlank(rest[end - 1].unicode()))
        --end;
    const QStringView text = rest.sliced(start, end - start);
    // A label that starts earlier, on a blank, would have to cross the same line end.
    return containsLineEnd(text) ? std::nullopt : std::optional(text);
}

/// Whether the question is found in a stretch without line ends.
bool stretchContainsQuestion(QStringView stretch) {
    const qsizetype lastMark = stretch.lastIndexOf(u'?');
    // The first start leaves the most room before the last question mark, so no other has to be tried.
    qsizetype found = 0;
    while ((found = stretch.indexOf(questionStart, found)) >= 0) {
        const bool hasLetter = found > 0 && (stretch[found - 1] == u'D' || stretch[found - 1] == u'd');
        if (hasLetter)
            return lastMark > found + questionStart.size();
        ++found;
    }
    return false;
}

} // namespace

std::optional<PromptPatterns::Option> PromptPatterns::option(QStringView line) {
    Option option;
    qsizetype at = skipBlanks(line, 0);
    if (at < line.size() && (line[at] == highlightMarker || line[at] == plainMarker)) {
        option.isHighlighted = line[at] == highlightMarker;
        at = skipBlanks(line, at + 1);
    }
    const qsizetype keyEnd = skipDigits(line, at);
    if (keyEnd == at || keyEnd == line.size() || (line[keyEnd] != u'.' && line[keyEnd] != u')'))
        return std::nullopt;
    option.key = line.sliced(at, keyEnd - at);
    const auto text = label(line.sliced(keyEnd + 1));
    if (!text)
        return std::nullopt;
    option.label = *text;
    return option;
}

bool PromptPatterns::containsQuestion(QStringView line) {
    // Nearly all lines leave here.
    if (!line.contains(u'?'))
        return false;
    while (!line.isEmpty()) {
        const auto lineEnd = std::ranges::find_if(line, [](QChar unit) { return isLineEnd(unit.unicode()); });
        const qsizetype length = std::distance(line.begin(), lineEnd);
        if (stretchContainsQuestion(line.first(length)))
            return true;
        line = line.sliced(std::min(length + 1, line.size()));
    }
    return false;
}

QString PromptPatterns::withoutControlSequences(const QString& text) {
    qsizetype start = text.indexOf(escape);
    if (start < 0)
        return text;
    const QStringView view = text;
    QString result;
    result.reserve(text.size());
    qsizetype copied = 0;
    while (start >= 0) {
        qsizetype at = start + 1;
        const auto unitIs = [&](auto predicate) {
            return at < view.size() && predicate(view[at].unicode());
        };
        if (unitIs([](char16_t unit) { return unit == u'['; })) {
            ++at;
            while (unitIs([](char16_t unit) { return (unit >= u'0' && unit <= u'9') || unit == u';'; }))
                ++at;
            if (unitIs(
                    [](char16_t unit) { return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z'); })) {
                result.append(view.sliced(copied, start - copied));
                copied = ++at;
            }
        }
        start = view.indexOf(escape, at);
    }
    result.append(view.sliced(copied));
    return result;
}

} // namespace pelorin
