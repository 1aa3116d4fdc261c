#include "sessions/StoreConnection.h"

#include "base/Paths.h"
#include "sessions/SessionSql.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantry {
namespace {

/// Makes the file, for the user alone, before SQLite would make it as the user's mask has it; the files that SQLite
/// puts beside it get its mode. The file is not opened where it exists: closing it would give up the locks that this
/// process has on it. What fails here shows when SQLite opens the file.
void makePrivateFile(const QString &path)
{
    const QString folder = QFileInfo(path).absolutePath();
    if (!QFileInfo::exists(folder))
        makePrivateFolder(folder);
    const int descriptor =
        open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor >= 0) {
        close(descriptor);
        return;
    }
    for (const char *suffix : { "", "-wal", "-shm" }) {
        const QByteArray name = QFile::encodeName(path) + suffix;
        struct stat status
        {};
        if (stat(name.constData(), &status) == 0 && S_ISREG(status.st_mode) && (status.st_mode & 077) != 0)
            chmod(name.constData(), S_IRUSR | S_IWUSR);
    }
}

bool exists(const QString &path)
{
    struct stat status
    {};
    return stat(QFile::encodeName(path).constData(), &status) == 0;
}

} // namespace

StoreConnection::StoreConnection(const char *nameOrUri, int flags)
    : m_usable(sqlite3_open_v2(nameOrUri, &m_handle, flags, nullptr) == SQLITE_OK)
{}

std::unique_ptr<StoreConnection> StoreConnection::openReadWrite(const QString &path)
{
    makePrivateFile(path);
    return std::unique_ptr<StoreConnection>(
        new StoreConnection(QFile::encodeName(path).constData(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE));
}

std::unique_ptr<StoreConnection> StoreConnection::openReadOnly(const QString &path)
{
    if (!exists(path))
        return nullptr;
    // A log beside the database means that somebody writes, or was killed while writing: then SQLite's locks and shared
    // memory are needed, and those files are there. With none the file is whole by itself, and opened as one that
    // nobody changes it needs no files beside it, which would be left lying there and can't be made everywhere.
    if (exists(path + QStringLiteral("-wal")) || exists(path + QStringLiteral("-journal"))) {
        return std::unique_ptr<StoreConnection>(
            new StoreConnection(QFile::encodeName(path).constData(), SQLITE_OPEN_READONLY));
    }
    const QUrl url = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    const QByteArray uri = url.toEncoded(QUrl::FullyEncoded) + "?immutable=1";
    return std::unique_ptr<StoreConnection>(
        new StoreConnection(uri.constData(), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI));
}

std::unique_ptr<StoreConnection> StoreConnection::openExisting(const QString &path)
{
    return std::unique_ptr<StoreConnection>(
        new StoreConnection(QFile::encodeName(path).constData(), SQLITE_OPEN_READWRITE));
}

StoreConnection::~StoreConnection()
{
    m_statements.clear();
    sqlite3_close(m_handle);
}

QString StoreConnection::message() const
{
    const char *text = m_handle ? sqlite3_errmsg(m_handle) : nullptr;
    return text ? QString::fromUtf8(text) : QStringLiteral("unknown error");
}

bool StoreConnection::execute(const char *sql)
{
    return sqlite3_exec(m_handle, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

sqlite3_stmt *StoreConnection::prepared(std::string_view sql)
{
    if (const auto found = m_statements.find(sql); found != m_statements.end())
        return found->second.get();
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v3(m_handle, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement,
                           nullptr) != SQLITE_OK)
        return nullptr;
    return m_statements.emplace(sql, PreparedStatement(statement)).first->second.get();
}

bool StoreConnection::hasOwnSearchTable()
{
    if (m_hasOwnSearchTable)
        return *m_hasOwnSearchTable;
    Statement source = use(sql::searchTableSource);
    if (source.step() != Statement::Step::Row)
        return false;
    QString own = QString::fromLatin1(sql::createSearch);
    own.remove(QStringLiteral("IF NOT EXISTS "));
    m_hasOwnSearchTable = source.text(0) == own;
    return *m_hasOwnSearchTable;
}

void StoreConnection::whenCommitted(std::function<void(int)> function)
{
    m_whenCommitted = std::move(function);
    const auto committed = [](void *self, sqlite3 *, const char *, int pages) {
        static_cast<StoreConnection *>(self)->m_whenCommitted(pages);
        return SQLITE_OK;
    };
    sqlite3_wal_hook(m_handle, committed, this);
}

void StoreConnection::checkpoint()
{
    // The statement, unlike the function, reads the database first: a new connection doesn't know of the log before.
    execute("PRAGMA wal_checkpoint(PASSIVE)");
}

void StoreConnection::leaveSearchIndexUnmerged()
{
    if (use(sql::searchMergesByItself).step() == Statement::Step::Row)
        execute(sql::leaveSearchUnmerged);
}

bool StoreConnection::mergeSearchIndex()
{
    // One change is counted for the statement itself.
    const int before = sqlite3_total_changes(m_handle);
    return use(sql::mergeSearchIndex).run() && sqlite3_total_changes(m_handle) - before >= 2;
}

StoreTransaction::~StoreTransaction()
{
    // Some failures have rolled it back already; then this one fails and does nothing.
    if (m_open)
        m_connection.execute("ROLLBACK");
}

bool StoreTransaction::commit()
{
    m_open = !m_connection.execute("COMMIT");
    return !m_open;
}

} // namespace vantry
