#pragma once

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/HelperDetails.h"
#include "BeaconryKit/service/AskStore.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <optional>

namespace pelorin {

/// What is known of requests and sessions beyond their records. Lives on the main thread.
class RequestDetails {
public:
    /// `store` holds the rows that details are kept for; it must outlive this.
    explicit RequestDetails(const AskStore& store);

    /// Keeps what the helper has told with the ask, for its row and for its session. Nothing: the ask came from another
    /// sender, and what an earlier one of the same identity has told holds no longer.
    void keep(const AskEvent& ask, const std::optional<HelperDetails>& details);
    /// Keeps what the helper has told with a session's start.
    void keepSession(const QString& sessionId, const std::optional<HelperDetails>& details);
    /// Keeps the moment at which the ask's hook will wait no longer.
    void keepWait(const AskEvent& ask, WallTime end);
    /// Keeps that a request has expired into this notice, which takes its place in the store next.
    void keepExpiry(const AskEvent& notice);
    /// Forgets the session, but not its rows.
    void forgetSession(const QString& sessionId);

    /// The request ids of our helper's asks whose rows have gone. Forgets that they have.
    QStringList takeLeftRequests();

    /// The sessions that our helper last told this process to run.
    QStringList sessionsOf(qint64 cliProcess, quint64 cliStartTime) const;
    /// What the helper told with the ask; nothing for asks of other senders.
    std::optional<HelperDetails> ofAsk(const AskEvent& ask) const;
    /// When the hook of the ask that was parked last under this id waits no longer; nothing for an id that none was
    /// parked under. The setting of the moment at which it came counts, not a later one.
    std::optional<WallTime> endOfWait(const QString& askId) const;
    /// How many requests have expired into this row since it came; 0 for any other row. They share the session's one
    /// row, which tells of the last of them.
    int expiredAsks(const AskEvent& row) const;
    /// What the helper told last in the session.
    std::optional<HelperDetails> ofSession(const QString& sessionId) const;

private:
    struct Expiry {
        AskEvent notice;
        int count = 0;
    };

    bool areTooMany(qsizetype count) const;
    template <class Value>
    void dropLeftRows(QHash<QString, Value>& table) const;

    const AskStore& m_store;
    QHash<QString, HelperDetails> m_ofRow;
    // Those of the rows that a hook waits on.
    QSet<QString> m_requests;
    QHash<QString, HelperDetails> m_ofSession;
    QHash<QString, WallTime> m_endOfWait;
    QHash<QString, Expiry> m_expiries;
};

} // namespace pelorin
