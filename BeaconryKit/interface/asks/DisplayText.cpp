#include "BeaconryKit/interface/asks/DisplayText.h"

#include <QList>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>

namespace pelorin {

namespace {

constexpr char16_t firstControlPicture = 0x2400;
constexpr char16_t deletePicture = 0x2421;

struct Range {
    char32_t first;
    char32_t last;
};

// What turns the text around it, and what takes no place of its own: none of it has a use in a command or a name.
constexpr std::array unseen{
    Range{0x0080, 0x009F},   Range{0x00AD, 0x00AD},   Range{0x034F, 0x034F}, Range{0x061C, 0x061C},
    Range{0x115F, 0x1160},   Range{0x17B4, 0x17B5},   Range{0x180B, 0x180F}, Range{0x200B, 0x200B},
    Range{0x200E, 0x200F},   Range{0x202A, 0x202E},   Range{0x2060, 0x206F}, Range{0x3164, 0x3164},
    Range{0xFEFF, 0xFEFF},   Range{0xFFA0, 0xFFA0},   Range{0xFFF0, 0xFFFB}, Range{0x1BCA0, 0x1BCA3},
    Range{0x1D173, 0x1D17A}, Range{0xE0000, 0xE0FFF},
};

constexpr char32_t firstBeyondASCII = 0x80;
constexpr char32_t keycap = 0x20E3;

bool isUnseen(char32_t character) {
    return std::ranges::any_of(
        unseen, [character](const Range& range) { return character >= range.first && character <= range.last; });
}

bool isJoiner(char32_t character) {
    return character == 0x200C || character == 0x200D;
}

bool isVariationSelector(char32_t character) {
    return character >= 0xFE00 && character <= 0xFE0F;
}

// Joiners and selectors belong to many scripts and to emoji. Behind a letter of ASCII they do nothing but hide.
bool isUnseenThere(char32_t character, char32_t before, char32_t after) {
    if (isUnseen(character))
        return true;
    if (before >= firstBeyondASCII)
        return false;
    return isJoiner(character) || (isVariationSelector(character) && after != keycap);
}

bool isLineBreak(char32_t character) {
    return character == 0x0085 || character == 0x2028 || character == 0x2029;
}

QString codePoint(char32_t character) {
    return QStringLiteral("[U+%1]").arg(QString::number(character, 16).toUpper(), 4, u'0');
}

QString cut(const QString& text, qsizetype limit) {
    if (text.size() <= limit)
        return text;
    // The boundary search reads its whole input, so it gets no more than it needs: one whole code point beyond the
    // limit tells whether a character goes on there.
    const QString head = text.left(limit + 2);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, head);
    finder.setPosition(limit);
    qsizetype end = finder.isAtBoundary() ? limit : finder.toPreviousBoundary();
    // One character that is longer than the limit: cut it rather than show nothing of it.
    if (end <= 0)
        end = limit;
    return head.left(end) + u'…';
}

} // namespace

QString displayText(const QString& text, qsizetype limit, LineBreaks breaks) {
    const QString head = cut(text, limit);
    QString shown;
    shown.reserve(head.size());
    const QList<uint> characters = head.toUcs4();
    char32_t before = 0;
    for (qsizetype i = 0; i < characters.size(); ++i) {
        const char32_t character = characters[i];
        const char32_t after = i + 1 < characters.size() ? characters[i + 1] : 0;
        const bool kept = character == U'\n' && breaks == LineBreaks::keep;
        if (!kept && (character == U'\n' || character == U'\t' || isLineBreak(character)))
            shown += u' ';
        else if (!kept && character < 0x20)
            shown += QChar(static_cast<char16_t>(firstControlPicture + character));
        else if (character == 0x7F)
            shown += QChar(deletePicture);
        else if (isUnseenThere(character, before, after))
            shown += codePoint(character);
        else
            shown += QString::fromUcs4(&character, 1);
        before = character;
    }
    return shown;
}

} // namespace pelorin
