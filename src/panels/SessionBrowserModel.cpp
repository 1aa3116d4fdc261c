#include "panels/SessionBrowserModel.h"

#include "sessions/SessionText.h"

#include <QPointer>
#include <QSet>

#include <algorithm>
#include <chrono>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds searchDebounce = 80ms;
constexpr std::int64_t resultLimit = 20;

QHash<int, QByteArray> roleNames()
{
    using Model = SessionBrowserModel;
    return { { Model::SessionIDRole, "sessionID" },
             { Model::NameRole, "name" },
             { Model::BranchRole, "branch" },
             { Model::TimeTextRole, "timeText" },
             { Model::SnippetRole, "snippet" },
             { Model::ToolSymbolRole, "toolSymbol" },
             { Model::AccessibleTextRole, "accessibleText" } };
}

/// Each session once. On the store's queue, which alone touches the records that the store makes.
QList<RememberedSession> remember(const QList<SessionSearchResult> &results)
{
    QList<RememberedSession> remembered;
    QSet<QString> seen;
    for (const SessionSearchResult &result : results) {
        if (seen.contains(result.session->id()))
            continue;
        seen.insert(result.session->id());
        remembered.append(RememberedSession::of(result));
    }
    return remembered;
}

} // namespace

struct SessionBrowserModel::Row
{
    QString id;
    QString name;
    QString branch;
    QString timeText;
    QString snippet;
    QString toolSymbol;

    [[nodiscard]] static Row of(const RememberedSession &session, Date now)
    {
        return { session.id,      session.displayName(),    session.gitBranch, timeAgoText(session.lastUpdated, now),
                 session.snippet, symbol(session.agentTool) };
    }
    [[nodiscard]] QVariant value(int role) const
    {
        switch (role) {
        case SessionIDRole:
            return id;
        case NameRole:
            return name;
        case BranchRole:
            return branch;
        case TimeTextRole:
            return timeText;
        case SnippetRole:
            return snippet;
        case ToolSymbolRole:
            return toolSymbol;
        case AccessibleTextRole: {
            QStringList parts { name, branch, snippet, timeText };
            parts.removeAll(QString());
            return parts.join(u", "_s);
        }
        default:
            return {};
        }
    }
};

SessionBrowserModel::SessionBrowserModel(const PanelServices &services, QObject *parent)
    : RowListModel(vantry::roleNames(), parent)
    , m_services(services)
    , m_generation(std::make_shared<std::atomic<quint64>>(0))
{}

SessionBrowserModel::~SessionBrowserModel()
{
    ++*m_generation;
}

int SessionBrowserModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant SessionBrowserModel::data(const QModelIndex &index, int role) const
{
    return checkIndex(index, CheckIndexOption::IndexIsValid) ? m_rows.at(index.row()).value(role) : QVariant();
}

void SessionBrowserModel::setSearchText(const QString &text)
{
    if (m_searchText == text)
        return;
    m_searchText = text;
    ++*m_generation;
    m_searchDebounce.cancel();
    setSelectionIndex(-1);
    if (text.isEmpty())
        m_searchResults.clear();
    setSearching(!text.isEmpty());
    showResults();
    if (m_isVisible && m_isSearching)
        startSearchSoon();
    Q_EMIT searchTextChanged();
}

void SessionBrowserModel::setSelectionIndex(int index)
{
    if (index < -1 || index > count())
        index = -1;
    if (std::exchange(m_selectionIndex, index) != index)
        Q_EMIT selectionIndexChanged();
}

bool SessionBrowserModel::hasNoMatch() const
{
    return !m_searchText.isEmpty() && !m_isSearching && m_rows.isEmpty();
}

void SessionBrowserModel::loadRecentSessions()
{
    SessionStoring &store = m_services.store;
    store.queue().async([&store, &mainQueue = m_services.mainQueue, self = QPointer(this)] {
        mainQueue.post([self, results = remember(store.recentSessions(resultLimit))] {
            if (!self)
                return;
            self->m_recentResults = results;
            self->showResults();
        });
    });
}

void SessionBrowserModel::setFocusSearchOnAppear(bool focus)
{
    if (std::exchange(m_focusSearchOnAppear, focus) != focus)
        Q_EMIT focusSearchOnAppearChanged();
}

void SessionBrowserModel::clear()
{
    setSearchText(QString());
    setSelectionIndex(-1);
}

void SessionBrowserModel::setVisible(bool visible)
{
    if (std::exchange(m_isVisible, visible) == visible)
        return;
    m_searchDebounce.cancel();
    if (visible && m_isSearching)
        startSearchSoon();
}

void SessionBrowserModel::moveUp()
{
    setSelectionIndex(m_selectionIndex <= 0 ? count() : m_selectionIndex - 1);
}

void SessionBrowserModel::moveDown()
{
    setSelectionIndex(m_selectionIndex >= count() ? 0 : m_selectionIndex + 1);
}

void SessionBrowserModel::openSelected()
{
    open(m_selectionIndex);
}

bool SessionBrowserModel::submit()
{
    if (m_selectionIndex < 0)
        setSelectionIndex(0);
    openSelected();
    return true;
}

void SessionBrowserModel::open(int index)
{
    if (index == 0 && onNewSession)
        onNewSession();
    if (index < 1 || index > count() || !onOpenResult)
        return;
    // A copy: what is opened may change the list.
    const RememberedSession result = (m_searchText.isEmpty() ? m_recentResults : m_searchResults).at(index - 1);
    onOpenResult(result);
}

void SessionBrowserModel::startSearchSoon()
{
    m_searchDebounce = m_services.scheduler.after(searchDebounce, [this] { search(); });
}

void SessionBrowserModel::search()
{
    SessionStoring &store = m_services.store;
    store.queue().async([&store, &mainQueue = m_services.mainQueue, self = QPointer(this), text = m_searchText,
                         generation = m_generation, asked = m_generation->load()] {
        if (generation->load() != asked)
            return;
        mainQueue.post([self, generation, asked, results = remember(store.search(text, resultLimit))] {
            if (self && generation->load() == asked)
                self->takeResults(results);
        });
    });
}

void SessionBrowserModel::takeResults(const Results &results)
{
    m_searchResults = results;
    showResults();
    setSearching(false);
}

void SessionBrowserModel::showResults()
{
    const QString selected = selectedID();
    const Date now = m_services.clock.now();
    QList<Row> rows;
    for (const RememberedSession &session : m_searchText.isEmpty() ? m_recentResults : m_searchResults)
        rows.append(Row::of(session, now));
    const bool hadNoMatch = hasNoMatch();
    replaceRows(m_rows, rows);
    // What was chosen stays chosen, wherever it stands now.
    if (m_selectionIndex > 0)
        setSelectionIndex(static_cast<int>(std::ranges::find(m_rows, selected, &Row::id) - m_rows.begin()) + 1);
    if (hasNoMatch() != hadNoMatch)
        Q_EMIT stateChanged();
}

void SessionBrowserModel::setSearching(bool searching)
{
    if (std::exchange(m_isSearching, searching) != searching)
        Q_EMIT stateChanged();
}

QString SessionBrowserModel::selectedID() const
{
    return m_selectionIndex > 0 ? m_rows.at(m_selectionIndex - 1).id : QString();
}

} // namespace vantry
