#pragma once

#include <QByteArrayView>
#include <QString>

#include <array>

namespace pelorin {

/// Decodes UTF-8 that comes in pieces, cut anywhere. A character that is cut by the end of a piece waits for the next
/// one; only bytes that cannot be part of any character become U+FFFD, one for each longest beginning of a character
/// that something else follows (the Unicode Standard's practice, chapter 3.9, as ICU and the web do it). So the pieces'
/// texts together are the text of the bytes together. Not shared between threads.
class Utf8Stream {
public:
    /// The text of the waiting bytes and of the piece, as far as it is complete.
    QString decode(QByteArrayView piece);

    /// Ends the stream: a character still incomplete becomes one U+FFFD. The next piece starts a new stream.
    QString finish();

    /// Forgets the waiting bytes; the next piece starts a new stream.
    void reset() { m_waitingSize = 0; }

private:
    // No character has more than four bytes.
    std::array<char, 3> m_waiting{};
    qsizetype m_waitingSize = 0;
};

} // namespace pelorin
