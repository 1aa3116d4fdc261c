#pragma once

#include "sessions/SessionStore.h"
#include "support/ManualClock.h"
#include "support/RecordingLog.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <string>
#include <vector>

namespace vantry::test {

/// A second connection to a database, by which tests look at what a store has written and prepare what it finds.
class Database
{
public:
    /// Text of each column; "NULL" stands for NULL.
    using Row = std::vector<std::string>;

    explicit Database(const QString &path);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    /// Runs the statement with these values; a failed test when that fails. An absent value is NULL.
    std::vector<Row> run(const std::string &sql, const std::vector<std::optional<QString>> &values = {});
    /// The first column of the first row.
    std::string value(const std::string &sql) { return run(sql).at(0).at(0); }
    /// Several statements in one text.
    void script(const std::string &sql);

private:
    sqlite3 *m_handle { nullptr };
};

/// A store on a fresh file in a folder of its own. The operations are wrapped in the queue as their callers do it.
class StoreTest : public ::testing::Test
{
protected:
    QTemporaryDir m_folder;
    const QString m_path { m_folder.filePath(QStringLiteral("Vantry/vantry.db")) };
    ManualClock m_clock;
    RecordingLog m_log;
    SessionStore m_store { m_path, m_clock, m_log };

    void open(SessionStore &store);
    void open() { open(m_store); }
    void save(const VantrySession &session);
    void save(const QString &id) { save(*makeSession(id)); }
    /// A saved session with a search row of these words.
    void saveIndexed(const QString &id, const QString &prompts);
    [[nodiscard]] QList<SessionPtr> loadAll(std::optional<AgentTool> filter = {});
    void prune(std::int64_t limit);
    [[nodiscard]] QList<SessionSearchResult> search(const QString &text, std::int64_t limit = 20);
    [[nodiscard]] QStringList found(const QString &text, std::int64_t limit = 20);
    [[nodiscard]] QList<SessionSearchResult> recentSessions(std::int64_t limit = 20);
    [[nodiscard]] QStringList sessionsNeedingIndex();
    [[nodiscard]] QSet<QString> indexedSessionIDs();
    void insertHistoricalSession(const HistoricalSession &value);
    [[nodiscard]] std::optional<HistoryProgress> insertHistoricalSessions(const std::vector<HistoricalSession> &values,
                                                                          std::chrono::nanoseconds budget);
    [[nodiscard]] bool hasTakenTranscript(const QString &path, const QString &stamp);
    [[nodiscard]] std::optional<std::int64_t> lastSearchRow();
    [[nodiscard]] bool clearSearchRows(std::int64_t last, std::chrono::nanoseconds budget);

    /// Started and updated now.
    [[nodiscard]] SessionPtr makeSession(const QString &id) const;
    [[nodiscard]] Date ago(std::chrono::milliseconds span) const { return m_clock.now() - span; }
};

[[nodiscard]] QStringList identifiers(const QList<SessionSearchResult> &results);
[[nodiscard]] QStringList identifiers(const QList<SessionPtr> &sessions);

} // namespace vantry::test
