#include "BeaconryKit/service/RequestFraming.h"

#include <QList>
#include <QUtf8StringView>

#include <algorithm>
#include <utility>

namespace pelorin {

namespace {

constexpr QByteArrayView headEnd("\r\n\r\n");
constexpr QByteArrayView lineEnd("\r\n");

/// The whole of `text` as a decimal number, an optional sign in front. Nothing when it is anything else or beyond 64
/// bits.
std::optional<qint64> decimal(QByteArrayView text) {
    const QByteArrayView digits = text.startsWith('+') || text.startsWith('-') ? text.sliced(1) : text;
    const auto isDigit = [](char character) {
        return character >= '0' && character <= '9';
    };
    if (digits.isEmpty() || !std::ranges::all_of(digits, isDigit))
        return std::nullopt;
    bool fits = false;
    const qint64 value = text.toLongLong(&fits, 10);
    return fits ? std::optional(value) : std::nullopt;
}

QByteArrayView trimBlanks(QByteArrayView text) {
    const auto isBlank = [](char character) {
        return character == ' ' || character == '\t';
    };
    while (!text.isEmpty() && isBlank(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isBlank(text.back()))
        text.chop(1);
    return text;
}

/// Whether the last part of a name is a number, in a way that addresses are written. No name that can be looked up ends
/// with one.
bool endsWithNumber(QByteArrayView host) {
    const QByteArrayView last = host.sliced(host.lastIndexOf('.') + 1);
    const bool isHexadecimal = last.startsWith("0x") || last.startsWith("0X");
    return !last.isEmpty() && std::ranges::all_of(isHexadecimal ? last.sliced(2) : last, [&](char character) {
        return (character >= '0' && character <= '9') ||
               (isHexadecimal && ((character >= 'a' && character <= 'f') || (character >= 'A' && character <= 'F')));
    });
}

/// Whether the value of `Host` is a name with a dot in it. Neither an address nor "localhost" is one.
bool isDottedName(QByteArrayView value) {
    if (value.startsWith('['))
        return false;
    QByteArrayView host = value.first(value.indexOf(':') < 0 ? value.size() : value.indexOf(':'));
    const bool isDotted = host.contains('.');
    if (host.endsWith('.'))
        host.chop(1);
    return isDotted && !endsWithNumber(host) && host.compare("localhost", Qt::CaseInsensitive) != 0;
}

/// Calls `take` with each piece between separators, empty ones included.
template <class Take>
void split(QByteArrayView text, QByteArrayView separator, Take take) {
    for (;;) {
        const qsizetype end = text.indexOf(separator);
        if (end < 0) {
            take(text);
            return;
        }
        take(text.first(end));
        text = text.sliced(end + separator.size());
    }
}

} // namespace

RequestFraming::Progress RequestFraming::append(QByteArrayView bytes) {
    if (m_buffer.size() + bytes.size() >= refusedSize)
        return Progress::refused;
    m_buffer.append(bytes);
    if (m_headIsMalformed)
        return Progress::incomplete;

    if (!m_head) {
        const qsizetype end = m_buffer.indexOf(headEnd, m_searchedForHeadEnd);
        if (end < 0) {
            // The end may have come in part.
            m_searchedForHeadEnd = std::max<qsizetype>(0, m_buffer.size() - (headEnd.size() - 1));
            return Progress::incomplete;
        }
        m_head = parseHead(QByteArrayView(m_buffer).first(end));
        m_headIsMalformed = !m_head;
        if (!m_head)
            return Progress::incomplete;
    }
    if (m_head->isFromWebPage)
        return Progress::refused;
    return m_buffer.size() - m_head->bodyStart < m_head->contentLength ? Progress::incomplete : Progress::complete;
}

HookRequest RequestFraming::takeRequest() {
    HookRequest request{std::move(m_head->path), m_buffer.sliced(m_head->bodyStart, m_head->contentLength)};
    m_buffer = {};
    m_head.reset();
    return request;
}

std::optional<RequestFraming::Head> RequestFraming::parseHead(QByteArrayView head) {
    if (!QUtf8StringView(head.data(), head.size()).isValidUtf8())
        return std::nullopt;

    Head result;
    result.bodyStart = head.size() + headEnd.size();
    bool isRequestLine = true;
    bool isRequest = false;
    bool readsStatus = false;
    split(head, lineEnd, [&](QByteArrayView line) {
        if (std::exchange(isRequestLine, false)) {
            QList<QByteArrayView> words;
            split(line, " ", [&](QByteArrayView word) {
                if (!word.isEmpty())
                    words.append(word);
            });
            isRequest = words.size() >= 2 && (words[0] == "POST" || words[0] == "GET");
            if (isRequest)
                result.path = words[1].toByteArray();
            // The only request that is answered with what nobody else should know, and that takes no `POST`.
            readsStatus = isRequest && words[0] == "GET" && words[1] == "/status";
            return;
        }
        const qsizetype colon = line.indexOf(':');
        if (colon < 0)
            return;
        const QByteArrayView name = line.first(colon);
        if (name.compare("content-length", Qt::CaseInsensitive) == 0)
            result.contentLength = std::max<qint64>(0, decimal(trimBlanks(line.sliced(colon + 1))).value_or(0));
        else if (name.compare("origin", Qt::CaseInsensitive) == 0 ||
                 (readsStatus && name.compare("host", Qt::CaseInsensitive) == 0 &&
                  isDottedName(trimBlanks(line.sliced(colon + 1)))))
            result.isFromWebPage = true;
    });
    return isRequest ? std::optional(std::move(result)) : std::nullopt;
}

} // namespace pelorin
