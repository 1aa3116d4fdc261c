#include "StoreFixture.h"
#include "support/FaultyVfs.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

#include <string>
#include <tuple>
#include <vector>

namespace vantry::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

using SessionStoreFaults = StoreTest;

/// What a caller may do with a store, in any state of it.
void useEverything(vantry::SessionStore &store, const VantrySession &session)
{
    store.queue().sync([&] {
        store.save(session);
        (void)store.loadAll({});
        (void)store.search(QStringLiteral("word"), 20);
        (void)store.recentSessions(20);
        (void)store.sessionsNeedingIndex();
        (void)store.indexedSessionIDs();
        store.prune(1000);
        HistoricalSession value;
        value.id = QStringLiteral("h");
        value.lastTimestamp = QStringLiteral("2026-01-01T10:00:00.000Z");
        store.insertHistoricalSession(value);
    });
    store.updateSearchIndex(session.id(), QStringLiteral("word"), std::nullopt, std::nullopt);
}

// ---- A file layer that fails ----

using Store = vantry::SessionStore;

struct Operation
{
    std::string name;
    void (*run)(Store &store, const VantrySession &session);
};

void openIt(Store &store, const VantrySession &)
{
    store.queue().sync([&] { store.open(); });
}

void saveIt(Store &store, const VantrySession &session)
{
    store.queue().sync([&] { store.save(session); });
}

void loadIt(Store &store, const VantrySession &)
{
    (void)store.queue().sync([&] { return store.loadAll({}); });
}

void indexIt(Store &store, const VantrySession &session)
{
    store.updateSearchIndex(session.id(), QStringLiteral("kept word again"), std::nullopt, std::nullopt);
}

void searchIt(Store &store, const VantrySession &)
{
    (void)store.queue().sync([&] { return store.search(QStringLiteral("word"), 20); });
}

void listIt(Store &store, const VantrySession &)
{
    (void)store.queue().sync([&] { return store.recentSessions(20); });
}

void pruneIt(Store &store, const VantrySession &)
{
    HistoricalSession oldest;
    oldest.id = QStringLiteral("oldest");
    oldest.firstTimestamp = QStringLiteral("2000-01-01T10:00:00.000Z");
    store.queue().sync([&] {
        store.insertHistoricalSession(oldest);
        store.prune(2);
    });
}

const std::vector<Operation> operations { { "open", openIt },   { "save", saveIt },     { "loadAll", loadIt },
                                          { "index", indexIt }, { "search", searchIt }, { "recent", listIt },
                                          { "prune", pruneIt } };

using FaultCase = std::tuple<Operation, FaultyVfs::Mode>;

std::string nameOf(const ::testing::TestParamInfo<FaultCase> &parameters)
{
    const auto &[operation, mode] = parameters.param;
    return operation.name + (mode == FaultyVfs::Mode::Once ? "FailingOnce" : "FailingFromThenOn");
}

class FailingFiles : public StoreTest, public ::testing::WithParamInterface<FaultCase>
{};

/// Lets each call of the operation fail in its turn, until there are no more.
TEST_P(FailingFiles, loseNothingThatWasStored)
{
    const auto &[operation, mode] = GetParam();
    open();
    saveIndexed(QStringLiteral("stored"), QStringLiteral("kept word"));
    saveIndexed(QStringLiteral("other"), QStringLiteral("other word"));
    const SessionPtr session = makeSession(QStringLiteral("stored"));
    session->setLastPrompt(QStringLiteral("changed"));
    m_store.queue().sync([this] { m_store.close(); });

    bool failed = true;
    for (int call = 1; failed; ++call) {
        SCOPED_TRACE(call);
        ASSERT_LT(call, 10'000);
        FaultyVfs files;
        vantry::SessionStore store(m_path, m_clock, m_log);
        if (operation.name != "open")
            open(store);
        files.failAt(call, mode);
        operation.run(store, *session);
        // What the operation has left to do on the queue's own thread.
        store.queue().sync([] {});
        failed = files.heal();
        // The same connection goes on once the files do.
        store.queue().sync([&] { store.save(*session); });
        store.queue().sync([&] { store.close(); });

        Database database(m_path);
        ASSERT_EQ(database.value("PRAGMA integrity_check"), "ok");
        ASSERT_NO_FATAL_FAILURE(
            database.script("INSERT INTO session_search(session_search) VALUES('integrity-check')"));
        ASSERT_THAT(database.run("SELECT id FROM sessions WHERE id IN ('stored', 'other') ORDER BY 1"),
                    ElementsAre(ElementsAre("other"), ElementsAre("stored")));
        ASSERT_THAT(database.run("SELECT session_id FROM session_search"), Contains(ElementsAre("stored")).Times(1))
            << "neither lost nor doubled";
    }
}

INSTANTIATE_TEST_SUITE_P(All, FailingFiles,
                         ::testing::Combine(::testing::ValuesIn(operations),
                                            ::testing::Values(FaultyVfs::Mode::Once, FaultyVfs::Mode::FromThenOn)),
                         nameOf);

TEST_F(SessionStoreFaults, logASaveForWhichTheDiskIsFull)
{
    open();
    m_store.queue().sync([this] { m_store.close(); });
    FaultyVfs files;
    open();
    files.failAt(1, FaultyVfs::Mode::FromThenOn);

    save(QStringLiteral("a"));

    ASSERT_TRUE(files.heal());
    EXPECT_THAT(m_log.lines().value(0).toStdString(), StartsWith("SessionStore: failed to save session a: "));
    EXPECT_EQ(m_log.lines().size(), 1);
    m_store.queue().sync([this] { m_store.close(); });
}

// ---- What lies where the database should be ----

TEST_F(SessionStoreFaults, logAFolderThatCannotBeMade)
{
    QFile file(m_folder.filePath(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const QString path = file.fileName() + QStringLiteral("/vantry.db");
    vantry::SessionStore store(path, m_clock, m_log);

    open(store);

    EXPECT_FALSE(store.queue().sync([&] { return store.isOpen(); }));
    EXPECT_THAT(store.queue().sync([&] { return store.loadAll({}); }), IsEmpty());
    EXPECT_THAT(m_log.lines(),
                ElementsAre(QStringLiteral("SessionStore: failed to open DB at ") + path,
                            QStringLiteral("SessionStore: failed to prepare loadAll query: unable to open database"
                                           " file")));
    useEverything(store, *makeSession(QStringLiteral("a")));
}

TEST_F(SessionStoreFaults, logADirectoryInTheDatabasesPlace)
{
    ASSERT_TRUE(QDir().mkpath(m_path));

    open();

    EXPECT_THAT(m_log.lines(), ElementsAre(QStringLiteral("SessionStore: failed to open DB at ") + m_path));
    useEverything(m_store, *makeSession(QStringLiteral("a")));
}

TEST_F(SessionStoreFaults, doNotWaitForAFifoInTheDatabasesPlace)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(m_path).path()));
    ASSERT_EQ(mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);

    open();

    EXPECT_THAT(m_log.lines(), ElementsAre(QStringLiteral("SessionStore: failed to open DB at ") + m_path));
    useEverything(m_store, *makeSession(QStringLiteral("a")));
}

TEST_F(SessionStoreFaults, leaveAFileThatIsNoDatabaseAsItIs)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(m_path).path()));
    const QByteArray letter = QByteArray("Dear diary, this is no database. ").repeated(1000);
    QFile file(m_path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(letter);
    file.close();

    open();
    useEverything(m_store, *makeSession(QStringLiteral("a")));
    m_store.queue().sync([this] { m_store.close(); });

    const QStringList lines = m_log.lines();
    EXPECT_THAT(lines,
                Contains(QStringLiteral("SessionStore: failed to create sessions table: file is not a database")));
    EXPECT_THAT(lines, Contains(QStringLiteral("SessionStore: failed to create FTS5 table: file is not a database")));
    EXPECT_THAT(lines, Contains(QStringLiteral("SessionStore: failed to prepare save query: file is not a database")));
    EXPECT_THAT(lines,
                Contains(QStringLiteral("SessionStore: failed to prepare search query: file is not a database")));
    EXPECT_THAT(lines,
                Contains(QStringLiteral("SessionStore: failed to prepare recentSessions: file is not a database")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), letter);
}

TEST_F(SessionStoreFaults, surviveADatabaseCutShortAtAnyPlace)
{
    open();
    for (int i = 0; i < 50; ++i)
        saveIndexed(QStringLiteral("s%1").arg(i), QStringLiteral("word ").repeated(200));
    m_store.queue().sync([this] { m_store.close(); });
    QFile whole(m_path);
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QByteArray bytes = whole.readAll();
    whole.close();

    for (qsizetype size = 0; size < bytes.size(); size += 1 + bytes.size() / 40) {
        SCOPED_TRACE(size);
        ASSERT_TRUE(whole.open(QIODevice::WriteOnly | QIODevice::Truncate));
        whole.write(bytes.first(size));
        whole.close();
        vantry::SessionStore store(m_path, m_clock, m_log);
        open(store);
        useEverything(store, *makeSession(QStringLiteral("a")));
        store.queue().sync([&] { store.close(); });
        QFile::remove(m_path + QStringLiteral("-wal"));
        QFile::remove(m_path + QStringLiteral("-shm"));
    }
}

TEST_F(SessionStoreFaults, surviveADatabaseWithPagesOverwritten)
{
    open();
    for (int i = 0; i < 50; ++i)
        saveIndexed(QStringLiteral("s%1").arg(i), QStringLiteral("word ").repeated(200));
    m_store.queue().sync([this] { m_store.close(); });
    QFile whole(m_path);
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QByteArray bytes = whole.readAll();
    whole.close();
    constexpr qsizetype page = 4096;

    for (qsizetype start = page; start < bytes.size(); start += page) {
        SCOPED_TRACE(start / page);
        ASSERT_TRUE(whole.open(QIODevice::WriteOnly | QIODevice::Truncate));
        whole.write(QByteArray(bytes).replace(start, page, QByteArray(page, '\x5a')));
        whole.close();
        vantry::SessionStore store(m_path, m_clock, m_log);
        open(store);
        useEverything(store, *makeSession(QStringLiteral("a")));
        store.queue().sync([&] { store.close(); });
    }
}

TEST_F(SessionStoreFaults, logEachUseOfTablesOfAnotherShape)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(m_path).path()));
    Database(m_path).script("CREATE TABLE sessions (id TEXT, updated_at TEXT);"
                            "CREATE TABLE session_search (session_id TEXT, words TEXT)");
    open();
    useEverything(m_store, *makeSession(QStringLiteral("a")));

    EXPECT_THAT(
        m_log.lines(),
        ElementsAre(QStringLiteral("SessionStore: failed to prepare save query: table sessions has no column named"
                                   " session_id"),
                    QStringLiteral("SessionStore: failed to prepare loadAll query: no such column: s.session_id"),
                    QStringLiteral("SessionStore: failed to prepare search query: no such column: session_search"),
                    QStringLiteral("SessionStore: failed to prepare recentSessions: no such column: s.session_id")));
}

TEST_F(SessionStoreFaults, goOnWithoutASearchTable)
{
    open();
    Database(m_path).script("DROP TABLE session_search");
    const SessionPtr session = makeSession(QStringLiteral("a"));

    useEverything(m_store, *session);

    EXPECT_THAT(identifiers(loadAll()), ElementsAre(QStringLiteral("a")));
    EXPECT_TRUE(
        m_log.contains(QStringLiteral("SessionStore: failed to prepare search query: no such table: session_search")));
    EXPECT_TRUE(m_log.contains(
        QStringLiteral("SessionStore: failed to prepare recentSessions: no such table: session_search")));
    EXPECT_TRUE(m_log.contains(
        QStringLiteral("SessionStore: failed to update search index for a: no such table: session_search")));
}

TEST_F(SessionStoreFaults, logASearchIndexThatIsBroken)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("word"));
    Database(m_path).script("DELETE FROM session_search_data");

    EXPECT_THAT(search(QStringLiteral("word")), IsEmpty());
    EXPECT_EQ(recentSessions().value(0).snippet, QStringLiteral("summary of a")) << "the rows themselves are whole";

    EXPECT_THAT(m_log.lines(), ElementsAre(QStringLiteral("SessionStore: failed to search: database disk image is"
                                                          " malformed")));
}

TEST_F(SessionStoreFaults, noticeThatATableWentAwayMeanwhile)
{
    open();
    save(QStringLiteral("a"));
    Database(m_path).script("DROP TABLE sessions");

    save(QStringLiteral("b"));

    EXPECT_EQ(m_log.lines().size(), 1);
    EXPECT_THAT(m_log.lines().value(0).toStdString(),
                StartsWith("SessionStore: failed to save session b: no such table: "));
}

// ---- Other processes ----

TEST_F(SessionStoreFaults, logASaveWhileAnotherProcessHoldsTheDatabase)
{
    open();
    save(QStringLiteral("a"));
    Database other(m_path);
    other.script("BEGIN IMMEDIATE");

    save(QStringLiteral("b"));
    EXPECT_THAT(identifiers(loadAll()), ElementsAre(QStringLiteral("a"))) << "reading goes on";
    other.script("COMMIT");
    save(QStringLiteral("c"));

    EXPECT_THAT(identifiers(loadAll()), UnorderedElementsAre(QStringLiteral("a"), QStringLiteral("c")));
    EXPECT_TRUE(m_log.contains(QStringLiteral("SessionStore: failed to save session b: database is locked")));
}

TEST_F(SessionStoreFaults, findWhatAKilledProgramHadSaved)
{
    open();
    for (int i = 0; i < 20; ++i)
        saveIndexed(QStringLiteral("s%1").arg(i), QStringLiteral("word"));
    // What a kill leaves on the disk: the files as they are now, with nobody to close them.
    const QString copy = m_folder.filePath(QStringLiteral("copy.db"));
    for (const QString &suffix : { QString(), QStringLiteral("-wal") })
        ASSERT_TRUE(QFile::copy(m_path + suffix, copy + suffix));

    vantry::SessionStore reader(copy, m_clock, m_log, vantry::SessionStore::Access::ReadOnly);
    open(reader);
    EXPECT_EQ(reader.queue().sync([&] { return reader.search(QStringLiteral("word"), 100).size(); }), 20);
    reader.queue().sync([&] { reader.close(); });
    vantry::SessionStore restarted(copy, m_clock, m_log);
    open(restarted);
    EXPECT_EQ(restarted.queue().sync([&] { return restarted.loadAll({}).size(); }), 20);
    EXPECT_EQ(Database(copy).value("PRAGMA integrity_check"), "ok");
}

} // namespace
} // namespace vantry::test
