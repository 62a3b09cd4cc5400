#include "BeaconryKit/service/DecisionRouter.h"

#include <optional>
#include <utility>

namespace pelorin {

DecisionRouter::DecisionRouter(Dispatch& dispatch) : m_dispatch(dispatch), m_pending(std::make_shared<Table>()) {
}

void DecisionRouter::park(const QString& requestId, double timeout, Respond respond, std::function<void()> onExpire,
                          Waiter waiter) {
    // A replaced entry is destroyed after the lock is released: its callbacks may own anything.
    Pending entry{std::move(respond), std::move(onExpire), std::move(waiter)};
    m_pending->with([&](auto& table) { std::swap(table[requestId], entry); });

    m_dispatch.globalQueue().asyncAfter(secondsToDuration(timeout), [table = std::weak_ptr(m_pending), requestId] {
        if (const auto pending = table.lock())
            finish(*pending, requestId, Decision::ask, true);
    });
}

bool DecisionRouter::resolve(const QString& requestId, Decision decision) {
    return finish(requestId, decision, false);
}

bool DecisionRouter::finish(const QString& requestId, Decision decision, bool expired) {
    return finish(*m_pending, requestId, decision, expired);
}

bool DecisionRouter::finish(Table& table, const QString& requestId, Decision decision, bool expired) {
    const auto entry = table.with([&](auto& pending) -> std::optional<Pending> {
        const auto found = pending.find(requestId);
        if (found == pending.end())
            return std::nullopt;
        Pending removed = std::move(*found);
        pending.erase(found);
        return removed;
    });
    if (!entry)
        return false;
    entry->respond(decisionReply(decision));
    if (expired && entry->onExpire)
        entry->onExpire();
    return true;
}

bool DecisionRouter::withdraw(const QString& requestId, const Waiter& waiter) {
    Pending removed;
    return m_pending->with([&](auto& pending) {
        const auto found = pending.find(requestId);
        if (found == pending.end() || found->waiter != waiter)
            return false;
        removed = std::move(*found);
        pending.erase(found);
        return true;
    });
}

QByteArray decisionReply(Decision decision) {
    return "{\"decision\":\"" + rawValue(decision).toUtf8() + "\"}";
}

} // namespace pelorin
