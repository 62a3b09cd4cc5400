#include "BeaconryKit/interface/manager/RecordListModel.h"

#include <QSet>

#include <algorithm>

namespace pelorin {

namespace {

constexpr int firstRole = Qt::UserRole + 1;

} // namespace

RecordListModel::RecordListModel(const QList<QByteArray>& roles, QObject* parent) : QAbstractListModel(parent) {
    for (qsizetype i = 0; i < roles.size(); ++i)
        m_roleNames.insert(firstRole + static_cast<int>(i), roles[i]);
}

int RecordListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_records.size());
}

QVariant RecordListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    return m_records[index.row()].values.value(role - firstRole);
}

void RecordListModel::sync(const QList<Record>& wanted) {
    QList<Record> records;
    records.reserve(wanted.size());
    QSet<QString> ids;
    for (const Record& record : wanted) {
        if (ids.contains(record.id))
            continue;
        ids.insert(record.id);
        records.append(record);
    }
    if (records == m_records)
        return;
    const qsizetype before = m_records.size();
    removeMissing(records);
    for (qsizetype i = 0; i < records.size(); ++i)
        put(static_cast<int>(i), records[i]);
    if (before != m_records.size())
        emit countChanged();
}

void RecordListModel::removeMissing(const QList<Record>& wanted) {
    QSet<QString> ids;
    for (const Record& record : wanted)
        ids.insert(record.id);
    const auto stays = [&](int position) {
        return ids.contains(m_records[position].id);
    };
    for (int last = rowCount() - 1; last >= 0; --last) {
        if (stays(last))
            continue;
        int first = last;
        while (first > 0 && !stays(first - 1))
            --first;
        beginRemoveRows({}, first, last);
        m_records.remove(first, last - first + 1);
        endRemoveRows();
        last = first;
    }
}

void RecordListModel::put(int position, const Record& record) {
    const auto from = m_records.begin() + position;
    const auto found = std::find_if(from, m_records.end(), [&](const Record& other) { return other.id == record.id; });
    if (found == m_records.end()) {
        beginInsertRows({}, position, position);
        m_records.insert(position, record);
        endInsertRows();
        return;
    }
    if (found != from) {
        const int old = static_cast<int>(found - m_records.begin());
        beginMoveRows({}, old, old, {}, position);
        m_records.move(old, position);
        endMoveRows();
    }
    update(position, record);
}

void RecordListModel::update(int position, const Record& record) {
    const QVariantList old = std::exchange(m_records[position].values, record.values);
    QList<int> roles;
    for (qsizetype i = 0; i < record.values.size(); ++i) {
        if (old.value(i) != record.values[i])
            roles.append(firstRole + static_cast<int>(i));
    }
    if (!roles.isEmpty())
        emit dataChanged(index(position), index(position), roles);
}

} // namespace pelorin
