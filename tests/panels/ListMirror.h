#pragma once

#include <QAbstractListModel>
#include <QHash>
#include <QList>
#include <QString>
#include <QVariant>

#include <gtest/gtest.h>

namespace vantry::test {

/// A view of a list that knows of it only by the signals that a view gets: at every moment it must show what the list
/// holds. A reset, a signal about rows that aren't there, and one for a row that hasn't changed fail the test.
class ListMirror : public QObject
{
public:
    ListMirror(const QAbstractListModel &model, int keyRole)
        : m_model(model)
        , m_keyRole(keyRole)
    {
        for (int row = 0; row < model.rowCount(); ++row)
            m_rows.append(read(row));
        connect(&model, &QAbstractListModel::modelAboutToBeReset, this, [] { ADD_FAILURE() << "the list was reset"; });
        connect(&model, &QAbstractListModel::layoutAboutToBeChanged, this, [] { ADD_FAILURE() << "new layout"; });
        connect(&model, &QAbstractListModel::rowsInserted, this, [this](const QModelIndex &, int first, int last) {
            for (int row = first; row <= last; ++row)
                m_rows.insert(row, read(row));
            inserted += last - first + 1;
        });
        connect(&model, &QAbstractListModel::rowsRemoved, this, [this](const QModelIndex &, int first, int last) {
            ASSERT_LT(last, m_rows.size());
            m_rows.remove(first, last - first + 1);
            removed += last - first + 1;
        });
        connect(&model, &QAbstractListModel::rowsMoved, this,
                [this](const QModelIndex &, int first, int last, const QModelIndex &, int before) {
                    ASSERT_EQ(first, last);
                    ASSERT_LT(first, m_rows.size());
                    m_rows.move(first, before > first ? before - 1 : before);
                    ++moved;
                });
        connect(&model, &QAbstractListModel::dataChanged, this,
                [this](const QModelIndex &first, const QModelIndex &last, const QList<int> &roles) {
                    ASSERT_EQ(first, last);
                    ASSERT_FALSE(roles.isEmpty());
                    for (const int role : roles) {
                        const QVariant value = first.data(role);
                        EXPECT_NE(m_rows[first.row()].value(role), value) << "role " << role << " hasn't changed";
                        m_rows[first.row()][role] = value;
                    }
                    changedKeys.append(m_rows[first.row()].value(m_keyRole).toString());
                    changedRoles += roles;
                });
    }

    void expectEqual() const
    {
        ASSERT_EQ(m_rows.size(), m_model.rowCount());
        for (int row = 0; row < m_model.rowCount(); ++row)
            EXPECT_EQ(m_rows[row], read(row)) << "row " << row;
    }
    void forget()
    {
        inserted = removed = moved = 0;
        changedKeys.clear();
        changedRoles.clear();
    }
    [[nodiscard]] QStringList keys() const
    {
        QStringList keys;
        for (const auto &row : m_rows)
            keys.append(row.value(m_keyRole).toString());
        return keys;
    }

    // What has been told since forget().
    int inserted { 0 };
    int removed { 0 };
    int moved { 0 };
    QStringList changedKeys;
    QList<int> changedRoles;

private:
    [[nodiscard]] QHash<int, QVariant> read(int row) const
    {
        QHash<int, QVariant> values;
        const auto roles = m_model.roleNames();
        for (auto role = roles.keyBegin(); role != roles.keyEnd(); ++role)
            values.insert(*role, m_model.index(row).data(*role));
        return values;
    }

    const QAbstractListModel &m_model;
    const int m_keyRole;
    QList<QHash<int, QVariant>> m_rows;
};

} // namespace vantry::test
