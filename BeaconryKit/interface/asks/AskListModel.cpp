#include "BeaconryKit/interface/asks/AskListModel.h"

#include "BeaconryKit/interface/asks/ListDifference.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace pelorin {

namespace {

template <class Rows, class Identity>
QStringList identities(const Rows& rows, Identity identity) {
    QStringList ids;
    ids.reserve(static_cast<qsizetype>(std::size(rows)));
    for (const auto& row : rows)
        ids.append(identity(row));
    return ids;
}

} // namespace

int AskListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant AskListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    return m_rows[static_cast<std::size_t>(index.row())].data(role, m_clock);
}

QHash<int, QByteArray> AskListModel::roleNames() const {
    return askRoleNames();
}

void AskListModel::sync(const SharedAsks& asks, Moment armsAt) {
    const QStringList before = identities(m_rows, [](const AskListRow& row) { return row.ask()->id(); });
    const QStringList after = identities(asks, [](const SharedAsk& ask) { return ask->id(); });
    for (const ListStep& step : listDifference(before, after))
        carryOut(step, asks, armsAt);
    for (int i = 0; i < rowCount(); ++i) {
        const QList<int> roles = row(i).update(asks[i], armsAt);
        if (!roles.isEmpty())
            changed(i, i, roles);
    }
}

void AskListModel::carryOut(const ListStep& step, const SharedAsks& asks, Moment armsAt) {
    const auto first = m_rows.begin() + step.first;
    switch (step.kind) {
    case ListStep::Kind::remove:
        beginRemoveRows({}, step.first, step.last);
        m_rows.erase(first, m_rows.begin() + step.last + 1);
        m_positions.clear();
        endRemoveRows();
        break;
    case ListStep::Kind::move: {
        beginMoveRows({}, step.first, step.last, {}, step.to);
        const auto to = m_rows.begin() + step.to;
        if (first < to)
            std::rotate(first, first + 1, to);
        else
            std::rotate(to, first, first + 1);
        m_positions.clear();
        endMoveRows();
        break;
    }
    case ListStep::Kind::insert: {
        beginInsertRows({}, step.first, step.last);
        std::vector<AskListRow> rows;
        for (int i = step.first; i <= step.last; ++i)
            rows.emplace_back(asks[i], armsAt);
        m_rows.insert(first, std::make_move_iterator(rows.begin()), std::make_move_iterator(rows.end()));
        m_positions.clear();
        endInsertRows();
    }
    }
}

SharedAsk AskListModel::ask(const QString& id) const {
    const int position = find(id);
    return position < 0 ? nullptr : m_rows[static_cast<std::size_t>(position)].ask();
}

void AskListModel::setCountdown(qint64 waitSeconds, WallTime now) {
    const CountdownClock before = std::exchange(m_clock, {waitSeconds, now, m_clock.endOfWait});
    const auto saysTheSame = [&](const AskListRow& row) {
        return before.label(*row.ask()) == m_clock.label(*row.ask());
    };
    const auto first = std::ranges::find_if_not(m_rows, saysTheSame);
    if (first == m_rows.end())
        return;
    const auto last = std::find_if_not(m_rows.rbegin(), m_rows.rend(), saysTheSame).base() - 1;
    changed(static_cast<int>(first - m_rows.begin()), static_cast<int>(last - m_rows.begin()),
            {countdownTextRole, countdownIsUrgentRole, countdownIsOverRole, takesDecisionRole});
}

bool AskListModel::takesDecision(const AskEvent& ask, WallTime now) const {
    return CountdownClock{.now = now, .endOfWait = m_clock.endOfWait}.takesDecision(ask);
}

bool AskListModel::isCountingDown() const {
    return std::ranges::any_of(m_rows, [this](const AskListRow& row) { return m_clock.isRunning(*row.ask()); });
}

void AskListModel::setFold(const QString& id, Fold fold) {
    const int position = find(id);
    if (position >= 0 && row(position).setFold(fold))
        changed(position, position, {expandedRole});
}

void AskListModel::setDraft(const QString& id, const QString& draft) {
    const int position = find(id);
    if (position >= 0 && row(position).setDraft(draft))
        changed(position, position, {draftRole});
}

void AskListModel::setPlace(const QString& id, double place, Moment armsAt) {
    const int position = find(id);
    if (position >= 0 && row(position).arming().moveTo(place, armsAt))
        changed(position, position, {armedRole});
}

void AskListModel::disarmAll(Moment armsAt) {
    for (AskListRow& row : m_rows)
        row.arming().disarm(armsAt);
    if (!m_rows.empty())
        changed(0, rowCount() - 1, {armedRole});
}

std::optional<AskListModel::Moment> AskListModel::arm(Moment now) {
    std::optional<Moment> next;
    int firstArmed = -1;
    for (int i = 0; i <= rowCount(); ++i) {
        const bool wasDue = i < rowCount() && row(i).arming().armIfDue(now);
        // One signal for each run of rows.
        if (wasDue && firstArmed < 0)
            firstArmed = i;
        if (!wasDue && firstArmed >= 0)
            changed(std::exchange(firstArmed, -1), i - 1, {armedRole});
        if (i == rowCount())
            break;
        if (const std::optional<Moment> armsAt = row(i).arming().armsAt())
            next = std::min(next.value_or(*armsAt), *armsAt);
    }
    return next;
}

int AskListModel::find(const QString& id) const {
    // Views answer a change of the rows while it is still being carried out, so the positions can't be those of before.
    if (m_positions.isEmpty()) {
        m_positions.reserve(static_cast<qsizetype>(m_rows.size()));
        for (std::size_t i = 0; i < m_rows.size(); ++i)
            m_positions.insert(m_rows[i].ask()->id(), static_cast<int>(i));
    }
    return m_positions.value(id, -1);
}

void AskListModel::changed(int first, int last, const QList<int>& roles) {
    emit dataChanged(index(first), index(last), roles);
}

} // namespace pelorin
