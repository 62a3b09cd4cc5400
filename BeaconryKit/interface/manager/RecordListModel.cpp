#include "BeaconryKit/interface/manager/RecordListModel.h"

#include "BeaconryKit/interface/asks/ListDifference.h"

#include <QSet>

#include <utility>

namespace pelorin {

namespace {

constexpr int firstRole = Qt::UserRole + 1;

QStringList identities(const QList<RecordListModel::Record>& records) {
    QStringList ids;
    for (const RecordListModel::Record& record : records)
        ids.append(record.id);
    return ids;
}

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
    for (const ListStep& step : listDifference(identities(m_records), identities(records)))
        carryOut(step, records);
    for (int i = 0; i < rowCount(); ++i)
        update(i, records[i]);
    if (before != m_records.size())
        emit countChanged();
}

void RecordListModel::carryOut(const ListStep& step, const QList<Record>& wanted) {
    switch (step.kind) {
    case ListStep::Kind::remove:
        beginRemoveRows({}, step.first, step.last);
        m_records.remove(step.first, step.last - step.first + 1);
        endRemoveRows();
        break;
    case ListStep::Kind::move:
        beginMoveRows({}, step.first, step.last, {}, step.to);
        m_records.move(step.first, step.first < step.to ? step.to - 1 : step.to);
        endMoveRows();
        break;
    case ListStep::Kind::insert:
        beginInsertRows({}, step.first, step.last);
        for (int i = step.first; i <= step.last; ++i)
            m_records.insert(i, wanted[i]);
        endInsertRows();
    }
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
