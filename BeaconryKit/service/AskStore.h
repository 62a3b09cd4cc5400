#pragma once

#include "BeaconryKit/model/SharedAsks.h"

#include <QObject>

namespace pelorin {

/// Everything that is waiting for the user: one row per permission request, one row per session for anything else.
/// Lives on the main thread. Every operation is exactly one change, announced before it is stored; subscribers connect
/// queued (or note that something changed) and read on a later turn.
class AskStore final : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// The rows, in the order in which they were first added.
    const SharedAsks& asks() const { return m_asks; }

    /// Whether the store holds a row that equals the ask in every field.
    bool contains(const AskEvent& ask) const;

    /// Adds a row, or replaces the first one of the same identity where it stands.
    void upsert(const AskEvent& ask);
    /// Withdraws every row of that identity (the request id, or the session id of rows without one).
    void remove(const QString& id);
    /// Withdraws every row of the session.
    void clear(const QString& sessionId);
    /// Withdraws the session's rows that no hook waits on.
    void clearNotifications(const QString& sessionId);

signals:
    /// The whole new list.
    void asksWillChange(const pelorin::SharedAsks& asks);
    /// Follows the above.
    void objectWillChange();

private:
    void setAsks(SharedAsks asks);
    template <class Predicate>
    void removeMatching(Predicate matches);

    SharedAsks m_asks;
};

} // namespace pelorin
