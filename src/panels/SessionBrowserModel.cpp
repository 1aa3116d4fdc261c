#include "panels/SessionBrowserModel.h"

#include <QPointer>
#include <QSet>

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
    Date time;
    QString timeText;
    QString snippet;
    QString toolSymbol;

    [[nodiscard]] static Row of(const RememberedSession &session, Date now)
    {
        return { session.id,
                 session.displayName(),
                 session.gitBranch,
                 session.lastUpdated,
                 timeAgoText(session.lastUpdated, now),
                 session.snippet,
                 symbol(session.agentTool) };
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
    : SearchListModel(services, vantry::roleNames(), 1, parent)
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

void SessionBrowserModel::takeSearchText()
{
    ++*m_generation;
    m_searchDebounce.cancel();
    if (searchText().isEmpty())
        m_searchResults.clear();
    setSearching(!searchText().isEmpty());
    showRows();
    if (isVisible() && m_isSearching)
        startSearchSoon();
}

bool SessionBrowserModel::hasNoMatch() const
{
    return !searchText().isEmpty() && !m_isSearching && m_rows.isEmpty();
}

void SessionBrowserModel::loadRecentSessions()
{
    SessionStoring &store = services().store;
    store.queue().async([&store, &mainQueue = services().mainQueue, self = QPointer(this)] {
        mainQueue.post([self, results = remember(store.recentSessions(resultLimit))] {
            if (!self)
                return;
            self->m_recentResults = results;
            self->showRows();
        });
    });
}

void SessionBrowserModel::setFocusSearchOnAppear(bool focus)
{
    if (std::exchange(m_focusSearchOnAppear, focus) != focus)
        Q_EMIT focusSearchOnAppearChanged();
}

void SessionBrowserModel::setVisible(bool visible)
{
    if (visible == isVisible())
        return;
    SearchListModel::setVisible(visible);
    m_searchDebounce.cancel();
    if (visible && m_isSearching)
        startSearchSoon();
}

void SessionBrowserModel::open(int index)
{
    if (index == 0 && onNewSession)
        onNewSession();
    if (index < 1 || index > count() || !onOpenResult)
        return;
    // A copy: what is opened may change the list.
    const RememberedSession result = shownResults().at(index - 1);
    onOpenResult(result);
}

void SessionBrowserModel::startSearchSoon()
{
    m_searchDebounce = services().scheduler.after(searchDebounce, [this] { search(); });
}

void SessionBrowserModel::search()
{
    SessionStoring &store = services().store;
    store.queue().async([&store, &mainQueue = services().mainQueue, self = QPointer(this), text = searchText(),
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
    showRows();
    setSearching(false);
}

void SessionBrowserModel::showRows()
{
    const Date now = services().clock.now();
    QList<Row> rows;
    for (const RememberedSession &session : shownResults())
        rows.append(Row::of(session, now));
    const bool hadNoMatch = hasNoMatch();
    replaceSearchRows(m_rows, rows);
    if (hasNoMatch() != hadNoMatch)
        Q_EMIT stateChanged();
}

void SessionBrowserModel::setSearching(bool searching)
{
    if (std::exchange(m_isSearching, searching) != searching)
        Q_EMIT stateChanged();
}

const SessionBrowserModel::Results &SessionBrowserModel::shownResults() const
{
    return searchText().isEmpty() ? m_recentResults : m_searchResults;
}

} // namespace vantry
