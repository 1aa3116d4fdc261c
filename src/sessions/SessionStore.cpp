#include "sessions/SessionStore.h"

#include "base/Dates.h"
#include "sessions/SearchText.h"
#include "sessions/SessionRow.h"
#include "sessions/SessionSql.h"
#include "sessions/StoreConnection.h"

#include <limits>
#include <tuple>
#include <utility>

namespace vantry {

using Step = Statement::Step;

/// A row of the search table that belongs to some session.
struct SessionStore::SearchRow
{
    std::int64_t rowid;
    std::optional<QString> summary;
};

namespace {

/// What a search row takes from the session's row.
struct Project
{
    std::optional<QString> name;
    std::optional<QString> directory;
    std::optional<QString> gitBranch;
};

/// So many rows, or for so long, nobody else gets the queue.
constexpr std::int64_t prunedAtOnce = 32;
constexpr std::chrono::milliseconds longestPruning { 2 };

/// In pages. As much as SQLite itself would let the log grow before it copies it into the database.
constexpr int longLog = 1000;
/// While somebody writes all the time, a copy is never complete and the log can't begin anew. At this length nobody
/// else gets the queue until it can.
constexpr int longestLog = 8000;

std::optional<Project> readProject(Statement &row)
{
    if (row.step() != Step::Row)
        return std::nullopt;
    return Project { row.text(0), row.text(1), row.text(2) };
}

} // namespace

SessionStore::SessionStore(QString dbPath, const Clock &clock, Log &log, Access access)
    : m_dbPath(std::move(dbPath))
    , m_clock(clock)
    , m_log(log)
    , m_access(access)
{}

SessionStore::~SessionStore() = default;

bool SessionStore::isOpen() const
{
    return m_db && m_db->isUsable();
}

void SessionStore::open()
{
    close();
    const bool writes = m_access == Access::ReadWrite;
    m_db = writes ? StoreConnection::openReadWrite(m_dbPath) : StoreConnection::openReadOnly(m_dbPath);
    if (!m_db)
        return;
    if (!m_db->isUsable()) {
        log(QStringLiteral("failed to open DB at ") + m_dbPath);
        return;
    }
    m_db->execute("PRAGMA busy_timeout = 3000");
    if (writes)
        createSchema();
}

void SessionStore::createSchema()
{
    m_db->execute("PRAGMA journal_mode = WAL");
    // A crash of the program loses nothing, and a commit doesn't wait for the disk.
    m_db->execute("PRAGMA synchronous = NORMAL");
    m_pagesCopied = 0;
    m_db->whenCommitted([this](int pages) { logHasGrown(pages); });
    if (!m_db->execute(sql::createSessions))
        logFailure(QStringLiteral("failed to create sessions table"));
    if (!m_db->execute(sql::createSearch))
        logFailure(QStringLiteral("failed to create FTS5 table"));
    m_db->execute(sql::createIndexes);
    m_db->execute(sql::createTakenTranscripts);
    m_db->leaveSearchIndexUnmerged();
}

void SessionStore::close()
{
    m_checkpoints.reset();
    m_db.reset();
}

void SessionStore::logHasGrown(int pages)
{
    if (pages < m_pagesCopied)
        m_pagesCopied = 0; // It has begun anew, all of it having been copied.
    if (pages - m_pagesCopied < longLog)
        return;
    m_pagesCopied = pages;
    if (pages >= longestLog) {
        m_queue.async([this] {
            if (m_db)
                m_db->checkpoint();
        });
        return;
    }
    // Not on the queue: on a busy disk it takes tens of milliseconds.
    if (!m_checkpoints)
        m_checkpoints.emplace("vantry.checkpoints");
    m_checkpoints->async([path = m_dbPath] { StoreConnection::openExisting(path)->checkpoint(); });
}

void SessionStore::mergeSearchIndexSoon()
{
    if (std::exchange(m_mergeQueued, true))
        return;
    m_queue.async([this] {
        m_mergeQueued = false;
        if (m_db && m_db->mergeSearchIndex())
            mergeSearchIndexSoon();
    });
}

void SessionStore::save(const VantrySession &session)
{
    if (!m_db)
        return;
    Statement save = m_db->use(sql::save);
    if (!save.isValid()) {
        logFailure(QStringLiteral("failed to prepare save query"));
        return;
    }
    bindSession(save, session);
    if (!save.run())
        logFailure(QStringLiteral("failed to save session ") + session.id());
}

QList<SessionPtr> SessionStore::loadAll(std::optional<AgentTool> filter)
{
    if (!m_db)
        return {};
    // Whole seconds on purpose: a row in the cut-off's very second compares below it, since "." sorts before "Z".
    const Date now = m_clock.now();
    const QString cutOff = QString::fromStdString(isoSeconds(now - std::chrono::hours { 24 }));
    Statement rows = m_db->use(filter ? std::string_view(sql::loadAllOfTool) : sql::loadAll);
    if (!rows.isValid()) {
        logFailure(QStringLiteral("failed to prepare loadAll query"));
        return {};
    }
    if (filter)
        rows.bind(cutOff, rawValue(*filter));
    else
        rows.bind(cutOff);

    QList<SessionPtr> sessions;
    Step step;
    while ((step = rows.step()) == Step::Row)
        sessions.append(readSession(rows, now));
    if (step == Step::Failed)
        logFailure(QStringLiteral("failed to load all sessions"));
    log(QStringLiteral("loaded %1 sessions from DB").arg(sessions.size()));
    return sessions;
}

void SessionStore::prune(std::int64_t limit)
{
    if (!m_db || !usableLimit(limit))
        return;
    // Mostly there is nothing beyond the limit. Then neither statement has anything to delete, and finding that out
    // reads one entry of an index instead of all of the search table.
    if (m_db->use(sql::sessionBeyondLimit).bind(limit).step() == Step::Done)
        return;
    // Old transcripts can bring thousands of sessions at once: others get their turn while those go.
    if (m_db->use(sql::sessionBeyondLimit).bind(limit + prunedAtOnce).step() == Step::Row && pruneSome(limit)) {
        m_queue.async([this, limit] { prune(limit); });
        return;
    }
    StoreTransaction transaction(*m_db);
    if (!transaction.isOpen())
        return;
    // Failures are of no concern: the next time tries again.
    std::ignore = m_db->use(sql::pruneSearch).bind(limit).run();
    std::ignore = m_db->use(sql::pruneSessions).bind(limit).run();
    transaction.commit();
    mergeSearchIndexSoon();
}

bool SessionStore::pruneSome(std::int64_t limit)
{
    StoreTransaction transaction(*m_db);
    if (!transaction.isOpen())
        return false;
    QStringList surplus;
    {
        Statement rows = m_db->use(sql::sessionsBeyondLimit);
        rows.bind(prunedAtOnce, limit);
        while (rows.step() == Step::Row)
            surplus.append(rows.text(0).value_or(QString()));
    }
    const MonotonicTime end = m_clock.monotonicNow() + longestPruning;
    for (const QString &id : std::as_const(surplus)) {
        if (!deleteSearchRows(id) || !m_db->use(sql::deleteSession).bind(id).run())
            return false;
        if (m_clock.monotonicNow() >= end)
            break;
    }
    if (surplus.isEmpty() || !transaction.commit())
        return false;
    mergeSearchIndexSoon();
    return true;
}

void SessionStore::updateSearchIndex(const QString &id, const std::optional<QString> &prompts,
                                     const std::optional<QString> &tools, const std::optional<QString> &summary)
{
    m_queue.sync([&] {
        if (m_db)
            replaceSearchRow(id, prompts, tools, summary);
    });
}

void SessionStore::replaceSearchRow(const QString &id, const std::optional<QString> &prompts,
                                    const std::optional<QString> &tools, const std::optional<QString> &summary)
{
    const std::optional<Project> project = readProject(m_db->use(sql::projectOfSession).bind(id));
    if (!project)
        return;
    // One transaction, so that a crash can't come between the old row and the new one.
    StoreTransaction transaction(*m_db);
    if (!transaction.isOpen() || !deleteSearchRows(id) ||
        !m_db->use(sql::insertSearchRow)
             .bind(id, project->name, project->directory, project->gitBranch, prompts, tools, summary)
             .run() ||
        !transaction.commit())
        logFailure(QStringLiteral("failed to update search index for ") + id);
    mergeSearchIndexSoon();
}

QList<SessionSearchResult> SessionStore::search(const QString &text, std::int64_t limit)
{
    if (!m_db)
        return {};
    const QString expression = matchExpression(text);
    if (expression.isEmpty())
        return {};
    if (!m_db->prepare(sql::searchMatches) || !m_db->prepare(sql::sessionOfSearchRow)) {
        logFailure(QStringLiteral("failed to prepare search query"));
        return {};
    }
    // All matches are ranked, but only those that are shown are read in full. The limit counts sessions, not matches:
    // the best ones may be of sessions that are gone.
    const std::optional<std::int64_t> rowLimit = usableLimit(limit);
    const Date now = m_clock.now();
    QList<SessionSearchResult> results;
    const auto isFull = [&] { return rowLimit && results.size() >= *rowLimit; };
    Statement matches = m_db->use(sql::searchMatches);
    matches.bind(expression);
    Step step = Step::Row;
    while (!isFull() && (step = matches.step()) == Step::Row) {
        Statement row = m_db->use(sql::sessionOfSearchRow);
        row.bind(matches.integer(0));
        while (!isFull() && (step = row.step()) == Step::Row)
            results.append({ readSession(row, now), matches.real(1), row.text(22) });
        if (step == Step::Failed)
            break;
    }
    if (step == Step::Failed)
        logFailure(QStringLiteral("failed to search"));
    return results;
}

QList<SessionSearchResult> SessionStore::recentSessions(std::int64_t limit)
{
    if (!m_db)
        return {};
    if (!m_db->prepare(sql::recentSessions) || !m_db->prepare(sql::searchRowsByScan)) {
        logFailure(QStringLiteral("failed to prepare recentSessions"));
        return {};
    }
    // Each session gives a row for each of its search rows, or one without a summary. So as many sessions as the limit
    // allows are enough.
    const std::optional<std::int64_t> rowLimit = usableLimit(limit);
    const Date now = m_clock.now();
    QList<SessionSearchResult> results;
    const auto isFull = [&] { return rowLimit && results.size() >= *rowLimit; };
    Statement sessions = m_db->use(sql::recentSessions);
    sessions.bind(rowLimit.value_or(-1));
    Step step = Step::Row;
    while (!isFull() && (step = sessions.step()) == Step::Row) {
        const std::optional<QString> id = sessions.text(0);
        std::vector<SearchRow> rows = id ? searchRows(*id) : std::vector<SearchRow> {};
        if (rows.empty())
            rows.emplace_back();
        for (auto row = rows.begin(); row != rows.end() && !isFull(); ++row)
            results.append({ readSession(sessions, now), 0, std::move(row->summary) });
    }
    if (step == Step::Failed)
        logFailure(QStringLiteral("failed to read recent sessions"));
    return results;
}

std::vector<SessionStore::SearchRow> SessionStore::searchRows(const QString &id)
{
    const auto readRows = [](Statement &rows) -> std::optional<std::vector<SearchRow>> {
        std::vector<SearchRow> found;
        Step step;
        while ((step = rows.step()) == Step::Row)
            found.push_back({ rows.integer(0), rows.text(1) });
        return step == Step::Done ? std::optional(std::move(found)) : std::nullopt;
    };
    // The search table has no index on session_id, but the identifier's words are in the full-text index.
    if (const auto expression = m_db->hasOwnSearchTable() ? identifierExpression(id) : std::nullopt) {
        if (auto found = readRows(m_db->use(sql::searchRowsByMatch).bind(*expression, id)))
            return *std::move(found);
    }
    return readRows(m_db->use(sql::searchRowsByScan).bind(id)).value_or(std::vector<SearchRow> {});
}

bool SessionStore::deleteSearchRows(const QString &id)
{
    if (!m_db->hasOwnSearchTable())
        return m_db->use(sql::deleteSearchRows).bind(id).run();
    for (const SearchRow &row : searchRows(id)) {
        if (!m_db->use(sql::deleteSearchRow).bind(row.rowid).run())
            return false;
    }
    return true;
}

QStringList SessionStore::sessionsNeedingIndex()
{
    QStringList identifiers;
    if (!m_db)
        return identifiers;
    Statement rows = m_db->use(sql::sessionsNeedingIndex);
    while (rows.step() == Step::Row) {
        if (const std::optional<QString> id = rows.text(0))
            identifiers.append(*id);
    }
    return identifiers;
}

void SessionStore::clearSearchIndex()
{
    if (!m_db)
        return;
    std::ignore = m_db->use(sql::forgetTranscripts).run();
    std::ignore = m_db->use(sql::clearSearch).run();
    mergeSearchIndexSoon();
}

std::optional<std::int64_t> SessionStore::lastSearchRow()
{
    if (!m_db)
        return std::nullopt;
    Statement last = m_db->use(sql::lastSearchRow);
    return last.step() == Step::Row ? std::optional(last.integer(0)) : std::nullopt;
}

bool SessionStore::clearSearchRows(std::int64_t last, std::chrono::nanoseconds budget)
{
    if (!m_db)
        return false;
    StoreTransaction transaction(*m_db);
    if (!transaction.isOpen())
        return false;
    const MonotonicTime end = m_clock.monotonicNow() + budget;
    std::ignore = m_db->use(sql::forgetTranscripts).run();
    const auto nextRow = [&]() -> std::optional<std::int64_t> {
        Statement first = m_db->use(sql::firstSearchRow);
        if (first.step() != Step::Row || first.integer(0) > last)
            return std::nullopt;
        return first.integer(0);
    };
    std::optional<std::int64_t> row = nextRow();
    while (row && m_db->use(sql::deleteSearchRow).bind(*row).run()) {
        row = nextRow();
        if (m_clock.monotonicNow() >= end)
            break;
    }
    if (!transaction.commit())
        return false;
    mergeSearchIndexSoon();
    return row.has_value();
}

QSet<QString> SessionStore::indexedSessionIDs()
{
    if (!m_db)
        return {};
    Statement rows = m_db->use(sql::indexedSessions);
    QSet<QString> identifiers;
    Step step;
    while ((step = rows.step()) == Step::Row) {
        if (const std::optional<QString> id = rows.text(0))
            identifiers.insert(*id);
    }
    return step == Step::Done ? identifiers : QSet<QString> {};
}

void SessionStore::insertHistoricalSession(const HistoricalSession &value)
{
    std::ignore = insertHistoricalSessions({ &value, 1 }, std::chrono::nanoseconds::zero());
}

std::optional<HistoryProgress> SessionStore::insertHistoricalSessions(std::span<const HistoricalSession> values,
                                                                      std::chrono::nanoseconds budget)
{
    if (!m_db)
        return std::nullopt;
    StoreTransaction transaction(*m_db);
    if (!transaction.isOpen())
        return std::nullopt;
    const MonotonicTime end = m_clock.monotonicNow() + budget;
    HistoryProgress progress;
    for (const HistoricalSession &value : values) {
        ++progress.taken;
        progress.added += addHistoricalSession(value) ? 1 : 0;
        if (m_clock.monotonicNow() >= end)
            break;
    }
    if (!transaction.commit())
        return std::nullopt;
    mergeSearchIndexSoon();
    return progress;
}

/// Whether a search row was added. In a transaction, so that neither row comes without the other, and none twice.
bool SessionStore::addHistoricalSession(const HistoricalSession &value)
{
    // It may have ended, and been indexed, since its transcript was read.
    if (!searchRows(value.id).empty()) {
        rememberTranscript(value);
        return false;
    }
    // First, since without it there must be no session: its search row would be made of what little that one tells.
    if (!m_db->use(sql::insertSearchRow)
             .bind(value.id, value.projectName, value.projectDir, value.gitBranch, value.prompts, value.toolHistory,
                   value.summary)
             .run())
        return false;
    rememberTranscript(value);
    if (m_db->use(sql::sessionExists).bind(value.id).step() == Step::Done) {
        // Fails where both dates are absent; the search row stays all the same.
        std::ignore = m_db->use(sql::insertHistoricalSession)
                          .bind(value.id, value.id, value.projectDir, value.projectName, value.transcriptPath,
                                value.gitBranch, value.firstTimestamp,
                                value.lastTimestamp ? value.lastTimestamp : value.firstTimestamp, value.lastTimestamp)
                          .run();
    }
    return true;
}

/// In the transaction that takes it.
void SessionStore::rememberTranscript(const HistoricalSession &value)
{
    if (!value.transcriptStamp)
        return;
    // A failure has it read once more, at most.
    std::ignore = m_db->use(sql::rememberTranscript).bind(value.transcriptPath, *value.transcriptStamp).run();
    std::ignore = m_db->use(sql::forgetOldestTranscripts).run();
}

bool SessionStore::hasTakenTranscript(const QString &path, const QString &stamp)
{
    return m_db && m_db->use(sql::takenTranscript).bind(path, stamp).step() == Step::Row;
}

std::optional<std::int64_t> SessionStore::usableLimit(std::int64_t limit)
{
    if (limit >= 0 && limit <= std::numeric_limits<std::int32_t>::max())
        return limit;
    log(QStringLiteral("ignored the limit %1, which is out of range").arg(limit));
    return std::nullopt;
}

void SessionStore::logFailure(const QString &what)
{
    log(what + QStringLiteral(": ") + m_db->message());
}

} // namespace vantry
