#include "BeaconryKit/terminal/Utf8Stream.h"

#include <algorithm>

namespace pelorin {

namespace {

/// How many bytes the character has that starts with this byte; 0 for a byte that starts none.
int characterLength(uchar first) {
    if (first < 0x80)
        return 1;
    if (first >= 0xc2 && first <= 0xdf)
        return 2;
    if (first >= 0xe0 && first <= 0xef)
        return 3;
    if (first >= 0xf0 && first <= 0xf4)
        return 4;
    return 0;
}

/// Whether the byte may come second: overlong forms, surrogates and what lies beyond U+10FFFF are no characters.
bool mayComeSecond(uchar first, uchar second) {
    switch (first) {
    case 0xe0:
        return second >= 0xa0 && second <= 0xbf;
    case 0xed:
        return second >= 0x80 && second <= 0x9f;
    case 0xf0:
        return second >= 0x90 && second <= 0xbf;
    case 0xf4:
        return second >= 0x80 && second <= 0x8f;
    default:
        return second >= 0x80 && second <= 0xbf;
    }
}

/// How many of the bytes at the front belong together as a character or as the beginning of one; at least 1.
qsizetype wellFormedLength(QByteArrayView bytes) {
    const auto byte = [&](qsizetype at) {
        return static_cast<uchar>(bytes[at]);
    };
    const qsizetype longest = std::min<qsizetype>(characterLength(byte(0)), bytes.size());
    if (longest < 2 || !mayComeSecond(byte(0), byte(1)))
        return 1;
    qsizetype length = 2;
    while (length < longest && (byte(length) & 0xc0) == 0x80)
        ++length;
    return length;
}

void appendCharacter(QString& text, QByteArrayView bytes) {
    const auto bits = [&](qsizetype at) {
        return static_cast<char32_t>(static_cast<uchar>(bytes[at]));
    };
    switch (bytes.size()) {
    case 2:
        text.append(QChar(static_cast<char16_t>((bits(0) & 0x1f) << 6 | (bits(1) & 0x3f))));
        return;
    case 3:
        text.append(QChar(static_cast<char16_t>((bits(0) & 0x0f) << 12 | (bits(1) & 0x3f) << 6 | (bits(2) & 0x3f))));
        return;
    default:
        const char32_t character =
            (bits(0) & 0x07) << 18 | (bits(1) & 0x3f) << 12 | (bits(2) & 0x3f) << 6 | (bits(3) & 0x3f);
        text.append(QChar(QChar::highSurrogate(character)));
        text.append(QChar(QChar::lowSurrogate(character)));
    }
}

} // namespace

QString Utf8Stream::decode(QByteArrayView piece) {
    QByteArray joined;
    if (m_waitingSize > 0) {
        joined.reserve(m_waitingSize + piece.size());
        joined.append(m_waiting.data(), m_waitingSize).append(piece);
        piece = joined;
        m_waitingSize = 0;
    }
    QString text;
    text.reserve(piece.size());
    while (!piece.isEmpty()) {
        const auto plainEnd = std::ranges::find_if(piece, [](char byte) { return static_cast<uchar>(byte) >= 0x80; });
        const qsizetype plainLength = plainEnd - piece.begin();
        text.append(QLatin1StringView(piece.first(plainLength)));
        piece = piece.sliced(plainLength);
        if (piece.isEmpty())
            break;
        const int length = characterLength(static_cast<uchar>(piece.front()));
        const qsizetype wellFormed = wellFormedLength(piece);
        if (wellFormed == length) {
            appendCharacter(text, piece.first(length));
        } else if (wellFormed == piece.size() && wellFormed < length) {
            std::ranges::copy(piece, m_waiting.begin());
            m_waitingSize = wellFormed;
        } else {
            text.append(QChar(QChar::ReplacementCharacter));
        }
        piece = piece.sliced(wellFormed);
    }
    return text;
}

QString Utf8Stream::finish() {
    const bool isIncomplete = m_waitingSize > 0;
    reset();
    return isIncomplete ? QString(QChar(QChar::ReplacementCharacter)) : QString();
}

} // namespace pelorin
