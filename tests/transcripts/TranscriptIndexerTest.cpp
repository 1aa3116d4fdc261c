#include "transcripts/TranscriptIndexer.h"

#include "transcripts/TranscriptIndexerFixture.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <latch>
#include <optional>
#include <thread>

namespace vantry::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

using Progress = TranscriptIndexer::Progress;

/// Hands everything on to a store, and lets a test in between: `before` is told of each call first, on the store's
/// queue.
class WatchedStore final : public SessionStoring
{
public:
    explicit WatchedStore(SessionStoring &store)
        : m_store(store)
    {}

    [[nodiscard]] SerialQueue &queue() override { return m_store.queue(); }
    void open() override { m_store.open(); }
    void close() override { m_store.close(); }
    void save(const VantrySession &session) override { m_store.save(session); }
    [[nodiscard]] QList<SessionPtr> loadAll(std::optional<AgentTool> filter) override
    {
        return m_store.loadAll(filter);
    }
    void prune(std::int64_t limit) override { m_store.prune(limit); }
    void updateSearchIndex(const QString &id, const std::optional<QString> &prompts,
                           const std::optional<QString> &tools, const std::optional<QString> &summary) override
    {
        m_store.updateSearchIndex(id, prompts, tools, summary);
    }
    [[nodiscard]] QList<SessionSearchResult> search(const QString &text, std::int64_t limit) override
    {
        return m_store.search(text, limit);
    }
    [[nodiscard]] QList<SessionSearchResult> recentSessions(std::int64_t limit) override
    {
        return m_store.recentSessions(limit);
    }
    [[nodiscard]] QStringList sessionsNeedingIndex() override { return m_store.sessionsNeedingIndex(); }
    void clearSearchIndex() override { m_store.clearSearchIndex(); }
    [[nodiscard]] QSet<QString> indexedSessionIDs() override
    {
        tell("ids");
        return m_store.indexedSessionIDs();
    }
    void insertHistoricalSession(const HistoricalSession &value) override { m_store.insertHistoricalSession(value); }
    [[nodiscard]] bool hasTakenTranscript(const QString &path, const QString &stamp) override
    {
        tell("taken");
        return m_store.hasTakenTranscript(path, stamp);
    }
    [[nodiscard]] std::optional<std::int64_t> lastSearchRow() override
    {
        tell("last");
        return m_store.lastSearchRow();
    }
    [[nodiscard]] bool clearSearchRows(std::int64_t last, std::chrono::nanoseconds) override
    {
        tell("clear");
        return m_store.clearSearchRows(last, {});
    }
    [[nodiscard]] std::optional<HistoryProgress> insertHistoricalSessions(std::span<const HistoricalSession> values,
                                                                          std::chrono::nanoseconds) override
    {
        tell("insert");
        return m_store.insertHistoricalSessions(values, {});
    }

    std::function<void(std::string_view call)> before;
    std::vector<std::string> calls;

private:
    void tell(const char *call)
    {
        EXPECT_TRUE(queue().isCurrent());
        calls.emplace_back(call);
        if (before)
            before(call);
    }

    SessionStoring &m_store;
};

class TranscriptIndexerTest : public TranscriptIndexerFixture
{
protected:
    WatchedStore m_watched { m_store };
};

TEST_F(TranscriptIndexerTest, addsTheSessionsOfAllProjects)
{
    put(folderName, QStringLiteral("a"), user("alpha words"));
    put(folderName, QStringLiteral("b"), user("beta words"));
    put(QStringLiteral("-home-u-other"), QStringLiteral("c"), user("gamma words"));

    start();

    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")));
    EXPECT_THAT(found(QStringLiteral("gam")), ElementsAre(QStringLiteral("c")));
    EXPECT_THAT(m_log.lines(),
                ElementsAre(QStringLiteral("TranscriptIndexer: backfilled 3 sessions from transcript files")));
}

TEST_F(TranscriptIndexerTest, doesNothingWithoutAProjectsFolder)
{
    saveSession(QStringLiteral("a"));
    m_store.updateSearchIndex(QStringLiteral("a"), QStringLiteral("word"), {}, {});

    start(m_watched);

    EXPECT_FALSE(isRebuilt());
    EXPECT_THAT(m_watched.calls, IsEmpty());
    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a")));
    EXPECT_THAT(m_log.lines(), IsEmpty());
    EXPECT_THAT(m_progress, IsEmpty());
}

TEST_F(TranscriptIndexerTest, clearsTheIndexOnceBeforeItIsFilled)
{
    put(folderName, QStringLiteral("a"), user("alpha"));
    saveSession(QStringLiteral("old"));
    m_store.updateSearchIndex(QStringLiteral("old"), QStringLiteral("word"), {}, {});

    start(m_watched);

    EXPECT_THAT(m_watched.calls, ElementsAre("last", "clear", "ids", "taken", "insert"));
    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a")));
    EXPECT_TRUE(isRebuilt());
    EXPECT_FALSE(isRebuilding());

    m_store.updateSearchIndex(QStringLiteral("old"), QStringLiteral("word"), {}, {});
    m_watched.calls.clear();
    start(m_watched);

    EXPECT_THAT(m_watched.calls, ElementsAre("ids"));
    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a"), QStringLiteral("old")));
}

TEST_F(TranscriptIndexerTest, marksTheIndexAsRebuiltWithNothingToFillItFrom)
{
    makeProjects();

    start();

    EXPECT_TRUE(isRebuilt());
    EXPECT_FALSE(isRebuilding());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(TranscriptIndexerTest, takesNothingFromWhatIsNoTranscriptInAProject)
{
    makeProjects();
    write(QStringLiteral("file.jsonl"), user("in the root"));
    put(folderName, QStringLiteral("a"), user("alpha"));
    write(folderName + QStringLiteral("/notes.txt"), user("no transcript"));
    write(folderName + QStringLiteral("/b.jsonl.bak"), user("no transcript"));
    ASSERT_TRUE(QDir().mkpath(projects() + QStringLiteral("/%1/d.jsonl").arg(folderName)));
    ASSERT_TRUE(QDir().mkpath(projects() + QStringLiteral("/%1/a/subagents").arg(folderName)));
    write(folderName + QStringLiteral("/a/subagents/agent-1.jsonl"), user("of a subagent"));
    ASSERT_EQ(mkfifo(QFile::encodeName(path(folderName, QStringLiteral("fifo"))).constData(), 0600), 0);
    ASSERT_EQ(symlink("/nowhere", QFile::encodeName(path(folderName, QStringLiteral("dangling"))).constData()), 0);
    ASSERT_EQ(symlink("/dev/zero", QFile::encodeName(path(folderName, QStringLiteral("device"))).constData()), 0);

    start();

    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a")));
    EXPECT_THAT(m_progress, ElementsAre(Progress { 0, 1 }, Progress { 1, 1 }));
}

TEST_F(TranscriptIndexerTest, followsLinksToFoldersAndTranscripts)
{
    put(QStringLiteral("real"), QStringLiteral("a"), user("alpha"));
    const QString elsewhere = home() + QStringLiteral("/elsewhere");
    ASSERT_TRUE(QFile::rename(projects() + QStringLiteral("/real"), elsewhere));
    ASSERT_TRUE(QFile::link(elsewhere, projects() + u'/' + folderName));
    put(QStringLiteral("other"), QStringLiteral("b"), user("beta"));
    ASSERT_TRUE(
        QFile::link(path(QStringLiteral("other"), QStringLiteral("b")), elsewhere + QStringLiteral("/c.jsonl")));

    start();

    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")));
}

TEST_F(TranscriptIndexerTest, skipsWhatCannotBeReadAndTakesTheRest)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "root may read everything";
    put(folderName, QStringLiteral("a"), user("alpha"));
    put(folderName, QStringLiteral("locked"), user("locked"));
    put(QStringLiteral("-locked"), QStringLiteral("b"), user("beta"));
    QFile::setPermissions(path(folderName, QStringLiteral("locked")), {});
    QFile::setPermissions(projects() + QStringLiteral("/-locked"), {});

    start();

    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a")));
    QFile::setPermissions(projects() + QStringLiteral("/-locked"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

TEST_F(TranscriptIndexerTest, addsNoRowForATranscriptWithoutPrompts)
{
    put(folderName, QStringLiteral("a"), R"({"type":"summary","timestamp":"2026-01-01T10:00:00.000Z"})");
    put(folderName, QStringLiteral("empty"), "");

    start();

    EXPECT_THAT(indexed(), IsEmpty());
    EXPECT_THAT(recent(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty());
    EXPECT_EQ(m_progress.value(m_progress.size() - 1), (Progress { 2, 2 }));
}

TEST_F(TranscriptIndexerTest, readsATranscriptAgainThatHadNoPrompts)
{
    put(folderName, QStringLiteral("a"), "");
    start();

    put(folderName, QStringLiteral("a"), user("alpha"));
    start();

    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a")));
}

TEST_F(TranscriptIndexerTest, opensNoTranscriptOfAnIndexedSession)
{
    put(folderName, QStringLiteral("a"), user("alpha"));
    start();
    m_progress.clear();
    m_log.clear();
    put(folderName, QStringLiteral("a"), user("other words"));
    put(folderName, QStringLiteral("b"), user("beta"));

    start();

    EXPECT_THAT(m_progress, ElementsAre(Progress { 0, 1 }, Progress { 1, 1 }));
    EXPECT_THAT(found(QStringLiteral("other")), IsEmpty());
    EXPECT_THAT(m_log.lines(),
                ElementsAre(QStringLiteral("TranscriptIndexer: backfilled 1 sessions from transcript files")));
}

TEST_F(TranscriptIndexerTest, keepsTheRowOfATrackedSession)
{
    put(folderName, QStringLiteral("a"), user("alpha"));
    saveSession(QStringLiteral("a"));

    start();

    ASSERT_EQ(recent().size(), 1);
    EXPECT_EQ(recent()[0].session->projectName(), QStringLiteral("tracked"));
    EXPECT_EQ(recent()[0].snippet, QStringLiteral("alpha"));
}

TEST_F(TranscriptIndexerTest, keepsTheSearchRowOfASessionThatEndsMeanwhile)
{
    put(folderName, QStringLiteral("a"), user("from the transcript"));
    saveSession(QStringLiteral("a"));
    m_watched.before = [&](std::string_view call) {
        if (call != "insert")
            return;
        // As if its end had come on the queue just before.
        const std::vector<HistoricalSession> ended { historical(QStringLiteral("a"),
                                                                QStringLiteral("from its events")) };
        ASSERT_TRUE(m_store.insertHistoricalSessions(ended, {}));
    };

    start(m_watched);

    ASSERT_EQ(recent().size(), 1) << "one search row gives one result";
    EXPECT_THAT(found(QStringLiteral("events")), ElementsAre(QStringLiteral("a")));
    EXPECT_THAT(found(QStringLiteral("transcript")), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << "nothing was added";
}

TEST_F(TranscriptIndexerTest, takesTheNewerOfTwoTranscriptsOfOneSession)
{
    put(QStringLiteral("-a"), QStringLiteral("s"), user("older"));
    put(QStringLiteral("-b"), QStringLiteral("s"), user("newer"));
    const timespec times[2] { { 1000, 0 }, { 1000, 0 } };
    ASSERT_EQ(
        utimensat(AT_FDCWD, QFile::encodeName(path(QStringLiteral("-a"), QStringLiteral("s"))).constData(), times, 0),
        0);

    start();

    ASSERT_EQ(recent().size(), 1);
    EXPECT_EQ(recent()[0].snippet, QStringLiteral("newer"));
    EXPECT_THAT(m_log.lines(),
                ElementsAre(QStringLiteral("TranscriptIndexer: backfilled 1 sessions from transcript files")));
}

TEST_F(TranscriptIndexerTest, tellsItsProgressAboutAHundredTimes)
{
    constexpr int count = 1000;
    for (int i = 0; i < count; ++i)
        put(folderName, QString::number(i), user("word"));

    start();

    EXPECT_EQ(indexed().size(), count);
    EXPECT_LE(m_progress.size(), 101);
    EXPECT_EQ(m_progress.value(0), (Progress { 0, count }));
    EXPECT_EQ(m_progress.value(m_progress.size() - 1), (Progress { count, count }));
    qsizetype before = -1;
    for (const Progress &progress : m_progress) {
        EXPECT_GT(progress.done, before);
        before = progress.done;
    }
}

TEST_F(TranscriptIndexerTest, tellsNothingWithoutAnythingToRead)
{
    makeProjects();
    start();
    EXPECT_THAT(m_progress, IsEmpty());
}

// ---- Interruptions ----

/// Everything is found, once, and nothing more is to be rebuilt.
#define EXPECT_COMPLETE(count)                                                                                         \
    EXPECT_EQ(indexed().size(), count);                                                                                \
    EXPECT_EQ(found(QStringLiteral("common")).size(), count);                                                          \
    EXPECT_TRUE(isRebuilt());                                                                                          \
    EXPECT_FALSE(isRebuilding())

TEST_F(TranscriptIndexerTest, isCompleteAtTheNextStartWhereverItWasInterrupted)
{
    constexpr int count = 6;
    for (int i = 0; i < count; ++i)
        put(folderName, QString::number(i), user("common word " + QByteArray::number(i)));

    int calls = 1;
    for (int interruption = 1; interruption <= calls; ++interruption) {
        SCOPED_TRACE(interruption);
        // What an earlier form of the index has left.
        m_defaults.remove(rebuiltKey);
        start();
        m_defaults.remove(rebuiltKey);

        int call = 0;
        {
            std::optional<WorkerPool> workers(std::in_place);
            TranscriptIndexer indexer(home(), m_defaults, m_mainQueue, *workers, m_log);
            m_watched.before = [&](std::string_view) {
                if (++call == interruption)
                    m_store.close();
            };
            indexer.backfill(m_watched);
            workers->waitForDone();
            workers.reset();
        }
        m_watched.before = {};
        m_mainQueue.drainAll();
        calls = std::max(calls, call);

        // The next start, with what comes before the backfill in it.
        openStore();
        for (const QString &id : m_store.queue().sync([this] { return m_store.sessionsNeedingIndex(); }))
            m_store.updateSearchIndex(id, {}, {}, {});
        start();
        EXPECT_COMPLETE(count);
    }
    EXPECT_GE(calls, 2 + count);
}

TEST_F(TranscriptIndexerTest, endsWithThePoolAndLeavesTheRestToTheNextStart)
{
    constexpr int count = 300;
    for (int i = 0; i < count; ++i)
        put(folderName, QString::number(i), user("common word"));
    for (int calls : { 1, 2, 3, 10, count + 10 }) {
        SCOPED_TRACE(calls);
        m_defaults.remove(rebuiltKey);
        std::latch reached(1);
        std::latch goesOn(1);
        int call = 0;
        m_watched.before = [&](std::string_view) {
            if (++call != calls)
                return;
            reached.count_down();
            goesOn.wait();
        };
        std::optional<WorkerPool> workers(std::in_place);
        TranscriptIndexer indexer(home(), m_defaults, m_mainQueue, *workers, m_log);
        indexer.backfill(m_watched);
        reached.wait();
        std::thread ending([&] { workers.reset(); });
        goesOn.count_down();
        ending.join();
        m_mainQueue.drainAll();
        m_watched.before = {};

        start();
        EXPECT_COMPLETE(count);
    }
}

TEST_F(TranscriptIndexerTest, tellsNobodyWhenItHasGone)
{
    put(folderName, QStringLiteral("a"), user("alpha"));
    WorkerPool workers;
    {
        TranscriptIndexer indexer(home(), m_defaults, m_mainQueue, workers, m_log);
        indexer.onProgress = [](Progress) { FAIL(); };
        indexer.backfill(m_store);
        workers.waitForDone();
    }
    m_mainQueue.drainAll();

    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a")));
    EXPECT_FALSE(isRebuilt()) << "the next start rebuilds again";
}

TEST_F(TranscriptIndexerTest, doesNothingWithAStoreThatIsClosed)
{
    put(folderName, QStringLiteral("a"), user("alpha"));
    closeStore();

    start();
    openStore();
    EXPECT_THAT(indexed(), IsEmpty());
    EXPECT_TRUE(isRebuilding());

    start();
    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("a")));
    EXPECT_FALSE(isRebuilding());
}

TEST_F(TranscriptIndexerTest, leavesAReadOnlyDatabaseAsItIs)
{
    put(folderName, QStringLiteral("a"), user("alpha"));
    closeStore();
    SessionStore readOnly(m_store.dbPath(), m_clock, m_log, SessionStore::Access::ReadOnly);
    readOnly.queue().sync([&] { readOnly.open(); });

    start(readOnly);

    EXPECT_THAT(readOnly.queue().sync([&] { return readOnly.indexedSessionIDs(); }), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(TranscriptIndexerTest, letsSessionsBeSavedMeanwhile)
{
    constexpr int count = 200;
    for (int i = 0; i < count; ++i)
        put(folderName, QString::number(i), user("common word"));
    WorkerPool workers;
    TranscriptIndexer indexer(home(), m_defaults, m_mainQueue, workers, m_log);
    indexer.backfill(m_store);
    // Sessions that have transcripts, too, and end now.
    for (int i = 0; i < count; i += 2) {
        saveSession(QString::number(i));
        m_store.updateSearchIndex(QString::number(i), QStringLiteral("common word"), {}, QStringLiteral("ended"));
    }
    workers.waitForDone();
    m_mainQueue.drainAll();

    EXPECT_COMPLETE(count);
    EXPECT_EQ(recent().size(), count) << "no session has two search rows";
}

} // namespace
} // namespace vantry::test
