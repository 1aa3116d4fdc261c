#pragma once

#include "sessions/Statement.h"

#include <QString>

#include <sqlite3.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string_view>

namespace vantry {

/// One SQLite connection with the statements that were prepared on it, which are kept for its whole life. Owns both.
/// One thread at a time.
class StoreConnection
{
public:
    /// Makes the file with its folder when they are missing, for the user alone. A connection that can't be opened is
    /// one on which every statement fails.
    [[nodiscard]] static std::unique_ptr<StoreConnection> openReadWrite(const QString &path);
    /// Creates and changes nothing. Null when there is no such file.
    [[nodiscard]] static std::unique_ptr<StoreConnection> openReadOnly(const QString &path);
    /// Makes no file. As above, a connection that can't be opened fails later.
    [[nodiscard]] static std::unique_ptr<StoreConnection> openExisting(const QString &path);
    ~StoreConnection();
    StoreConnection(const StoreConnection &) = delete;
    StoreConnection &operator=(const StoreConnection &) = delete;

    [[nodiscard]] bool isUsable() const { return m_usable; }
    /// What SQLite says of the last failure.
    [[nodiscard]] QString message() const;

    /// Runs statements that give no rows. False when one failed.
    bool execute(const char *sql);
    /// Prepares the statement unless it is prepared already. False when it can't be; asked again, it is tried again.
    [[nodiscard]] bool prepare(std::string_view sql) { return prepared(sql) != nullptr; }
    /// A use of the statement, not valid when it can't be prepared. At most one use of a statement at a time.
    [[nodiscard]] Statement use(std::string_view sql) { return Statement(prepared(sql)); }

    /// Whether the search table is the one that createSearch makes, word for word. Another may leave words out of its
    /// index.
    [[nodiscard]] bool hasOwnSearchTable();

    /// Copying the log into the database waits for the disk, so commits don't do it after this: the function is called
    /// on each one, with the pages that the log has now.
    void whenCommitted(std::function<void(int pages)> function);
    /// Copies what others don't need in the log. They may go on writing meanwhile, on other connections.
    void checkpoint();

    /// The search index is kept in segments, which a search has to look through one by one. Merging them takes long,
    /// so commits don't do it after this; mergeSearchIndex() is to be called after changes of the index. On a search
    /// table of another make neither does anything.
    void leaveSearchIndexUnmerged();
    /// Merges for some milliseconds at most. Whether there may be more to do.
    [[nodiscard]] bool mergeSearchIndex();

private:
    explicit StoreConnection(const char *nameOrUri, int flags);
    [[nodiscard]] sqlite3_stmt *prepared(std::string_view sql);

    sqlite3 *m_handle { nullptr };
    bool m_usable { false };
    std::optional<bool> m_hasOwnSearchTable;
    std::function<void(int)> m_whenCommitted;
    std::map<std::string_view, PreparedStatement> m_statements; ///< The texts are literals.
};

/// A write transaction; what was not committed is rolled back at the end of its life, so none is left open.
class StoreTransaction
{
public:
    explicit StoreTransaction(StoreConnection &connection)
        : m_connection(connection)
        , m_open(connection.execute("BEGIN IMMEDIATE"))
    {}
    ~StoreTransaction();
    StoreTransaction(const StoreTransaction &) = delete;
    StoreTransaction &operator=(const StoreTransaction &) = delete;

    /// False when it couldn't be begun: another process has been writing all the time that one waits.
    [[nodiscard]] bool isOpen() const { return m_open; }
    bool commit();

private:
    StoreConnection &m_connection;
    bool m_open;
};

} // namespace vantry
