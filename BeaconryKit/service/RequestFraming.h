#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

namespace pelorin {

/// One request of a hook, as the router sees it. The path stands as it was sent, any query included.
struct HookRequest {
    QByteArray path;
    QByteArray body;

    bool operator==(const HookRequest&) const = default;
};

/// Finds the one HTTP request in the bytes of a connection. Knows no sockets. The outcome depends on the bytes alone,
/// not on how they were cut into pieces.
class RequestFraming {
public:
    /// A connection that has brought this many bytes is closed without a reply.
    static constexpr qsizetype refusedSize = 1'000'001;

    enum class Progress {
        /// More bytes may complete the request. A malformed request stays here until its sender gives up.
        incomplete,
        /// `takeRequest` hands it out.
        complete,
        /// The connection is to be closed without a reply: too many bytes, or a request that a web page has made. Its
        /// browser adds the header `Origin`, which a hook never does. It leaves that out where the page has the same
        /// origin, but its `Host` then is the name that the page has made to lead to this machine.
        refused
    };

    /// Takes the next bytes. Not to be called again after anything but `incomplete`.
    Progress append(QByteArrayView bytes);

    /// How many bytes are kept.
    qsizetype size() const { return m_buffer.size(); }

    /// The complete request. The bytes behind it are dropped.
    HookRequest takeRequest();

private:
    struct Head {
        QByteArray path;
        qsizetype contentLength = 0;
        qsizetype bodyStart = 0;
        bool isFromWebPage = false;
    };
    static std::optional<Head> parseHead(QByteArrayView head);

    QByteArray m_buffer;
    qsizetype m_searchedForHeadEnd = 0;
    bool m_headIsMalformed = false;
    std::optional<Head> m_head;
};

} // namespace pelorin
