#include "BeaconryKit/interface/asks/DisplayText.h"

#include <QTextBoundaryFinder>

namespace pelorin {

namespace {

constexpr char16_t firstControlPicture = 0x2400;
constexpr char16_t deletePicture = 0x2421;

bool isDirectionOverride(char16_t unit) {
    return (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

bool isLineBreak(char16_t unit) {
    return unit == 0x0085 || unit == 0x2028 || unit == 0x2029;
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
    for (const QChar character : head) {
        const char16_t unit = character.unicode();
        const bool kept = unit == u'\n' && breaks == LineBreaks::keep;
        if (!kept && (unit == u'\n' || unit == u'\t' || isLineBreak(unit)))
            shown += u' ';
        else if (!kept && unit < 0x20)
            shown += QChar(static_cast<char16_t>(firstControlPicture + unit));
        else if (unit == 0x7F)
            shown += QChar(deletePicture);
        else if (isDirectionOverride(unit) || (unit > 0x7F && unit < 0xA0))
            shown += QStringLiteral("[U+%1]").arg(QString::number(unit, 16).toUpper(), 4, u'0');
        else
            shown += character;
    }
    return shown;
}

} // namespace pelorin
