#pragma once

#include "BeaconryKit/interface/asks/AskListRow.h"
#include "BeaconryKit/interface/asks/AskRole.h"

#include <QAbstractListModel>
#include <QHash>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <utility>
#include <vector>

namespace pelorin {

struct ListStep;

/// The rows of a list of asks as QML shows them. It follows a store by identity: a row keeps its place in the scene,
/// and what the user did to it (unfolded it, typed half a reply), for as long as its ask stays in the store. Each view
/// owns one of its own. Main thread.
class AskListModel : public QAbstractListModel {
    Q_OBJECT
    QML_NAMED_ELEMENT(AskListModel)
    QML_UNCREATABLE("The controller owns it")

public:
    using enum AskRole;
    using Fold = AskListRow::Fold;
    using Moment = RowArming::Moment;

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Follows the list with as few signals as lead there. Rows that are new take no clicks before `armsAt`, nor do
    /// rows whose message or answers are no longer those that the user saw.
    void sync(const SharedAsks& asks, Moment armsAt);

    /// The row's ask as it was last synced; nothing for an identity that is not here.
    SharedAsk ask(const QString& id) const;

    /// Tells from now on when a request's own wait ends. Its label then follows that, and not the general wait.
    void setEndOfWait(EndOfWait endOfWait) { m_clock.endOfWait = std::move(endOfWait); }
    /// Moves all countdown labels on to `now`. A wait below 1 second shows none.
    void setCountdown(qint64 waitSeconds, WallTime now);
    /// Whether any label still changes with time.
    bool isCountingDown() const;
    /// Whether the ask takes a decision at `now`.
    bool takesDecision(const AskEvent& ask, WallTime now) const;

    void setFold(const QString& id, Fold fold);
    void setDraft(const QString& id, const QString& draft);

    /// Notes where the row stands, in pixels from any fixed point. A row that has moved takes no clicks before
    /// `armsAt`.
    void setPlace(const QString& id, double place, Moment armsAt);
    /// No row takes clicks before `armsAt`.
    void disarmAll(Moment armsAt);
    /// Arms the rows that are due at `now`. Returns when the next one is due; nothing when all are armed.
    std::optional<Moment> arm(Moment now);

private:
    int find(const QString& id) const;
    AskListRow& row(int position) { return m_rows[static_cast<std::size_t>(position)]; }
    void carryOut(const ListStep& step, const SharedAsks& asks, Moment armsAt);
    void changed(int first, int last, const QList<int>& roles);

    std::vector<AskListRow> m_rows;
    // Made when it is first asked for after rows came, went or moved.
    mutable QHash<QString, int> m_positions;
    CountdownClock m_clock;
};

} // namespace pelorin
