#pragma once

#include <QAbstractListModel>
#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

struct ListStep;

/// A list of plain records as QML shows it. It follows a list that is made elsewhere by the records' identities, so
/// that a row that stays keeps its place in the scene. Main thread.
class RecordListModel : public QAbstractListModel {
    Q_OBJECT
    QML_NAMED_ELEMENT(RecordListModel)
    QML_UNCREATABLE("The facade owns it")

    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    struct Record {
        /// Tells the record from all others of the list.
        QString id;
        /// One for each of the model's roles, in their order.
        QVariantList values;

        bool operator==(const Record&) const = default;
    };

    /// The role's number is its position in the names from `Qt::UserRole + 1` on.
    explicit RecordListModel(const QList<QByteArray>& roles, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override { return m_roleNames; }
    int count() const { return rowCount(); }

    /// Follows the list with as few signals as lead there. Of two records with one identity the first counts.
    void sync(const QList<Record>& wanted);

signals:
    void countChanged();

private:
    void carryOut(const ListStep& step, const QList<Record>& wanted);
    void update(int position, const Record& record);

    QHash<int, QByteArray> m_roleNames;
    QList<Record> m_records;
};

} // namespace pelorin
