#pragma once

#include "BeaconryKit/interface/asks/CountdownClock.h"
#include "BeaconryKit/interface/asks/RowArming.h"
#include "BeaconryKit/model/SharedAsks.h"

#include <QList>
#include <QString>
#include <QVariant>

namespace pelorin {

/// One row of a list of asks: the ask, and what the user did to the row. A value; roles are those of `AskRole`.
class AskListRow {
public:
    enum class Fold { collapsed, expanded };

    /// A folded row with no draft that takes no clicks before `armsAt`.
    AskListRow(SharedAsk ask, RowArming::Moment armsAt);

    const SharedAsk& ask() const { return m_ask; }
    RowArming& arming() { return m_arming; }

    /// What the row offers at the clock's time; nothing for a role that it does not know.
    QVariant data(int role, const CountdownClock& clock) const;

    /// Takes the ask's newer state over. A row whose message or answers are no longer those that the user saw takes no
    /// clicks before `armsAt`. Returns the roles that now offer something else.
    QList<int> update(const SharedAsk& ask, RowArming::Moment armsAt);
    /// Returns whether that changed anything.
    bool setFold(Fold fold);
    /// Returns whether that changed anything.
    bool setDraft(const QString& draft);

private:
    SharedAsk m_ask;
    RowArming m_arming;
    Fold m_fold = Fold::collapsed;
    QString m_draft;
};

} // namespace pelorin
