#include "BeaconryKit/service/AskStore.h"

#include <algorithm>

namespace pelorin {

bool AskStore::contains(const AskEvent& ask) const {
    return std::ranges::any_of(m_asks, [&](const SharedAsk& row) { return *row == ask; });
}

void AskStore::setAsks(SharedAsks asks) {
    emit asksWillChange(asks);
    emit objectWillChange();
    m_asks = std::move(asks);
}

void AskStore::upsert(const AskEvent& ask) {
    SharedAsks asks = m_asks;
    const auto same =
        std::find_if(asks.cbegin(), asks.cend(), [&](const SharedAsk& row) { return row->id() == ask.id(); });
    auto row = std::make_shared<const AskEvent>(ask);
    if (same != asks.cend())
        asks.replace(same - asks.cbegin(), std::move(row));
    else
        asks.append(std::move(row));
    setAsks(std::move(asks));
}

template <class Predicate>
void AskStore::removeMatching(Predicate matches) {
    SharedAsks asks;
    asks.reserve(m_asks.size());
    std::ranges::copy_if(m_asks, std::back_inserter(asks), [&](const SharedAsk& row) { return !matches(*row); });
    setAsks(std::move(asks));
}

void AskStore::remove(const QString& id) {
    removeMatching([&](const AskEvent& ask) { return ask.id() == id; });
}

void AskStore::clear(const QString& sessionId) {
    removeMatching([&](const AskEvent& ask) { return ask.sessionId == sessionId; });
}

void AskStore::clearNotifications(const QString& sessionId) {
    removeMatching([&](const AskEvent& ask) { return ask.sessionId == sessionId && !ask.isPermission(); });
}

} // namespace pelorin
