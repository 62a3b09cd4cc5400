#include "BeaconryKit/service/RequestDetails.h"

namespace pelorin {

namespace {

// So many details of rows that have gone may stay before somebody looks for them.
constexpr qsizetype leftRowsLimit = 64;

template <class Value>
std::optional<Value> valueIn(const QHash<QString, Value>& table, const QString& key) {
    const auto found = table.find(key);
    return found == table.end() ? std::nullopt : std::optional(*found);
}

} // namespace

RequestDetails::RequestDetails(const AskStore& store) : m_store(store) {
}

void RequestDetails::keep(const AskEvent& ask, const std::optional<HelperDetails>& details) {
    m_requests.remove(ask.id());
    if (!details) {
        m_ofRow.remove(ask.id());
        return;
    }
    dropLeftRows(m_ofRow);
    if (areTooMany(m_requests.size()))
        takeLeftRequests();
    if (ask.isPermission())
        m_requests.insert(ask.id());
    m_ofRow.insert(ask.id(), *details);
    m_ofSession.insert(ask.sessionId, *details);
}

void RequestDetails::keepWait(const AskEvent& ask, WallTime end) {
    dropLeftRows(m_endOfWait);
    m_endOfWait.insert(ask.id(), end);
}

void RequestDetails::keepExpiry(const AskEvent& notice) {
    const SharedAsk row = m_store.ask(notice.id());
    const int before = row ? expiredAsks(*row) : 0;
    dropLeftRows(m_expiries);
    m_expiries.insert(notice.id(), {notice, before + 1});
}

int RequestDetails::expiredAsks(const AskEvent& row) const {
    const auto expiry = valueIn(m_expiries, row.id());
    // The row may have been unfolded.
    const bool isTheNotice = expiry && row.requestId.isEmpty() && row.message == expiry->notice.message &&
                             row.receivedAt == expiry->notice.receivedAt;
    return isTheNotice ? expiry->count : 0;
}

void RequestDetails::keepSession(const QString& sessionId, const std::optional<HelperDetails>& details) {
    if (details)
        m_ofSession.insert(sessionId, *details);
    else
        m_ofSession.remove(sessionId);
}

void RequestDetails::forgetSession(const QString& sessionId) {
    m_ofSession.remove(sessionId);
}

QStringList RequestDetails::takeLeftRequests() {
    QStringList left;
    m_requests.removeIf([&](const QString& id) {
        if (m_store.ask(id))
            return false;
        left.append(id);
        return true;
    });
    return left;
}

QStringList RequestDetails::sessionsOf(qint64 cliProcess, quint64 cliStartTime) const {
    QStringList sessions;
    for (auto entry = m_ofSession.begin(); entry != m_ofSession.end(); ++entry) {
        if (entry->cliProcess == cliProcess && entry->cliStartTime == cliStartTime)
            sessions.append(entry.key());
    }
    return sessions;
}

std::optional<HelperDetails> RequestDetails::ofAsk(const AskEvent& ask) const {
    return valueIn(m_ofRow, ask.id());
}

std::optional<WallTime> RequestDetails::endOfWait(const QString& askId) const {
    return valueIn(m_endOfWait, askId);
}

std::optional<HelperDetails> RequestDetails::ofSession(const QString& sessionId) const {
    return valueIn(m_ofSession, sessionId);
}

bool RequestDetails::areTooMany(qsizetype count) const {
    return count > 2 * m_store.asks().size() + leftRowsLimit;
}

template <class Value>
void RequestDetails::dropLeftRows(QHash<QString, Value>& table) const {
    if (areTooMany(table.size()))
        table.removeIf([this](const auto& entry) { return !m_store.ask(entry.key()); });
}

} // namespace pelorin
