#include "BeaconryKit/service/AskStore.h"

#include "BeaconryKit/platform/ProgrammingError.h"

#include <algorithm>

namespace pelorin {

namespace {

/// Takes the elements at the positions, which ascend, out of the list.
template <class List>
void removeAt(List& list, const QList<qsizetype>& positions) {
    if (positions.isEmpty())
        return;
    const auto first = list.begin() + positions.first();
    if (positions.last() - positions.first() + 1 == positions.size()) {
        list.erase(first, first + positions.size());
        return;
    }
    auto removed = positions.begin();
    auto kept = first;
    qsizetype position = positions.first();
    for (auto element = first; element != list.end(); ++element, ++position) {
        if (removed != positions.end() && *removed == position)
            ++removed;
        else
            *kept++ = std::move(*element);
    }
    list.erase(kept, list.end());
}

} // namespace

SharedAsk AskStore::ask(const QString& id) const {
    const auto number = m_numberOfId.constFind(id);
    return number == m_numberOfId.constEnd() ? nullptr : m_asks[positionOf(*number)];
}

bool AskStore::contains(const AskEvent& ask) const {
    const SharedAsk row = this->ask(ask.id());
    return row && *row == ask;
}

bool AskStore::hasPermission(const QString& sessionId) const {
    const auto numbers = m_numbersOfSession.constFind(sessionId);
    if (numbers == m_numbersOfSession.constEnd())
        return false;
    // At most one row of a session is none.
    return numbers->size() > 1 || m_asks[positionOf(*numbers->begin())]->isPermission();
}

qsizetype AskStore::positionOf(Number number) const {
    return std::ranges::lower_bound(m_numbers, number) - m_numbers.begin();
}

template <class Change>
void AskStore::apply(Change change) {
    if (m_isAnnouncing)
        programmingError("the asks change while a change of them is announced");
    m_isAnnouncing = true;
    change(m_next);
    emit asksWillChange(m_next);
    emit objectWillChange();
    m_asks.swap(m_next);
    change(m_next);
    m_isAnnouncing = false;
}

void AskStore::upsert(const AskEvent& ask) {
    const auto row = std::make_shared<const AskEvent>(ask);
    const auto number = m_numberOfId.constFind(ask.id());
    if (number != m_numberOfId.constEnd())
        replace(positionOf(*number), row);
    else
        append(row);
}

void AskStore::replace(qsizetype position, const SharedAsk& row) {
    const SharedAsk before = m_asks[position];
    apply([&](SharedAsks& asks) { asks.replace(position, row); });
    const Number number = m_numbers[position];
    forget(*before, number);
    remember(*row, number);
}

void AskStore::append(const SharedAsk& row) {
    apply([&](SharedAsks& asks) { asks.append(row); });
    m_numbers.append(m_nextNumber);
    remember(*row, m_nextNumber++);
}

void AskStore::withdraw(const QList<qsizetype>& positions) {
    QList<SharedAsk> rows;
    for (const qsizetype position : positions)
        rows.append(m_asks[position]);
    apply([&](SharedAsks& asks) { removeAt(asks, positions); });
    for (qsizetype index = 0; index < positions.size(); ++index)
        forget(*rows[index], m_numbers[positions[index]]);
    removeAt(m_numbers, positions);
}

void AskStore::remember(const AskEvent& ask, Number number) {
    m_numberOfId.insert(ask.id(), number);
    m_numbersOfSession[ask.sessionId].insert(number);
}

void AskStore::forget(const AskEvent& ask, Number number) {
    m_numberOfId.remove(ask.id());
    const auto ofSession = m_numbersOfSession.find(ask.sessionId);
    ofSession->erase(number);
    if (ofSession->empty())
        m_numbersOfSession.erase(ofSession);
}

void AskStore::remove(const QString& id) {
    const auto number = m_numberOfId.constFind(id);
    withdraw(number == m_numberOfId.constEnd() ? QList<qsizetype>() : QList{positionOf(*number)});
}

void AskStore::clear(const QString& sessionId) {
    QList<qsizetype> positions;
    for (const Number number : m_numbersOfSession.value(sessionId))
        positions.append(positionOf(number));
    withdraw(positions);
}

void AskStore::clearNotifications(const QString& sessionId) {
    // The session's own identity is that of its one row that is no permission request.
    const SharedAsk row = ask(sessionId);
    if (row && !row->isPermission())
        remove(sessionId);
    else
        withdraw({});
}

} // namespace pelorin
