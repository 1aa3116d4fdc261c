#include "sessions/StoreFixture.h"

namespace vantry::test {

Database::Database(const QString &path)
{
    EXPECT_EQ(sqlite3_open(path.toUtf8().constData(), &m_handle), SQLITE_OK);
    // The store merges its search index after others have gone on.
    sqlite3_busy_timeout(m_handle, 10'000);
}

Database::~Database()
{
    sqlite3_close(m_handle);
}

std::vector<Database::Row> Database::run(const std::string &sql, const std::vector<std::optional<QString>> &values)
{
    sqlite3_stmt *statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(m_handle, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
        << sql << ": " << sqlite3_errmsg(m_handle);
    int index = 0;
    for (const auto &value : values) {
        ++index;
        if (!value)
            continue;
        const QByteArray utf8 = value->toUtf8();
        sqlite3_bind_text(statement, index, utf8.constData(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
    }
    std::vector<Row> rows;
    int result = SQLITE_OK;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
        Row row;
        for (int column = 0; column < sqlite3_column_count(statement); ++column) {
            const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
            const auto length = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
            row.push_back(text ? std::string(text, length) : "NULL");
        }
        rows.push_back(std::move(row));
    }
    EXPECT_EQ(result, SQLITE_DONE) << sql << ": " << sqlite3_errmsg(m_handle);
    sqlite3_finalize(statement);
    return rows;
}

void Database::script(const std::string &sql)
{
    EXPECT_EQ(sqlite3_exec(m_handle, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sql << ": " << sqlite3_errmsg(m_handle);
}

void StoreTest::open(SessionStore &store)
{
    store.queue().sync([&] { store.open(); });
}

void StoreTest::save(const VantrySession &session)
{
    m_store.queue().sync([&] { m_store.save(session); });
}

void StoreTest::saveIndexed(const QString &id, const QString &prompts)
{
    save(id);
    m_store.updateSearchIndex(id, prompts, std::nullopt, QStringLiteral("summary of ") + id);
}

QList<SessionPtr> StoreTest::loadAll(std::optional<AgentTool> filter)
{
    return m_store.queue().sync([&] { return m_store.loadAll(filter); });
}

void StoreTest::prune(std::int64_t limit)
{
    m_store.queue().sync([&] { m_store.prune(limit); });
}

QList<SessionSearchResult> StoreTest::search(const QString &text, std::int64_t limit)
{
    return m_store.queue().sync([&] { return m_store.search(text, limit); });
}

QStringList StoreTest::found(const QString &text, std::int64_t limit)
{
    return identifiers(search(text, limit));
}

QList<SessionSearchResult> StoreTest::recentSessions(std::int64_t limit)
{
    return m_store.queue().sync([&] { return m_store.recentSessions(limit); });
}

QStringList StoreTest::sessionsNeedingIndex()
{
    return m_store.queue().sync([&] { return m_store.sessionsNeedingIndex(); });
}

QSet<QString> StoreTest::indexedSessionIDs()
{
    return m_store.queue().sync([&] { return m_store.indexedSessionIDs(); });
}

void StoreTest::insertHistoricalSession(const HistoricalSession &value)
{
    m_store.queue().sync([&] { m_store.insertHistoricalSession(value); });
}

std::optional<HistoryProgress> StoreTest::insertHistoricalSessions(const std::vector<HistoricalSession> &values,
                                                                   std::chrono::nanoseconds budget)
{
    return m_store.queue().sync([&] { return m_store.insertHistoricalSessions(values, budget); });
}

bool StoreTest::hasTakenTranscript(const QString &path, const QString &stamp)
{
    return m_store.queue().sync([&] { return m_store.hasTakenTranscript(path, stamp); });
}

std::optional<std::int64_t> StoreTest::lastSearchRow()
{
    return m_store.queue().sync([&] { return m_store.lastSearchRow(); });
}

bool StoreTest::clearSearchRows(std::int64_t last, std::chrono::nanoseconds budget)
{
    return m_store.queue().sync([&] { return m_store.clearSearchRows(last, budget); });
}

SessionPtr StoreTest::makeSession(const QString &id) const
{
    VantrySession::Init init;
    init.id = id;
    init.lastUpdated = m_clock.now();
    init.startedAt = m_clock.now();
    return std::make_shared<VantrySession>(std::move(init));
}

QStringList identifiers(const QList<SessionSearchResult> &results)
{
    QStringList list;
    for (const SessionSearchResult &result : results)
        list.append(result.session->id());
    return list;
}

QStringList identifiers(const QList<SessionPtr> &sessions)
{
    QStringList list;
    for (const SessionPtr &session : sessions)
        list.append(session->id());
    return list;
}

} // namespace vantry::test
