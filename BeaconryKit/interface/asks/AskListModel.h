#pragma once

#include "BeaconryKit/interface/asks/Countdown.h"
#include "BeaconryKit/service/AskStore.h"

#include <QAbstractListModel>
#include <QHash>
#include <QtQml/qqmlregistration.h>

#include <chrono>
#include <optional>
#include <vector>

namespace pelorin {

/// The rows of a list of asks as QML shows them. It follows a store by identity: a row keeps its place in the scene,
/// and what the user did to it (unfolded it, typed half a reply), for as long as its ask stays in the store. Each view
/// owns one of its own. Main thread.
class AskListModel : public QAbstractListModel {
    Q_OBJECT
    QML_NAMED_ELEMENT(AskListModel)
    QML_UNCREATABLE("The controller owns it")

public:
    /// What a row offers; the role's name in QML is the enumerator's without "Role".
    enum Role {
        askIdRole = Qt::UserRole + 1,
        sourceLabelRole,
        dotColorRole,
        projectNameRole,
        messageRole,
        /// What the session asks, as its terminal puts it, else the usual question; empty for a mere notice.
        questionRole,
        isPermissionRole,
        /// The sub-agent's kind; empty for the session itself.
        agentTypeRole,
        detailRole,
        /// The options' labels, in their order.
        optionLabelsRole,
        acceptsTextRole,
        countdownTextRole,
        countdownIsUrgentRole,
        countdownIsOverRole,
        expandedRole,
        draftRole,
        /// Whether the row has stood where it is for long enough to take clicks.
        armedRole
    };

    enum class Fold { collapsed, expanded };

    using Moment = std::chrono::steady_clock::time_point;

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Follows the list with as few signals as lead there. Rows that are new take no clicks before `armsAt`, nor do
    /// rows whose message or answers are no longer those that the user saw.
    void sync(const SharedAsks& asks, Moment armsAt);

    /// The row's ask as it was last synced; nothing for an identity that is not here.
    SharedAsk ask(const QString& id) const;

    /// Moves all countdown labels on to `now`. A wait below 1 second shows none.
    void setCountdown(qint64 waitSeconds, WallTime now);
    /// Whether any label still changes with time.
    bool isCountingDown() const;

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
    struct Row {
        SharedAsk ask;
        bool expanded = false;
        QString draft;
        std::optional<double> place;
        // Not armed before this moment; nothing once it is armed.
        std::optional<Moment> armsAt;
    };

    Countdown countdown(const Row& row, WallTime now) const;
    int find(const QString& id) const;
    void forgetPositions();
    void removeMissing(const QHash<QString, int>& wanted);
    void bringIntoOrder(const QHash<QString, int>& wanted);
    void insertMissing(const SharedAsks& asks, Moment armsAt);
    void update(int position, const SharedAsk& ask, Moment armsAt);
    void disarm(Row& row, Moment armsAt);
    void changed(int first, int last, const QList<int>& roles);

    std::vector<Row> m_rows;
    // Made when it is first asked for after rows came, went or moved.
    mutable QHash<QString, int> m_positions;
    qint64 m_waitSeconds = 0;
    WallTime m_now{};
};

} // namespace pelorin
