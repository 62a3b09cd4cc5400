#pragma once

#include "BeaconryKit/model/SharedAsks.h"

#include <QHash>
#include <QList>
#include <QObject>

#include <set>

namespace pelorin {

/// Everything that is waiting for the user: one row per permission request, one row per session for anything else.
/// Lives on the main thread. Every operation is exactly one change, announced before it is stored; subscribers connect
/// queued (or note that something changed) and read on a later turn. To change the store while it announces a change is
/// a programming error and stops the program.
///
/// An operation costs the same with ten rows and with ten thousand, but for those that must close a gap in the middle
/// and for one copy of each list that somebody keeps.
class AskStore final : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// The rows, in the order in which they were first added.
    const SharedAsks& asks() const { return m_asks; }

    /// The row of that identity (the request id, or the session id of rows without one); null when there is none.
    SharedAsk ask(const QString& id) const;
    /// Whether the store holds a row that equals the ask in every field.
    bool contains(const AskEvent& ask) const;
    /// Whether a hook waits on a row of the session.
    bool hasPermission(const QString& sessionId) const;

    /// Adds a row, or replaces the one of the same identity where it stands.
    void upsert(const AskEvent& ask);
    /// Withdraws the row of that identity.
    void remove(const QString& id);
    /// Withdraws every row of the session.
    void clear(const QString& sessionId);
    /// Withdraws the session's row that no hook waits on.
    void clearNotifications(const QString& sessionId);

signals:
    /// The whole new list.
    void asksWillChange(const pelorin::SharedAsks& asks);
    /// Follows the above.
    void objectWillChange();

private:
    // Counts the rows that were ever added, so that rows stand in the order of their numbers.
    using Number = quint64;

    qsizetype positionOf(Number number) const;
    template <class Change>
    void apply(Change change);
    void replace(qsizetype position, const SharedAsk& row);
    void append(const SharedAsk& row);
    void withdraw(const QList<qsizetype>& positions);
    void remember(const AskEvent& ask, Number number);
    void forget(const AskEvent& ask, Number number);

    SharedAsks m_asks;
    // The same rows between two changes: a change is made here, announced, and then made there, so that it need not
    // copy the whole list.
    SharedAsks m_next;
    // Those of the rows, in ascending order.
    QList<Number> m_numbers;
    Number m_nextNumber = 0;
    QHash<QString, Number> m_numberOfId;
    QHash<QString, std::set<Number>> m_numbersOfSession;
    bool m_isAnnouncing = false;
};

} // namespace pelorin
