#pragma once

#include "base/Clock.h"
#include "base/Scheduler.h"
#include "panels/PanelServices.h"
#include "panels/RowListModel.h"
#include "sessions/SessionText.h"

#include <QtQml/qqmlregistration.h>

#include <algorithm>
#include <chrono>

namespace vantry {

/// A list that a text narrows down and from which a row is chosen by keyboard, with times such as "5m ago" that stay
/// right while it is visible; while it isn't, no timer of it runs. Main thread only.
class SearchListModel : public vantry::RowListModel
{
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(int selectionIndex READ selectionIndex WRITE setSelectionIndex NOTIFY selectionIndexChanged)

public:
    [[nodiscard]] const QString &searchText() const { return m_searchText; }
    void setSearchText(const QString &text);
    /// What is chosen by keyboard: -1 none; from 0 the fixed rows above the list, then those of the list.
    [[nodiscard]] int selectionIndex() const { return m_selectionIndex; }
    /// An index that no row has chooses none.
    void setSelectionIndex(int index);
    /// Empties the search field; nothing is chosen.
    void clear();
    virtual void setVisible(bool visible);

    Q_INVOKABLE void moveUp();
    Q_INVOKABLE void moveDown();
    /// Return in the list: opens what is chosen.
    Q_INVOKABLE void openSelected();
    /// Return in the search field: with nothing chosen, chooses the first row; then opens it. Always true.
    bool submit() override;
    /// Counted as in selectionIndex; an index past the end does nothing.
    Q_INVOKABLE virtual void open(int index) = 0;

Q_SIGNALS:
    void searchTextChanged();
    void selectionIndexChanged();

protected:
    SearchListModel(const PanelServices &services, QHash<int, QByteArray> roleNames, int rowsAbove, QObject *parent);

    [[nodiscard]] const PanelServices &services() const { return m_services; }
    [[nodiscard]] bool isVisible() const { return m_isVisible; }

    /// The text is another.
    virtual void takeSearchText() = 0;
    /// Shows what belongs to the text, as of now.
    virtual void showRows() = 0;

    /// As replaceRows; results of a search take the places of those of before. What was chosen stays chosen, wherever
    /// it stands now. Rows have `Date time`, too, of which they show how long ago it was.
    template <typename Row>
    void replaceSearchRows(QList<Row> &rows, const QList<Row> &target);

private:
    void showAgainAfter(std::chrono::nanoseconds rest);

    const PanelServices m_services;
    const int m_rowsAbove;
    QString m_searchText;
    QString m_rowsText; ///< The search's text when rows were shown last.
    int m_selectionIndex { -1 };
    bool m_isVisible { false };
    ScheduledTimer m_timeTimer; ///< Until a time is to be shown anew.
};

template <typename Row>
void SearchListModel::replaceSearchRows(QList<Row> &rows, const QList<Row> &target)
{
    const int chosen = m_selectionIndex - m_rowsAbove;
    const QString chosenID = chosen >= 0 ? rows.at(chosen).id : QString();
    if (m_searchText.isEmpty() && m_rowsText.isEmpty())
        replaceRows(rows, target);
    else
        overwriteRows(rows, target);
    m_rowsText = m_searchText;
    if (chosen >= 0)
        setSelectionIndex(static_cast<int>(std::ranges::find(rows, chosenID, &Row::id) - rows.begin()) + m_rowsAbove);

    const Date now = m_services.clock.now();
    std::chrono::nanoseconds rest = longestRest;
    for (const Row &row : target)
        rest = std::min(rest, timeAgoTextLasts(row.time, now));
    m_timeTimer.cancel();
    if (m_isVisible && !target.isEmpty())
        showAgainAfter(rest);
}

} // namespace vantry
