#include "sessions/SessionStore.h"

#include "StoreFixture.h"

#include <limits>

using namespace std::chrono_literals;

namespace vantry::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using SessionSearch = StoreTest;

HistoricalSession historical(const QString &id)
{
    HistoricalSession value;
    value.id = id;
    value.projectDir = QStringLiteral("/home/u/vantry");
    value.projectName = QStringLiteral("vantry");
    value.gitBranch = QStringLiteral("main");
    value.prompts = QStringLiteral("make it quick");
    value.toolHistory = QStringLiteral("Bash Edit");
    value.summary = QStringLiteral("make it");
    value.firstTimestamp = QStringLiteral("2026-01-01T10:00:00.000Z");
    value.lastTimestamp = QStringLiteral("2026-01-01T11:00:00.000Z");
    value.transcriptPath = QStringLiteral("/t.jsonl");
    return value;
}

TEST_F(SessionSearch, findsASessionByTheBeginningOfAWord)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("refactor the parser"));
    saveIndexed(QStringLiteral("b"), QStringLiteral("write a test"));

    EXPECT_THAT(found(QStringLiteral("ref")), ElementsAre(QStringLiteral("a")));
    EXPECT_THAT(found(QStringLiteral("PARS refac")), ElementsAre(QStringLiteral("a")));
    EXPECT_THAT(found(QStringLiteral("arser")), IsEmpty());
    EXPECT_THAT(found(QStringLiteral("refactor test")), IsEmpty());
}

TEST_F(SessionSearch, findsASessionByEveryIndexedColumn)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("0a1b2c3d-1111"));
    session->setProjectName(QStringLiteral("rocket"));
    session->setCwd(QStringLiteral("/home/u/space/rocket"));
    session->setGitBranch(QStringLiteral("feature/fins"));
    save(*session);
    m_store.updateSearchIndex(session->id(), QStringLiteral("paint"), QStringLiteral("Bash Edit"),
                              QStringLiteral("Done nicely"));

    for (const char *text : { "0a1b2c3d", "rocket", "space", "fins", "paint", "edit", "nicely", "rocket paint bash" })
        EXPECT_EQ(search(QString::fromLatin1(text)).size(), 1) << text;
}

TEST_F(SessionSearch, treatsAHyphenAsABlank)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("a known and well documented rule"));

    EXPECT_THAT(found(QStringLiteral("well-known")), ElementsAre(QStringLiteral("a")));
}

TEST_F(SessionSearch, cannotBeBrokenByAnyText)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("it's main.rs in src/app, a+b AND c"));
    const QStringList texts {
        QStringLiteral("\"main"),
        QStringLiteral("c AND"),
        QStringLiteral("AND OR NOT"),
        QStringLiteral("NOT a"),
        QStringLiteral("NEAR(a b, 3)"),
        QStringLiteral("prompts : x"),
        QStringLiteral("x'; DROP TABLE sessions; --"),
        QStringLiteral("'"),
        QStringLiteral("/"),
        QStringLiteral("+"),
        QStringLiteral(";"),
        QStringLiteral("\\"),
        QStringLiteral("%"),
        QStringLiteral("<>"),
        QStringLiteral(","),
        QStringLiteral(". . ."),
        QStringLiteral("\t"),
        QStringLiteral("\x01"),
        QStringLiteral("🙂 👩‍👩‍👧 é ß 日本"),
        QString(QChar(0xd83d)),
    };

    for (const QString &text : texts)
        EXPECT_LE(search(text).size(), 1);

    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(SessionSearch, findsWordsWithPunctuationAndOperatorsAsTheyAre)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("it's main.rs in src/app, a+b AND c"));
    saveIndexed(QStringLiteral("b"), QStringLiteral("rs of main, app of src, b of a, s of it, c"));

    for (const char *text : { "main.rs", "it's", "src/ap", "a+b", "AND", "and", "c AND" })
        EXPECT_THAT(found(QString::fromLatin1(text)), ElementsAre(QStringLiteral("a"))) << text;
}

TEST_F(SessionSearch, ignoresPiecesThatHoldNoWord)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("one two"));

    EXPECT_THAT(found(QStringLiteral("one / two '")), ElementsAre(QStringLiteral("a")));
    EXPECT_THAT(found(QStringLiteral("/ one")), ElementsAre(QStringLiteral("a")));
    EXPECT_THAT(found(QStringLiteral("/ ' 🙂")), IsEmpty());
}

TEST_F(SessionSearch, runsNoStatementForTextWithoutPieces)
{
    open();
    Database(m_path).script("DROP TABLE session_search");

    EXPECT_THAT(search(QStringLiteral("\"(){}:^-*")), IsEmpty());

    EXPECT_THAT(m_log.lines(), IsEmpty()) << "the missing table would have been noticed";
}

TEST_F(SessionSearch, findsWordsOfOtherScripts)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("Größe ändern, приве́т, 日本語"));

    EXPECT_THAT(found(QStringLiteral("grö")), ElementsAre(QStringLiteral("a")));
    EXPECT_THAT(found(QStringLiteral("grosse")), IsEmpty());
    EXPECT_THAT(found(QStringLiteral("日本")), ElementsAre(QStringLiteral("a")));
}

TEST_F(SessionSearch, answersEndlessText)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("a word and many a word"));

    EXPECT_THAT(found(QStringLiteral("a ").repeated(100'000)), ElementsAre(QStringLiteral("a")));
    EXPECT_THAT(found(QStringLiteral("a.").repeated(100'000)), IsEmpty());
    EXPECT_THAT(found(QString(1'000'000, u'a')), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(SessionSearch, ranksTheBestFirstWithItsScoreAndWholeSummary)
{
    open();
    saveIndexed(QStringLiteral("little"), QStringLiteral("parser and much else that has nothing to do with it"));
    saveIndexed(QStringLiteral("much"), QStringLiteral("parser parser parser"));

    const QList<SessionSearchResult> results = search(QStringLiteral("parser"));

    ASSERT_THAT(identifiers(results), ElementsAre(QStringLiteral("much"), QStringLiteral("little")));
    EXPECT_LT(results[0].rank, results[1].rank);
    EXPECT_LT(results[1].rank, 0);
    EXPECT_EQ(results[0].snippet, QStringLiteral("summary of much"));
}

TEST_F(SessionSearch, countsSessionsNotMatchesAgainstTheLimit)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("word and some more of them"));
    // These are better matches, but their sessions are gone.
    for (int i = 0; i < 5; ++i)
        Database(m_path).script("INSERT INTO session_search (session_id, prompts) VALUES ('gone', 'word')");

    EXPECT_THAT(found(QStringLiteral("word"), 1), ElementsAre(QStringLiteral("a")));
}

TEST_F(SessionSearch, obeysTheLimit)
{
    open();
    for (int i = 0; i < 5; ++i)
        saveIndexed(QStringLiteral("s%1").arg(i), QStringLiteral("word"));

    EXPECT_EQ(search(QStringLiteral("word"), 3).size(), 3);
    EXPECT_EQ(search(QStringLiteral("word"), 0).size(), 0);
    EXPECT_EQ(recentSessions(3).size(), 3);
    EXPECT_EQ(recentSessions(0).size(), 0);
}

TEST_F(SessionSearch, takesALimitOutOfRangeForNone)
{
    open();
    for (int i = 0; i < 5; ++i)
        saveIndexed(QStringLiteral("s%1").arg(i), QStringLiteral("word"));

    EXPECT_EQ(search(QStringLiteral("word"), -1).size(), 5);
    EXPECT_EQ(recentSessions(std::numeric_limits<std::int64_t>::max()).size(), 5);

    EXPECT_THAT(m_log.lines(),
                ElementsAre(QStringLiteral("SessionStore: ignored the limit -1, which is out of range"),
                            QStringLiteral("SessionStore: ignored the limit 9223372036854775807, which is out of"
                                           " range")));
}

TEST_F(SessionSearch, givesNewRecordsEachTime)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("word"));

    const SessionPtr first = search(QStringLiteral("word")).value(0).session;
    first->setGitBranch(QStringLiteral("changed"));
    const SessionPtr second = search(QStringLiteral("word")).value(0).session;

    EXPECT_NE(first, second);
    EXPECT_EQ(second->gitBranch(), std::nullopt);
}

TEST_F(SessionSearch, indexesOnlySavedSessions)
{
    open();

    m_store.updateSearchIndex(QStringLiteral("nobody"), QStringLiteral("word"), std::nullopt, std::nullopt);

    EXPECT_EQ(Database(m_path).value("SELECT count(*) FROM session_search"), "0");
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(SessionSearch, replacesTheRowOfASession)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("first"));
    Database(m_path).script("INSERT INTO session_search (session_id, prompts) VALUES ('a', 'doubled'), ('b', 'kept'),"
                            " ('A', 'kept'), (NULL, 'kept'), ('a b', 'kept')");

    m_store.updateSearchIndex(QStringLiteral("a"), QStringLiteral("second"), std::nullopt, std::nullopt);

    EXPECT_THAT(Database(m_path).run("SELECT session_id, prompts, tool_history FROM session_search ORDER BY rowid"),
                ElementsAre(ElementsAre("b", "kept", "NULL"), ElementsAre("A", "kept", "NULL"),
                            ElementsAre("NULL", "kept", "NULL"), ElementsAre("a b", "kept", "NULL"),
                            ElementsAre("a", "second", "NULL")));
}

TEST_F(SessionSearch, replacesTheRowOfAnIdentifierWithoutWords)
{
    open();
    const QStringList ids { QStringLiteral(""), QStringLiteral("--"), QStringLiteral("🙂"),
                            QStringLiteral("a") + QChar(u'\0') + QStringLiteral("b") };
    for (const QString &id : ids) {
        saveIndexed(id, QStringLiteral("first"));
        saveIndexed(id, QStringLiteral("second"));
    }

    EXPECT_EQ(Database(m_path).value("SELECT count(*) FROM session_search"), "4");
    EXPECT_EQ(search(QStringLiteral("second")).size(), 4);
}

TEST_F(SessionSearch, replacesTheRowInASearchTableOfAnotherMake)
{
    open();
    Database(m_path).script("DROP TABLE session_search; CREATE VIRTUAL TABLE session_search USING fts5(session_id"
                            " UNINDEXED, project_name, project_dir, git_branch, prompts, tool_history, summary)");
    saveIndexed(QStringLiteral("a"), QStringLiteral("first"));
    saveIndexed(QStringLiteral("a"), QStringLiteral("second"));

    EXPECT_EQ(Database(m_path).value("SELECT group_concat(prompts) FROM session_search"), "second");
    EXPECT_EQ(recentSessions().value(0).snippet, QStringLiteral("summary of a"));
}

TEST_F(SessionSearch, takesProjectFieldsFromTheSavedSession)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    session->setProjectName(QStringLiteral("vantry"));
    session->setCwd(QStringLiteral("/home/u/vantry"));
    save(*session);

    m_store.updateSearchIndex(QStringLiteral("a"), std::nullopt, QStringLiteral("Bash"), QStringLiteral(""));

    EXPECT_THAT(Database(m_path).run("SELECT * FROM session_search"),
                ElementsAre(ElementsAre("a", "vantry", "/home/u/vantry", "NULL", "NULL", "Bash", "")));
}

TEST_F(SessionSearch, listsRecentSessionsNewestFirstWithTheirSummaries)
{
    open();
    saveIndexed(QStringLiteral("old"), QStringLiteral("word"));
    m_clock.advance(1s);
    save(QStringLiteral("new"));

    const QList<SessionSearchResult> results = recentSessions();

    ASSERT_THAT(identifiers(results), ElementsAre(QStringLiteral("new"), QStringLiteral("old")));
    EXPECT_EQ(results[0].snippet, std::nullopt);
    EXPECT_EQ(results[1].snippet, QStringLiteral("summary of old"));
    EXPECT_EQ(results[1].rank, 0);
}

TEST_F(SessionSearch, listsSessionsOlderThanADayToo)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("a"));
    session->setLastUpdated(ago(25h));
    save(*session);
    m_store.updateSearchIndex(QStringLiteral("a"), QStringLiteral("word"), std::nullopt, std::nullopt);

    EXPECT_THAT(loadAll(), IsEmpty());
    EXPECT_THAT(found(QStringLiteral("word")), ElementsAre(QStringLiteral("a")));
    EXPECT_THAT(identifiers(recentSessions()), ElementsAre(QStringLiteral("a")));
}

TEST_F(SessionSearch, wantsAnIndexForEndedSessionsWithoutARow)
{
    open();
    for (const char *id : { "ended", "indexed" }) {
        const SessionPtr session = makeSession(QString::fromLatin1(id));
        session->setEndedAt(m_clock.now());
        save(*session);
    }
    m_store.updateSearchIndex(QStringLiteral("indexed"), std::nullopt, std::nullopt, std::nullopt);
    const SessionPtr dead = makeSession(QStringLiteral("only dead"));
    dead->setAlive(false);
    save(*dead);
    Database(m_path).script("INSERT INTO session_search (session_id) VALUES (NULL)");

    EXPECT_THAT(sessionsNeedingIndex(), ElementsAre(QStringLiteral("ended")));
}

TEST_F(SessionSearch, clearsTheIndexAndNothingElse)
{
    open();
    saveIndexed(QStringLiteral("a"), QStringLiteral("word"));
    EXPECT_THAT(indexedSessionIDs(), UnorderedElementsAre(QStringLiteral("a")));

    m_store.queue().sync([this] { m_store.clearSearchIndex(); });

    EXPECT_THAT(indexedSessionIDs(), IsEmpty());
    EXPECT_THAT(found(QStringLiteral("word")), IsEmpty());
    EXPECT_THAT(identifiers(loadAll()), ElementsAre(QStringLiteral("a")));
}

TEST_F(SessionSearch, tellsWhichSessionsAreIndexedWithoutNulls)
{
    open();
    Database(m_path).script("INSERT INTO session_search (session_id) VALUES ('a'), (NULL), ('a'), ('')");

    EXPECT_THAT(indexedSessionIDs(), UnorderedElementsAre(QStringLiteral("a"), QString()));
}

TEST_F(SessionSearch, bringsInASessionFromAnOldTranscript)
{
    open();

    insertHistoricalSession(historical(QStringLiteral("h")));

    EXPECT_THAT(
        Database(m_path).run("SELECT id, session_id, agent_tool, project_dir, project_name, status, transcript_path,"
                             " git_branch, created_at, updated_at, ended_at FROM sessions"),
        ElementsAre(ElementsAre("h", "h", "claude-code", "/home/u/vantry", "vantry", "ready", "/t.jsonl", "main",
                                "2026-01-01T10:00:00.000Z", "2026-01-01T11:00:00.000Z", "2026-01-01T11:00:00.000Z")));
    const QList<SessionSearchResult> results = search(QStringLiteral("quick"));
    ASSERT_EQ(results.size(), 1);
    EXPECT_EQ(results[0].snippet, QStringLiteral("make it"));
    EXPECT_FALSE(results[0].session->isAlive());
    EXPECT_THAT(sessionsNeedingIndex(), IsEmpty());
}

TEST_F(SessionSearch, leavesTheRowOfASessionThatIsKnownAlready)
{
    open();
    const SessionPtr session = makeSession(QStringLiteral("h"));
    session->setProjectName(QStringLiteral("own name"));
    save(*session);

    insertHistoricalSession(historical(QStringLiteral("h")));

    EXPECT_THAT(Database(m_path).run("SELECT project_name, transcript_path FROM sessions"),
                ElementsAre(ElementsAre("own name", "NULL")));
    EXPECT_THAT(found(QStringLiteral("quick")), ElementsAre(QStringLiteral("h")));
}

TEST_F(SessionSearch, takesTheFirstDateWhereAnOldTranscriptHasNoLast)
{
    open();
    HistoricalSession value = historical(QStringLiteral("h"));
    value.lastTimestamp.reset();

    insertHistoricalSession(value);

    EXPECT_THAT(Database(m_path).run("SELECT created_at, updated_at, ended_at FROM sessions"),
                ElementsAre(ElementsAre("2026-01-01T10:00:00.000Z", "2026-01-01T10:00:00.000Z", "NULL")));
}

TEST_F(SessionSearch, indexesAnOldTranscriptWithoutDatesAndSaysNothing)
{
    open();
    HistoricalSession value = historical(QStringLiteral("h"));
    value.firstTimestamp.reset();
    value.lastTimestamp.reset();

    insertHistoricalSession(value);

    EXPECT_EQ(Database(m_path).value("SELECT count(*) FROM sessions"), "0");
    EXPECT_THAT(indexedSessionIDs(), UnorderedElementsAre(QStringLiteral("h")));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(SessionSearch, leavesTheSearchRowOfAnOldTranscriptsSessionThatHasOne)
{
    open();
    saveIndexed(QStringLiteral("h"), QStringLiteral("own words"));

    insertHistoricalSession(historical(QStringLiteral("h")));

    EXPECT_EQ(Database(m_path).value("SELECT group_concat(prompts) FROM session_search"), "own words");
}

TEST_F(SessionSearch, replacesTheSearchRowOfAnOldTranscriptWhenItsSessionEnds)
{
    open();
    insertHistoricalSession(historical(QStringLiteral("h")));

    saveIndexed(QStringLiteral("h"), QStringLiteral("own words"));

    EXPECT_EQ(Database(m_path).value("SELECT group_concat(prompts) FROM session_search"), "own words");
}

// ---- Which old transcripts were taken ----

HistoricalSession stamped(const QString &id, const QString &stamp)
{
    HistoricalSession value = historical(id);
    value.transcriptPath = u'/' + id;
    value.transcriptStamp = stamp;
    return value;
}

TEST_F(SessionSearch, remembersWhichTranscriptsWereTakenAndInWhichState)
{
    const QString path = QStringLiteral("/h");
    EXPECT_FALSE(hasTakenTranscript(path, QStringLiteral("1"))) << "the store is closed";
    open();
    EXPECT_FALSE(hasTakenTranscript(path, QStringLiteral("1")));
    insertHistoricalSession(stamped(QStringLiteral("h"), QStringLiteral("1")));
    EXPECT_TRUE(hasTakenTranscript(path, QStringLiteral("1")));
    EXPECT_FALSE(hasTakenTranscript(path, QStringLiteral("2")));

    prune(0);
    EXPECT_TRUE(hasTakenTranscript(path, QStringLiteral("1")));

    insertHistoricalSession(stamped(QStringLiteral("h"), QStringLiteral("2")));
    EXPECT_FALSE(hasTakenTranscript(path, QStringLiteral("1")));
    EXPECT_TRUE(hasTakenTranscript(path, QStringLiteral("2")));
}

TEST_F(SessionSearch, remembersTheTranscriptOfASessionThatWasIndexedByItsEvents)
{
    open();
    saveIndexed(QStringLiteral("h"), QStringLiteral("own words"));
    insertHistoricalSession(stamped(QStringLiteral("h"), QStringLiteral("1")));
    EXPECT_TRUE(hasTakenTranscript(QStringLiteral("/h"), QStringLiteral("1")));
}

TEST_F(SessionSearch, remembersNoTranscriptThatCouldNotBeIndexed)
{
    open();
    Database(m_path).script("DROP TABLE session_search");
    insertHistoricalSession(stamped(QStringLiteral("h"), QStringLiteral("1")));
    EXPECT_FALSE(hasTakenTranscript(QStringLiteral("/h"), QStringLiteral("1")));
}

TEST_F(SessionSearch, forgetsTheOldestOfTooManyTranscripts)
{
    open();
    Database database(m_path);
    database.script("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000)"
                    " INSERT INTO taken_transcripts (path, stamp) SELECT '/' || i, '1' FROM n");

    insertHistoricalSession(stamped(QStringLiteral("h"), QStringLiteral("1")));

    EXPECT_EQ(database.value("SELECT count(*) FROM taken_transcripts"), "100000");
    EXPECT_FALSE(hasTakenTranscript(QStringLiteral("/1"), QStringLiteral("1")));
    EXPECT_TRUE(hasTakenTranscript(QStringLiteral("/2"), QStringLiteral("1")));
    EXPECT_TRUE(hasTakenTranscript(QStringLiteral("/h"), QStringLiteral("1")));
}

TEST_F(SessionSearch, forgetsTheTranscriptsWhenTheIndexIsCleared)
{
    open();
    insertHistoricalSession(stamped(QStringLiteral("h"), QStringLiteral("1")));
    m_store.queue().sync([this] { m_store.clearSearchIndex(); });
    EXPECT_FALSE(hasTakenTranscript(QStringLiteral("/h"), QStringLiteral("1")));

    insertHistoricalSession(stamped(QStringLiteral("h"), QStringLiteral("1")));
    EXPECT_FALSE(clearSearchRows(0, {}));
    EXPECT_FALSE(hasTakenTranscript(QStringLiteral("/h"), QStringLiteral("1")));
}

TEST_F(SessionSearch, takesTranscriptsWhereTheyCannotBeRemembered)
{
    open();
    Database(m_path).script("DROP TABLE taken_transcripts");
    insertHistoricalSession(stamped(QStringLiteral("h"), QStringLiteral("1")));
    EXPECT_FALSE(hasTakenTranscript(QStringLiteral("/h"), QStringLiteral("1")));
    EXPECT_THAT(indexedSessionIDs(), UnorderedElementsAre(QStringLiteral("h")));
    EXPECT_THAT(found(QStringLiteral("quick")), ElementsAre(QStringLiteral("h")));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

// ---- Old transcripts and the clearing of the index, piece by piece ----

TEST_F(SessionSearch, takesAtLeastOneOldTranscriptAtATime)
{
    open();
    const std::vector<HistoricalSession> values { historical(QStringLiteral("a")), historical(QStringLiteral("b")) };

    EXPECT_EQ(insertHistoricalSessions(values, std::chrono::nanoseconds::zero()), (HistoryProgress { 1, 1 }));
    EXPECT_THAT(indexedSessionIDs(), UnorderedElementsAre(QStringLiteral("a")));
}

TEST_F(SessionSearch, takesAsManyOldTranscriptsAsTheTimeAllows)
{
    open();
    saveIndexed(QStringLiteral("b"), QStringLiteral("own words"));
    const std::vector<HistoricalSession> values { historical(QStringLiteral("a")), historical(QStringLiteral("b")),
                                                  historical(QStringLiteral("c")) };

    EXPECT_EQ(insertHistoricalSessions(values, std::chrono::seconds(1)), (HistoryProgress { 3, 2 }));
    EXPECT_THAT(indexedSessionIDs(),
                UnorderedElementsAre(QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")));
}

TEST_F(SessionSearch, takesNoOldTranscriptIntoAStoreThatIsClosedOrHasNoIndex)
{
    const std::vector<HistoricalSession> values { historical(QStringLiteral("a")) };
    EXPECT_EQ(insertHistoricalSessions(values, std::chrono::seconds(1)), std::nullopt);
    open();
    Database(m_path).script("DROP TABLE session_search");
    EXPECT_EQ(insertHistoricalSessions(values, std::chrono::seconds(1)), (HistoryProgress { 1, 0 }));
    EXPECT_EQ(Database(m_path).value("SELECT count(*) FROM sessions"), "0")
        << "a session without a search row would be indexed by its row alone";
}

TEST_F(SessionSearch, clearsTheIndexRowByRowUpToTheOneThatWasLast)
{
    open();
    EXPECT_EQ(lastSearchRow(), std::nullopt);
    saveIndexed(QStringLiteral("a"), QStringLiteral("word"));
    saveIndexed(QStringLiteral("b"), QStringLiteral("word"));
    const std::int64_t last = lastSearchRow().value();

    EXPECT_TRUE(clearSearchRows(last, std::chrono::nanoseconds::zero()));
    EXPECT_THAT(indexedSessionIDs(), UnorderedElementsAre(QStringLiteral("b")));
    saveIndexed(QStringLiteral("new"), QStringLiteral("word"));
    EXPECT_FALSE(clearSearchRows(last, std::chrono::nanoseconds::zero()));
    EXPECT_THAT(indexedSessionIDs(), UnorderedElementsAre(QStringLiteral("new")));
    EXPECT_FALSE(clearSearchRows(last, std::chrono::nanoseconds::zero()));
    EXPECT_THAT(found(QStringLiteral("word")), ElementsAre(QStringLiteral("new")));
}

TEST_F(SessionSearch, clearsAllRowsInOneGoWhereTimeAllows)
{
    open();
    for (int i = 0; i < 20; ++i)
        saveIndexed(QString::number(i), QStringLiteral("word"));

    EXPECT_FALSE(clearSearchRows(lastSearchRow().value(), std::chrono::seconds(1)));
    EXPECT_THAT(indexedSessionIDs(), IsEmpty());
    EXPECT_EQ(identifiers(recentSessions(100)).size(), 20);
}

TEST_F(SessionSearch, doesNotClearAStoreThatIsClosed)
{
    EXPECT_EQ(lastSearchRow(), std::nullopt);
    EXPECT_FALSE(clearSearchRows(1, std::chrono::seconds(1)));
}

TEST_F(SessionSearch, keepsTheIndexInFewSegments)
{
    open();
    for (int i = 0; i < 200; ++i)
        saveIndexed(QString::number(i), QStringLiteral("word%1 and more").arg(i));
    Database database(m_path);

    // Merging goes on after the last change, in turns of the queue.
    int segments = 200;
    for (int turn = 0; turn < 200 && segments > 16; ++turn) {
        m_store.queue().sync([] {});
        segments = std::stoi(database.value("SELECT count(DISTINCT segid) FROM session_search_idx"));
    }
    EXPECT_LE(segments, 16);
    database.script("INSERT INTO session_search(session_search) VALUES('integrity-check')");
    EXPECT_THAT(found(QStringLiteral("word77")), ElementsAre(QStringLiteral("77")));
}

TEST_F(SessionSearch, mergesAnIndexThatWasMadeToMergeByItself)
{
    open();
    Database(m_path).script("INSERT INTO session_search(session_search, rank) VALUES ('automerge', 8)");

    open();

    EXPECT_EQ(Database(m_path).value("SELECT v FROM session_search_config WHERE k = 'automerge'"), "0");
}

} // namespace
} // namespace vantry::test
