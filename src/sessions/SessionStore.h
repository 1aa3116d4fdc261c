#pragma once

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "base/SerialQueue.h"
#include "sessions/AgentTool.h"
#include "sessions/VantrySession.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace vantry {

class StoreConnection;

/// A remembered session that was found by a search, or one of the most recent ones.
struct SessionSearchResult
{
    SessionPtr session;             ///< Made from the row; never the live record.
    double rank { 0 };              ///< bm25, lower is better; 0 for recent sessions.
    std::optional<QString> snippet; ///< The search row's summary, whole.
};

/// A session read from an old transcript, for the import of the history.
struct HistoricalSession
{
    QString id;
    QString projectDir;
    QString projectName;
    std::optional<QString> gitBranch;
    QString prompts;
    QString toolHistory;
    QString summary;
    std::optional<QString> firstTimestamp; ///< Both in the store's date form.
    std::optional<QString> lastTimestamp;
    QString transcriptPath;
    /// Tells the state of the transcript's file from others, if it is to be remembered as taken.
    std::optional<QString> transcriptStamp {};
};

/// What one go at a list of historical sessions has come to.
struct HistoryProgress
{
    std::size_t taken { 0 }; ///< How many values from the front are done with.
    std::size_t added { 0 }; ///< How many of them have got a search row.

    friend bool operator==(const HistoryProgress &, const HistoryProgress &) = default;
};

/// The memory of sessions, as SessionManager holds it. Every operation but updateSearchIndex() expects to run on
/// queue(): callers wrap it in queue().sync() and wait. None throws; each failure is one log line and an empty result.
class SessionStoring
{
public:
    virtual ~SessionStoring() = default;

    [[nodiscard]] virtual SerialQueue &queue() = 0;

    virtual void open() = 0;
    virtual void close() = 0;
    virtual void save(const VantrySession &session) = 0;
    /// The rows of the last 24 hours, newest first.
    [[nodiscard]] virtual QList<SessionPtr> loadAll(std::optional<AgentTool> filter) = 0;
    /// Keeps the newest `limit` rows and their search rows. Many surplus rows go in pieces, each a task of its own, the
    /// first one now.
    virtual void prune(std::int64_t limit) = 0;

    /// Puts itself on the queue and waits.
    virtual void updateSearchIndex(const QString &id, const std::optional<QString> &prompts,
                                   const std::optional<QString> &tools, const std::optional<QString> &summary) = 0;
    [[nodiscard]] virtual QList<SessionSearchResult> search(const QString &text, std::int64_t limit) = 0;
    [[nodiscard]] virtual QList<SessionSearchResult> recentSessions(std::int64_t limit) = 0;
    /// Ended sessions without a search row.
    [[nodiscard]] virtual QStringList sessionsNeedingIndex() = 0;
    virtual void clearSearchIndex() = 0;
    [[nodiscard]] virtual QSet<QString> indexedSessionIDs() = 0;
    /// A session that has a row, or a search row, keeps it.
    virtual void insertHistoricalSession(const HistoricalSession &value) = 0;
    /// Whether a historical session with this path and stamp has come since the index was last cleared. It may have
    /// been pruned since.
    [[nodiscard]] virtual bool hasTakenTranscript(const QString &path, const QString &stamp) = 0;

    // The same in pieces, so that a large piece of work lets others onto the queue. Each call is one transaction; it
    // does at least one row and begins no other once the budget is used up.

    /// The last search row's number; nothing when there is none.
    [[nodiscard]] virtual std::optional<std::int64_t> lastSearchRow() = 0;
    /// Deletes search rows up to this number, and forgets what transcripts were taken. Whether some of them are left;
    /// no when they can't be deleted.
    [[nodiscard]] virtual bool clearSearchRows(std::int64_t last, std::chrono::nanoseconds budget) = 0;
    /// Takes values from the front; one that can't be written is passed over. Nothing when the store is closed or
    /// no transaction is to be had.
    [[nodiscard]] virtual std::optional<HistoryProgress>
    insertHistoricalSessions(std::span<const HistoricalSession> values, std::chrono::nanoseconds budget) = 0;
};

/// The sessions in one SQLite file. Owns the connection and the queue "com.vantry.sessionstore", which alone touches
/// it. A database that is broken, locked, read-only or foreign never stops the program. A limit that is negative or
/// beyond 32 bits counts as none, with a line in the log.
class SessionStore final : public SessionStoring
{
public:
    enum class Access { ReadWrite, ReadOnly };

    /// The folder of `dbPath` is made when it is missing. ReadOnly is for the command line, beside a running program:
    /// nothing is created or changed, and a database that doesn't exist is an empty one.
    SessionStore(QString dbPath, const Clock &clock, Log &log, Access access = Access::ReadWrite);
    ~SessionStore() override;

    [[nodiscard]] SerialQueue &queue() override { return m_queue; }
    [[nodiscard]] const QString &dbPath() const { return m_dbPath; }
    /// Whether the last open() gave a connection. On the queue.
    [[nodiscard]] bool isOpen() const;

    void open() override;
    void close() override;
    void save(const VantrySession &session) override;
    [[nodiscard]] QList<SessionPtr> loadAll(std::optional<AgentTool> filter) override;
    void prune(std::int64_t limit) override;
    void updateSearchIndex(const QString &id, const std::optional<QString> &prompts,
                           const std::optional<QString> &tools, const std::optional<QString> &summary) override;
    [[nodiscard]] QList<SessionSearchResult> search(const QString &text, std::int64_t limit) override;
    [[nodiscard]] QList<SessionSearchResult> recentSessions(std::int64_t limit) override;
    [[nodiscard]] QStringList sessionsNeedingIndex() override;
    void clearSearchIndex() override;
    [[nodiscard]] QSet<QString> indexedSessionIDs() override;
    void insertHistoricalSession(const HistoricalSession &value) override;
    [[nodiscard]] bool hasTakenTranscript(const QString &path, const QString &stamp) override;
    [[nodiscard]] std::optional<std::int64_t> lastSearchRow() override;
    [[nodiscard]] bool clearSearchRows(std::int64_t last, std::chrono::nanoseconds budget) override;
    [[nodiscard]] std::optional<HistoryProgress> insertHistoricalSessions(std::span<const HistoricalSession> values,
                                                                          std::chrono::nanoseconds budget) override;

private:
    struct SearchRow;

    void createSchema();
    void logHasGrown(int pages);
    void mergeSearchIndexSoon();
    /// Deletes some of the sessions beyond the limit. False when it could not.
    [[nodiscard]] bool pruneSome(std::int64_t limit);
    [[nodiscard]] bool addHistoricalSession(const HistoricalSession &value);
    void rememberTranscript(const HistoricalSession &value);
    void replaceSearchRow(const QString &id, const std::optional<QString> &prompts, const std::optional<QString> &tools,
                          const std::optional<QString> &summary);
    [[nodiscard]] std::vector<SearchRow> searchRows(const QString &id);
    [[nodiscard]] bool deleteSearchRows(const QString &id);
    [[nodiscard]] std::optional<std::int64_t> usableLimit(std::int64_t limit);
    void log(const QString &message) { m_log.write(QStringLiteral("SessionStore: ") + message); }
    void logFailure(const QString &what);

    const QString m_dbPath;
    const Clock &m_clock;
    Log &m_log;
    const Access m_access;
    std::unique_ptr<StoreConnection> m_db;
    int m_pagesCopied { 0 };                  ///< Of the log, or about to be.
    std::optional<SerialQueue> m_checkpoints; ///< Made with the first one, which waits for the disk.
    bool m_mergeQueued { false };
    SerialQueue m_queue { "com.vantry.sessionstore" }; ///< Last: its tasks use all of the above.
};

} // namespace vantry
