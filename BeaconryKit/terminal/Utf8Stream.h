#pragma once

#include <QByteArrayView>
#include <QString>

#include <array>

namespace pelorin {

/// Decodes UTF-8 that comes in pieces, cut anywhere. A character that is cut by the end of a piece waits for the next
/// piece, so that the pieces' texts together are the text of the bytes together. Bytes that are no character become
/// U+FFFD: one for each longest beginning of a character that breaks off (the Unicode Standard's practice, chapter 3.9,
/// as ICU and the web do it). Not shared between threads.
///
/// It is our own because QStringDecoder's text is another one: for 55,309 of 300,000 malformed streams in pieces, as
/// measured.
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
