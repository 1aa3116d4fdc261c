#include "panels/SearchListModel.h"

#include <utility>

namespace vantry {

SearchListModel::SearchListModel(const PanelServices &services, QHash<int, QByteArray> roleNames, int rowsAbove,
                                 QObject *parent)
    : RowListModel(std::move(roleNames), parent)
    , m_services(services)
    , m_rowsAbove(rowsAbove)
{}

void SearchListModel::setSearchText(const QString &text)
{
    if (m_searchText == text)
        return;
    m_searchText = text;
    setSelectionIndex(-1);
    takeSearchText();
    Q_EMIT searchTextChanged();
}

void SearchListModel::setSelectionIndex(int index)
{
    if (index < -1 || index >= m_rowsAbove + count())
        index = -1;
    if (std::exchange(m_selectionIndex, index) != index)
        Q_EMIT selectionIndexChanged();
}

void SearchListModel::clear()
{
    setSearchText(QString());
    setSelectionIndex(-1);
}

void SearchListModel::setVisible(bool visible)
{
    if (std::exchange(m_isVisible, visible) == visible)
        return;
    showRows();
}

void SearchListModel::moveUp()
{
    setSelectionIndex((m_selectionIndex <= 0 ? m_rowsAbove + count() : m_selectionIndex) - 1);
}

void SearchListModel::moveDown()
{
    setSelectionIndex(m_selectionIndex >= m_rowsAbove + count() - 1 ? 0 : m_selectionIndex + 1);
}

void SearchListModel::openSelected()
{
    open(m_selectionIndex);
}

bool SearchListModel::submit()
{
    if (m_selectionIndex < 0)
        setSelectionIndex(0);
    openSelected();
    return true;
}

void SearchListModel::showAgainAfter(std::chrono::nanoseconds rest)
{
    m_timeTimer =
        m_services.scheduler.after(std::chrono::ceil<std::chrono::milliseconds>(rest), [this] { showRows(); });
}

} // namespace vantry
