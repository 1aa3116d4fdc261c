#include "sessions/SessionStore.h"

#include "StoreFixture.h"
#include "base/Dates.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

#include <thread>

using namespace std::chrono_literals;

namespace vantry::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using SessionStore = StoreTest;

std::string modeOf(const QString &path)
{
    struct stat status
    {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return "missing";
    return QString::number(status.st_mode & 0777, 8).toStdString();
}

SessionPtr onlyOf(const QList<SessionPtr> &sessions)
{
    EXPECT_EQ(sessions.size(), 1);
    return sessions.value(0);
}

TEST_F(SessionStore, makesTheSchemaThatIsDocumented)
{
    open();

    Database database(m_path);
    EXPECT_THAT(database.run("SELECT name FROM sqlite_master WHERE name IN ('sessions', 'session_search',"
                             " 'idx_sessions_agent_tool', 'idx_sessions_updated_at', 'idx_sessions_session_id')"
                             " ORDER BY name"),
                ElementsAre(ElementsAre("idx_sessions_agent_tool"), ElementsAre("idx_sessions_session_id"),
                            ElementsAre("idx_sessions_updated_at"), ElementsAre("session_search"),
                            ElementsAre("sessions")));
    const auto columns =
        database.run("SELECT name, type, \"notnull\", dflt_value, pk FROM pragma_table_info('sessions')");
    ASSERT_EQ(columns.size(), 22u);
    EXPECT_THAT(columns[0], ElementsAre("id", "TEXT", "0", "NULL", "1"));
    EXPECT_THAT(columns[2], ElementsAre("agent_tool", "TEXT", "1", "'claude-code'", "0"));
    EXPECT_THAT(columns[10], ElementsAre("active_subagent_count", "INTEGER", "0", "0", "0"));
    EXPECT_THAT(columns[16], ElementsAre("pid_start_time", "REAL", "0", "NULL", "0"));
    EXPECT_THAT(columns[19], ElementsAre("created_at", "TEXT", "1", "strftime('%Y-%m-%dT%H:%M:%fZ', 'now')", "0"));
    EXPECT_THAT(columns[21], ElementsAre("ended_at", "TEXT", "0", "NULL", "0"));
    EXPECT_EQ(database.value("PRAGMA journal_mode"), "wal");
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(SessionStore, keepsTheDatabaseForTheUserAlone)
{
    open();
    save(QStringLiteral("a"));

    EXPECT_EQ(modeOf(QFileInfo(m_path).path()), "700");
    EXPECT_EQ(modeOf(m_path), "600");
    EXPECT_EQ(modeOf(m_path + QStringLiteral("-wal")), "600");
    EXPECT_EQ(modeOf(m_path + QStringLiteral("-shm")), "600");
}

TEST_F(SessionStore, takesOthersRightsOffADatabaseThatIsThere)
{
    open();
    m_store.queue().sync([this] { m_store.close(); });
    ASSERT_EQ(chmod(QFile::encodeName(m_path).constData(), 0664), 0);

    open();
    save(QStringLiteral("a"));

    EXPECT_EQ(modeOf(m_path), "600");
    EXPECT_EQ(modeOf(m_path + QStringLiteral("-wal")), "600");
}

TEST_F(SessionStore, leavesTheModeOfAFolderThatIsThere)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(m_path).path()));
    ASSERT_EQ(chmod(QFile::encodeName(QFileInfo(m_path).path()).constData(), 0755), 0);

    open();

    EXPECT_EQ(modeOf(QFileInfo(m_path).path()), "755");
}

TEST_F(SessionStore, givesBackEveryStoredFieldAsItWas)
{
    open();
    VantrySession::Init init;
    init.id = QStringLiteral("full");
    init.agentTool = AgentTool::aider;
    init.terminalType = QStringLiteral("kitty-window");
    init.terminalSessionID = QStringLiteral("unix:/tmp/k,3");
    init.state = SessionState::needsPermission;
    init.projectName = QStringLiteral("vantry");
    init.cwd = QStringLiteral("/home/u/vantry");
    init.lastPrompt = QStringLiteral("prompt\nin two lines");
    init.toolName = QStringLiteral("Bash");
    init.pid = 123456789012;
    init.pidStartTime = 1769850307.123456;
    init.lastMessage = QStringLiteral("Grüße 👋");
    init.lastUpdated = m_clock.now();
    init.startedAt = ago(90min);
    VantrySession session(std::move(init));
    session.setShellPid(77);
    session.setTranscriptPath(QStringLiteral("/t.jsonl"));
    session.setGitBranch(QStringLiteral("main"));
    session.setTelegramTopicID(-5);
    session.setActiveSubagentCount(-2147483647 - 1);
    session.setCompacting(true);
    save(session);

    const SessionPtr loaded = onlyOf(loadAll());

    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->id(), session.id());
    EXPECT_EQ(loaded->agentTool(), session.agentTool());
    EXPECT_EQ(loaded->terminalType(), session.terminalType());
    EXPECT_EQ(loaded->terminalSessionID(), session.terminalSessionID());
    EXPECT_EQ(loaded->state(), session.state());
    EXPECT_EQ(loaded->projectName(), session.projectName());
    EXPECT_EQ(loaded->cwd(), session.cwd());
    EXPECT_EQ(loaded->lastPrompt(), session.lastPrompt());
    EXPECT_EQ(loaded->toolName(), session.toolName());
    EXPECT_EQ(loaded->pid(), session.pid());
    EXPECT_EQ(loaded->pidStartTime(), session.pidStartTime());
    EXPECT_EQ(loaded->lastMessage(), session.lastMessage());
    EXPECT_EQ(loaded->lastUpdated(), session.lastUpdated());
    EXPECT_EQ(loaded->startedAt(), session.startedAt());
    EXPECT_EQ(loaded->endedAt(), std::nullopt);
    EXPECT_TRUE(loaded->isAlive());
    EXPECT_EQ(loaded->shellPid(), session.shellPid());
    EXPECT_EQ(loaded->transcriptPath(), session.transcriptPath());
    EXPECT_EQ(loaded->gitBranch(), session.gitBranch());
    EXPECT_EQ(loaded->telegramTopicID(), session.telegramTopicID());
    EXPECT_EQ(loaded->activeSubagentCount(), session.activeSubagentCount());
    EXPECT_EQ(loaded->isCompacting(), session.isCompacting());
}

TEST_F(SessionStore, keepsAbsentFieldsApartFromEmptyOnes)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    session->setLastMessage(QStringLiteral(""));
    session->setCwd(QString());
    save(*session);

    const SessionPtr loaded = onlyOf(loadAll());

    EXPECT_EQ(loaded->lastMessage(), QString());
    EXPECT_EQ(loaded->cwd(), QString());
    EXPECT_EQ(loaded->lastPrompt(), std::nullopt);
    EXPECT_EQ(loaded->terminalType(), std::nullopt);
    EXPECT_EQ(loaded->pid(), std::nullopt);
    EXPECT_EQ(loaded->shellPid(), std::nullopt);
    EXPECT_EQ(loaded->pidStartTime(), std::nullopt);
    EXPECT_EQ(loaded->telegramTopicID(), std::nullopt);
}

TEST_F(SessionStore, keepsTextBehindANulCharacter)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    session->setLastMessage(QStringLiteral("one") + QChar(u'\0') + QStringLiteral("two"));
    save(*session);

    EXPECT_EQ(onlyOf(loadAll())->lastMessage(), session->lastMessage());
}

TEST_F(SessionStore, survivesHalfASurrogatePair)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    session->setLastMessage(QStringLiteral("x") + QChar(0xd83d));
    session->setLastPrompt(QChar(0xde00) + QStringLiteral("y"));
    save(*session);

    const SessionPtr loaded = onlyOf(loadAll());

    EXPECT_TRUE(loaded->lastMessage()->startsWith(u'x'));
    EXPECT_TRUE(loaded->lastPrompt()->endsWith(u'y'));
}

TEST_F(SessionStore, storesAVeryLongMessage)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    session->setLastMessage(QString(20'000'000, u'm'));
    save(*session);

    EXPECT_EQ(onlyOf(loadAll())->lastMessage()->size(), 20'000'000);
}

TEST_F(SessionStore, writesIdentifierTwiceAndDatesWithMilliseconds)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    session->setEndedAt(m_clock.now() + 1234567ns);
    save(*session);

    Database database(m_path);
    EXPECT_THAT(
        database.run("SELECT id, session_id, agent_tool, status, created_at, updated_at, ended_at FROM sessions"),
        ElementsAre(ElementsAre("a", "a", "claude-code", "working", "2026-01-31T09:05:07.250Z",
                                "2026-01-31T09:05:07.250Z", "2026-01-31T09:05:07.251Z")));
}

TEST_F(SessionStore, keepsOneRowAndTheFirstStartOfASessionSavedTwice)
{
    open();
    save(QStringLiteral("a"));
    const Date firstStart = m_clock.now();
    m_clock.advance(60s);
    save(QStringLiteral("a"));

    const SessionPtr loaded = onlyOf(loadAll());

    EXPECT_EQ(loaded->startedAt(), firstStart);
    EXPECT_EQ(loaded->lastUpdated(), m_clock.now());
}

TEST_F(SessionStore, keepsWhatALaterRecordDoesNotKnow)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    session->setCwd(QStringLiteral("/p"));
    session->setProjectName(QStringLiteral("p"));
    session->setTerminalType(QStringLiteral("t"));
    session->setTerminalSessionID(QStringLiteral("ts"));
    session->setPid(10);
    session->setShellPid(11);
    session->setLastPrompt(QStringLiteral("prompt"));
    session->setTranscriptPath(QStringLiteral("/t"));
    session->setPidStartTime(1.5);
    session->setGitBranch(QStringLiteral("main"));
    session->setTelegramTopicID(12);
    save(*session);

    save(QStringLiteral("a"));

    const SessionPtr loaded = onlyOf(loadAll());
    EXPECT_EQ(loaded->cwd(), session->cwd());
    EXPECT_EQ(loaded->projectName(), session->projectName());
    EXPECT_EQ(loaded->terminalType(), session->terminalType());
    EXPECT_EQ(loaded->terminalSessionID(), session->terminalSessionID());
    EXPECT_EQ(loaded->pid(), session->pid());
    EXPECT_EQ(loaded->shellPid(), session->shellPid());
    EXPECT_EQ(loaded->lastPrompt(), session->lastPrompt());
    EXPECT_EQ(loaded->transcriptPath(), session->transcriptPath());
    EXPECT_EQ(loaded->pidStartTime(), session->pidStartTime());
    EXPECT_EQ(loaded->gitBranch(), session->gitBranch());
    EXPECT_EQ(loaded->telegramTopicID(), session->telegramTopicID());
}

TEST_F(SessionStore, overwritesWhatHasMeaningWhenItIsAbsent)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    session->setLastMessage(QStringLiteral("message"));
    session->setToolName(QStringLiteral("Bash"));
    session->setEndedAt(m_clock.now());
    session->setState(SessionState::hasQuestion);
    session->setActiveSubagentCount(3);
    session->setCompacting(true);
    save(*session);

    save(QStringLiteral("a"));

    const SessionPtr loaded = onlyOf(loadAll());
    EXPECT_EQ(loaded->lastMessage(), std::nullopt);
    EXPECT_EQ(loaded->toolName(), std::nullopt);
    EXPECT_EQ(loaded->endedAt(), std::nullopt);
    EXPECT_TRUE(loaded->isAlive());
    EXPECT_EQ(loaded->state(), SessionState::working);
    EXPECT_EQ(loaded->activeSubagentCount(), 0);
    EXPECT_FALSE(loaded->isCompacting());
}

TEST_F(SessionStore, loadsTheLastDayNewestFirst)
{
    open();
    for (const auto &[id, age] : { std::pair { "old", 25h }, { "late", 23h }, { "new", 0h } }) {
        const SessionPtr session = makeSession(QString::fromLatin1(id));
        session->setLastUpdated(ago(age));
        save(*session);
    }

    EXPECT_THAT(identifiers(loadAll()), ElementsAre(QStringLiteral("new"), QStringLiteral("late")));
    EXPECT_TRUE(m_log.contains(QStringLiteral("SessionStore: loaded 2 sessions from DB")));
}

TEST_F(SessionStore, leavesOutARowOfTheCutOffsVerySecond)
{
    open();
    // The clock stands at 7.250 s: the cut-off is the whole second 7, and "07.999Z" sorts before "07Z".
    for (const auto &[id, milliseconds] : { std::pair { "in that second", 749ms }, { "in the next", 750ms } }) {
        const SessionPtr session = makeSession(QString::fromLatin1(id));
        session->setLastUpdated(ago(24h) + milliseconds);
        save(*session);
    }

    EXPECT_THAT(identifiers(loadAll()), ElementsAre(QStringLiteral("in the next")));
}

TEST_F(SessionStore, loadsTheSessionsOfOneAgent)
{
    open();
    save(QStringLiteral("claude"));
    VantrySession::Init init;
    init.id = QStringLiteral("codex");
    init.agentTool = AgentTool::codex;
    init.lastUpdated = m_clock.now();
    save(VantrySession(std::move(init)));

    EXPECT_THAT(identifiers(loadAll(AgentTool::codex)), ElementsAre(QStringLiteral("codex")));
    EXPECT_THAT(identifiers(loadAll(AgentTool::claudeCode)), ElementsAre(QStringLiteral("claude")));
    EXPECT_THAT(loadAll(AgentTool::aider), IsEmpty());
}

TEST_F(SessionStore, readsRowsThatItDidNotWrite)
{
    open();
    Database(m_path).script(
        "INSERT INTO sessions (id, agent_tool, status, active_subagent_count, is_compacting, created_at, updated_at,"
        " ended_at) VALUES"
        " (NULL, 'other', NULL, NULL, NULL, 'yesterday', '2026-01-31T09:00:01.000Z', 'some time'),"
        " ('count', 'aider', 'waiting_input', 5000000000, 7, '2026-01-31T09:00:00Z', '9999', NULL),"
        " ('status', 'codex', '', 1, 0, '2026-01-31T10:00:00.500+01:00', '2026-01-31T09:00:02.000Z', NULL)");

    const QList<SessionPtr> loaded = loadAll();

    ASSERT_EQ(loaded.size(), 3);
    EXPECT_EQ(loaded[0]->id(), QStringLiteral("count"));
    EXPECT_EQ(loaded[0]->state(), SessionState::hasQuestion);
    EXPECT_EQ(loaded[0]->activeSubagentCount(), 0);
    EXPECT_TRUE(loaded[0]->isCompacting());
    EXPECT_EQ(loaded[0]->startedAt(), m_clock.now()) << "a date without a fraction can't be read";
    EXPECT_EQ(loaded[0]->lastUpdated(), m_clock.now());
    EXPECT_EQ(loaded[1]->id(), QStringLiteral("status"));
    EXPECT_EQ(loaded[1]->state(), SessionState::working);
    EXPECT_EQ(loaded[1]->startedAt(), parseIsoDate(u"2026-01-31T09:00:00.500Z"));
    EXPECT_EQ(loaded[2]->id(), QStringLiteral("unknown"));
    EXPECT_EQ(loaded[2]->agentTool(), AgentTool::unknown);
    EXPECT_EQ(loaded[2]->state(), SessionState::launching);
    EXPECT_FALSE(loaded[2]->isAlive());
    EXPECT_EQ(loaded[2]->endedAt(), std::nullopt);
}

TEST_F(SessionStore, readsAMissingAgentAsTheUsualOne)
{
    open();
    Database(m_path).script("DROP TABLE sessions;"
                            "CREATE TABLE sessions AS SELECT 'a' AS id, 's' AS session_id, NULL AS agent_tool,"
                            " NULL AS project_dir, NULL AS project_name, NULL AS status, NULL AS terminal_type,"
                            " NULL AS terminal_session_id, NULL AS terminal_pid, NULL AS shell_pid,"
                            " NULL AS active_subagent_count, NULL AS is_compacting, NULL AS last_tool_name,"
                            " NULL AS last_prompt, NULL AS last_message, NULL AS transcript_path,"
                            " NULL AS pid_start_time, NULL AS git_branch, NULL AS telegram_topic_id,"
                            " NULL AS created_at, '9999' AS updated_at, NULL AS ended_at");

    EXPECT_EQ(onlyOf(loadAll())->agentTool(), AgentTool::claudeCode);
}

TEST_F(SessionStore, givesNewRecordsOfTheMainThreadEachTime)
{
    open();
    save(QStringLiteral("a"));

    const SessionPtr first = onlyOf(loadAll());
    const SessionPtr second = onlyOf(loadAll());

    EXPECT_NE(first, second);
    EXPECT_EQ(first->thread(), QCoreApplication::instance()->thread());
}

TEST_F(SessionStore, prunesTheOldestSessionWithItsSearchRow)
{
    open();
    for (int i = 0; i < 4; ++i) {
        saveIndexed(QStringLiteral("s%1").arg(i), QStringLiteral("words"));
        m_clock.advance(1s);
    }

    prune(3);

    Database database(m_path);
    EXPECT_THAT(database.run("SELECT id FROM sessions ORDER BY id"),
                ElementsAre(ElementsAre("s1"), ElementsAre("s2"), ElementsAre("s3")));
    EXPECT_THAT(database.run("SELECT session_id FROM session_search ORDER BY 1"),
                ElementsAre(ElementsAre("s1"), ElementsAre("s2"), ElementsAre("s3")));
}

TEST_F(SessionStore, prunesAtAThousandAndNotBefore)
{
    open();
    Database database(m_path);
    database.script("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000)"
                    " INSERT INTO sessions (id, updated_at) SELECT 's' || i, printf('%05d', i) FROM n;"
                    "INSERT INTO session_search (session_id) SELECT id FROM sessions");

    prune(1000);
    EXPECT_EQ(database.value("SELECT count(*) FROM sessions"), "1000");
    EXPECT_EQ(database.value("SELECT count(*) FROM session_search"), "1000");

    database.script("INSERT INTO sessions (id, updated_at) VALUES ('newest', '99999')");
    prune(1000);
    EXPECT_EQ(database.value("SELECT count(*) FROM sessions"), "1000");
    EXPECT_EQ(database.value("SELECT count(*) FROM sessions WHERE id = 's1'"), "0");
    EXPECT_EQ(database.value("SELECT count(*) FROM session_search WHERE session_id = 's1'"), "0");
}

TEST_F(SessionStore, prunesManySessionsInPiecesBetweenWhichOthersHaveTheirTurn)
{
    open();
    Database database(m_path);
    database.script("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1200)"
                    " INSERT INTO sessions (id, updated_at) SELECT 's' || i, printf('%05d', i) FROM n;"
                    "INSERT INTO session_search (session_id) SELECT id FROM sessions");
    const auto count = [&] { return database.value("SELECT count(*) FROM sessions"); };

    int turns = 0;
    prune(1000);
    EXPECT_GT(QByteArray::fromStdString(count()).toInt(), 1000);
    for (; count() != "1000" && turns < 1000; ++turns)
        m_store.queue().sync([] {});

    EXPECT_EQ(count(), "1000");
    EXPECT_EQ(database.value("SELECT count(*) FROM session_search"), "1000");
    EXPECT_EQ(database.value("SELECT min(updated_at) FROM sessions"), "00201");
}

TEST_F(SessionStore, prunesToNothingWithALimitOfZero)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("words"));

    prune(0);

    EXPECT_EQ(Database(m_path).value("SELECT count(*) FROM sessions"), "0");
    EXPECT_EQ(Database(m_path).value("SELECT count(*) FROM session_search"), "0");
}

TEST_F(SessionStore, prunesNothingWithALimitOutOfRange)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("words"));

    prune(-1);
    prune(std::int64_t { 1 } << 31);

    EXPECT_EQ(Database(m_path).value("SELECT count(*) FROM sessions"), "1");
    EXPECT_EQ(Database(m_path).value("SELECT count(*) FROM session_search"), "1");
    EXPECT_THAT(m_log.lines(),
                ElementsAre(QStringLiteral("SessionStore: ignored the limit -1, which is out of range"),
                            QStringLiteral("SessionStore: ignored the limit 2147483648, which is out of range")));
}

TEST_F(SessionStore, prunesSessionsAlsoWithoutASearchTable)
{
    open();
    save(QStringLiteral("a"));
    Database(m_path).script("DROP TABLE session_search");

    prune(0);

    EXPECT_EQ(Database(m_path).value("SELECT count(*) FROM sessions"), "0");
}

TEST_F(SessionStore, doesNothingBeforeOpenAndAfterClose)
{
    save(QStringLiteral("early"));
    EXPECT_FALSE(QFileInfo::exists(m_path));
    open();
    save(QStringLiteral("a"));
    m_store.queue().sync([this] { m_store.close(); });

    save(QStringLiteral("late"));
    m_store.updateSearchIndex(QStringLiteral("a"), QStringLiteral("x"), std::nullopt, std::nullopt);
    prune(0);
    insertHistoricalSession({});
    m_store.queue().sync([this] {
        m_store.clearSearchIndex();
        m_store.close();
    });

    EXPECT_FALSE(m_store.queue().sync([this] { return m_store.isOpen(); }));
    EXPECT_THAT(loadAll(), IsEmpty());
    EXPECT_THAT(found(QStringLiteral("a")), IsEmpty());
    EXPECT_THAT(recentSessions(), IsEmpty());
    EXPECT_THAT(sessionsNeedingIndex(), IsEmpty());
    EXPECT_THAT(indexedSessionIDs(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty());
    EXPECT_EQ(Database(m_path).value("SELECT group_concat(id) FROM sessions"), "a");
}

TEST_F(SessionStore, findsItsSessionsAfterAReopen)
{
    open();
    save(QStringLiteral("a"));
    m_store.queue().sync([this] { m_store.close(); });
    EXPECT_FALSE(QFileInfo::exists(m_path + QStringLiteral("-wal"))) << "a closed database is one file";

    open();
    open();

    EXPECT_THAT(identifiers(loadAll()), ElementsAre(QStringLiteral("a")));
}

/// Changes some 25 pages of the database.
void setLongMessage(VantrySession &session, int number)
{
    session.setLastMessage(QString(100'000, QChar(u'a' + number % 2)));
}

TEST_F(SessionStore, keepsTheWriteAheadLogShort)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));

    for (int i = 0; i < 800; ++i) {
        setLongMessage(*session, i);
        save(*session);
    }

    EXPECT_LT(QFileInfo(m_path + QStringLiteral("-wal")).size(), 40'000'000);
}

TEST_F(SessionStore, copiesALongWriteAheadLogWhileOthersHaveTheQueue)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    const qint64 before = QFileInfo(m_path).size();

    // Less than what would be copied on the queue.
    for (int i = 0; i < 80; ++i) {
        setLongMessage(*session, i);
        save(*session);
    }
    while (QFileInfo(m_path).size() == before)
        std::this_thread::yield();

    save(QStringLiteral("b"));
    EXPECT_EQ(loadAll().size(), 2);
}

TEST_F(SessionStore, isOneFileAgainWhenItIsClosedWhileItsLogIsCopied)
{
    const SessionPtr session = makeSession(QStringLiteral("a"));
    for (int round = 0; round < 10; ++round) {
        open();
        for (int i = 0; i < 42; ++i) {
            setLongMessage(*session, i);
            save(*session);
        }
        m_store.queue().sync([this] { m_store.close(); });
        EXPECT_FALSE(QFileInfo::exists(m_path + QStringLiteral("-wal")));
    }
}

TEST_F(SessionStore, readsBesideAStoreThatWrites)
{
    open();
    save(QStringLiteral("a"));
    vantry::SessionStore reader(m_path, m_clock, m_log, vantry::SessionStore::Access::ReadOnly);
    open(reader);
    save(QStringLiteral("b"));

    const auto sessions = reader.queue().sync([&] { return reader.loadAll({}); });

    EXPECT_THAT(identifiers(sessions), ::testing::UnorderedElementsAre(QStringLiteral("a"), QStringLiteral("b")));
}

TEST_F(SessionStore, readsAClosedDatabaseAndLeavesNothingBeside)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("word"));
    m_store.queue().sync([this] { m_store.close(); });
    const QDateTime written = QFileInfo(m_path).lastModified();
    {
        vantry::SessionStore reader(m_path, m_clock, m_log, vantry::SessionStore::Access::ReadOnly);
        open(reader);
        EXPECT_EQ(reader.queue().sync([&] { return reader.search(QStringLiteral("wo"), 20).size(); }), 1);
        EXPECT_EQ(reader.queue().sync([&] { return reader.recentSessions(20).size(); }), 1);
        EXPECT_THAT(QDir(QFileInfo(m_path).path()).entryList(QDir::Files), ElementsAre(QStringLiteral("vantry.db")));
    }
    EXPECT_THAT(QDir(QFileInfo(m_path).path()).entryList(QDir::Files), ElementsAre(QStringLiteral("vantry.db")));
    EXPECT_EQ(QFileInfo(m_path).lastModified(), written);
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(SessionStore, readsADatabaseWithSpecialCharactersInItsPath)
{
    const QString path = m_folder.filePath(QStringLiteral("a?b#c%41 ä/vantry.db"));
    vantry::SessionStore writer(path, m_clock, m_log);
    writer.queue().sync([&] {
        writer.open();
        writer.save(*makeSession(QStringLiteral("a")));
        writer.close();
    });
    vantry::SessionStore reader(path, m_clock, m_log, vantry::SessionStore::Access::ReadOnly);
    open(reader);

    EXPECT_THAT(identifiers(reader.queue().sync([&] { return reader.loadAll({}); })), ElementsAre(QStringLiteral("a")));
}

TEST_F(SessionStore, takesAMissingDatabaseForAnEmptyOneWhenItOnlyReads)
{
    vantry::SessionStore reader(m_path, m_clock, m_log, vantry::SessionStore::Access::ReadOnly);
    open(reader);

    EXPECT_THAT(reader.queue().sync([&] { return reader.recentSessions(20); }), IsEmpty());
    EXPECT_FALSE(reader.queue().sync([&] { return reader.isOpen(); }));
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(m_path).path()));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(SessionStore, changesNothingWhenItOnlyReads)
{
    open();
    save(QStringLiteral("a"));
    vantry::SessionStore reader(m_path, m_clock, m_log, vantry::SessionStore::Access::ReadOnly);
    open(reader);

    reader.queue().sync([&] { reader.save(*makeSession(QStringLiteral("b"))); });

    EXPECT_EQ(Database(m_path).value("SELECT group_concat(id) FROM sessions"), "a");
    EXPECT_THAT(m_log.lines(), ElementsAre(QStringLiteral("SessionStore: failed to save session b: attempt to write a"
                                                          " readonly database")));
}

} // namespace
} // namespace vantry::test
