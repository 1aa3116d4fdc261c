#pragma once

#include "panels/ListSteps.h"

#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <chrono>
#include <utility>

namespace vantry {

/// A list of rows with keys for a view. It changes row by row and is never reset: what stays in its place is left
/// alone, and of a row that changed only the roles that differ are told. Main thread only.
///
/// Models name it with its namespace: qmllint's description of the types takes a base's name as it is written.
class RowListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    [[nodiscard]] int count() const { return rowCount(); }
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override { return m_roleNames; }

Q_SIGNALS:
    void countChanged();

protected:
    /// Rows that show how long ago something was are looked at again at least this often while they are visible: the
    /// wall clock may be set, and timers stand still while the machine sleeps.
    static constexpr std::chrono::seconds longestRest { 60 };

    explicit RowListModel(QHash<int, QByteArray> roleNames, QObject *parent = nullptr);

    /// Turns the rows into the given ones. A row has `QString id`, its key, which is unique in the list, and
    /// `QVariant value(int role) const`.
    template <typename Row>
    void replaceRows(QList<Row> &rows, const QList<Row> &target);
    /// The same, place by place, whatever the keys: for rows that have nothing to do with those of before, and don't
    /// move visibly. A view keeps what it has made for a place, which is far cheaper than to make it anew.
    template <typename Row>
    void overwriteRows(QList<Row> &rows, const QList<Row> &target);

private:
    template <typename Row>
    static QStringList keysOf(const QList<Row> &rows);
    template <typename Row>
    void setRow(QList<Row> &rows, qsizetype index, const Row &row);
    template <typename Row>
    void takeStep(const ListStep &step, QList<Row> &rows, const QList<Row> &target);

    const QHash<int, QByteArray> m_roleNames;
};

template <typename Row>
QStringList RowListModel::keysOf(const QList<Row> &rows)
{
    QStringList keys;
    keys.reserve(rows.size());
    for (const Row &row : rows)
        keys.append(row.id);
    return keys;
}

template <typename Row>
void RowListModel::takeStep(const ListStep &step, QList<Row> &rows, const QList<Row> &target)
{
    const int from = static_cast<int>(step.from);
    const int to = static_cast<int>(step.to);
    switch (step.kind) {
    case ListStep::Kind::Remove:
        beginRemoveRows({}, from, from);
        rows.removeAt(from);
        endRemoveRows();
        break;
    case ListStep::Kind::Insert:
        beginInsertRows({}, to, to);
        rows.insert(to, target.at(step.item));
        endInsertRows();
        break;
    case ListStep::Kind::Move:
        // Qt wants the row before which it goes, counted before the move.
        beginMoveRows({}, from, from, {}, to > from ? to + 1 : to);
        rows.move(from, to);
        endMoveRows();
        break;
    }
}

template <typename Row>
void RowListModel::replaceRows(QList<Row> &rows, const QList<Row> &target)
{
    const qsizetype countBefore = rows.size();
    for (const ListStep &step : listSteps(keysOf(rows), keysOf(target)))
        takeStep(step, rows, target);
    for (qsizetype i = 0; i < target.size(); ++i)
        setRow(rows, i, target.at(i));
    if (rows.size() != countBefore)
        Q_EMIT countChanged();
}

template <typename Row>
void RowListModel::overwriteRows(QList<Row> &rows, const QList<Row> &target)
{
    const qsizetype countBefore = rows.size();
    if (target.size() < countBefore) {
        beginRemoveRows({}, static_cast<int>(target.size()), static_cast<int>(countBefore - 1));
        rows.resize(target.size());
        endRemoveRows();
    }
    for (qsizetype i = 0; i < rows.size(); ++i)
        setRow(rows, i, target.at(i));
    if (target.size() > countBefore) {
        beginInsertRows({}, static_cast<int>(countBefore), static_cast<int>(target.size() - 1));
        rows = target;
        endInsertRows();
    }
    if (rows.size() != countBefore)
        Q_EMIT countChanged();
}

template <typename Row>
void RowListModel::setRow(QList<Row> &rows, qsizetype index, const Row &row)
{
    const Row before = std::exchange(rows[index], row);
    QList<int> roles;
    for (auto role = m_roleNames.keyBegin(); role != m_roleNames.keyEnd(); ++role) {
        if (before.value(*role) != row.value(*role))
            roles.append(*role);
    }
    const QModelIndex changed = this->index(static_cast<int>(index));
    if (!roles.isEmpty())
        Q_EMIT dataChanged(changed, changed, roles);
}

} // namespace vantry
