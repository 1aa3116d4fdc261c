#include "sessions/SessionManagerFixture.h"

#include <QStringList>

namespace vantry {
namespace {

using test::EventBuilder;
using test::FakeSessionStore;
using Type = HookEventType;
using State = SessionState;

/// Restore at start, liveness, clean-up and kill.
class SessionLife : public test::SessionManagerFixture
{
protected:
    SessionPtr keepRow(const QString &id, std::optional<std::int64_t> pid, std::optional<double> startTime,
                       State state = State::working)
    {
        VantrySession::Init init;
        init.id = id;
        init.pid = pid;
        init.pidStartTime = startTime;
        init.state = state;
        init.lastUpdated = clock.now();
        init.startedAt = clock.now();
        const auto row = std::make_shared<VantrySession>(init);
        store.stored.append(row);
        return row;
    }
    SessionPtr liveSession(std::int64_t pid = 50)
    {
        startProcess(pid);
        handle(EventBuilder(Type::sessionStart).pid(pid));
        store.journal.clear();
        return session();
    }
};

TEST_F(SessionLife, restoreBringsBackSessionsWhoseProcessRuns)
{
    startProcess(50);
    keepRow(QStringLiteral("a"), 50, 1'000.0, State::needsPermission);
    startProcess(51);
    keepRow(QStringLiteral("b"), 51, 1'000.25, State::hasQuestion);

    manager.restoreSessions();

    ASSERT_EQ(manager.sessions().size(), 2);
    EXPECT_EQ(manager.sessions()[0]->id(), QStringLiteral("a"));
    EXPECT_EQ(manager.sessions()[0]->state(), State::needsPermission);
    EXPECT_EQ(manager.sessions()[1]->state(), State::hasQuestion);
    EXPECT_TRUE(manager.sessions()[0]->isAlive());
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: loaded 2 sessions from DB (2 confirmed alive via PID)")));
    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("open"), QStringLiteral("loadAll"),
                                            QStringLiteral("publish"), QStringLiteral("sessionsNeedingIndex") }));
}

struct StoredRow
{
    const char *name;
    std::optional<std::int64_t> pid;
    std::optional<double> startTime;
    bool ended;
    bool comesBack;
};

class StoredSession : public SessionLife, public ::testing::WithParamInterface<StoredRow>
{};

TEST_P(StoredSession, comesBackOnlyWhenItsProcessIsProven)
{
    startProcess(50, 1'000.0);
    startProcess(1, 1'000.0);
    const SessionPtr row = keepRow(QStringLiteral("a"), GetParam().pid, GetParam().startTime);
    // So the store reads a row with an end, also when the end's date can't be read.
    row->setAlive(!GetParam().ended);

    manager.restoreSessions();

    EXPECT_EQ(!manager.sessions().isEmpty(), GetParam().comesBack);
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: loaded 1 sessions from DB (%1 confirmed alive via PID)")
                                 .arg(GetParam().comesBack ? 1 : 0)));
}

INSTANTIATE_TEST_SUITE_P(Rows, StoredSession,
                         ::testing::Values(StoredRow { "Running", 50, 1'000.0, false, true },
                                           StoredRow { "EarlierByLessThanASecond", 50, 999.01, false, true },
                                           StoredRow { "LaterByLessThanASecond", 50, 1'000.99, false, true },
                                           StoredRow { "LaterByASecond", 50, 1'001.0, false, false },
                                           StoredRow { "EarlierByASecond", 50, 999.0, false, false },
                                           StoredRow { "Gone", 51, 1'000.0, false, false },
                                           StoredRow { "WithoutPid", std::nullopt, 1'000.0, false, false },
                                           StoredRow { "PidOne", 1, 1'000.0, false, false },
                                           StoredRow { "WithoutStartTime", 50, std::nullopt, false, false },
                                           StoredRow { "Ended", 50, 1'000.0, true, false }),
                         [](const auto &instance) { return std::string(instance.param.name); });

TEST_F(SessionLife, restoreLeavesASessionThatIsThereAlready)
{
    const SessionPtr live = liveSession();
    keepRow(QStringLiteral("s"), 50, 1'000.25);

    manager.restoreSessions();

    EXPECT_EQ(manager.sessions(), QList<SessionPtr> { live });
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: loaded 1 sessions from DB (0 confirmed alive via PID)")));
}

TEST_F(SessionLife, ofRestoredSessionsWithOnePidTheLastUpdatedStaysAlive)
{
    startProcess(50, 1'000.0);
    keepRow(QStringLiteral("older"), 50, 1'000.0);
    clock.advance(Seconds { 1 });
    keepRow(QStringLiteral("latest"), 50, 1'000.0);
    clock.advance(Seconds { -2 });
    keepRow(QStringLiteral("oldest"), 50, 1'000.0);

    manager.restoreSessions();

    EXPECT_FALSE(session(QStringLiteral("older"))->isAlive());
    EXPECT_TRUE(session(QStringLiteral("latest"))->isAlive());
    EXPECT_FALSE(session(QStringLiteral("oldest"))->isAlive());
    EXPECT_EQ(session(QStringLiteral("older"))->state(), State::working) << "only the mark changes";
}

TEST_F(SessionLife, ofRestoredSessionsUpdatedTogetherTheFirstStaysAlive)
{
    startProcess(50, 1'000.0);
    keepRow(QStringLiteral("first"), 50, 1'000.0);
    keepRow(QStringLiteral("second"), 50, 1'000.0);

    manager.restoreSessions();

    EXPECT_TRUE(session(QStringLiteral("first"))->isAlive());
    EXPECT_FALSE(session(QStringLiteral("second"))->isAlive());
}

TEST_F(SessionLife, endedSessionsWithoutSearchRowAreCaughtUpWith)
{
    keepRow(QStringLiteral("a"), std::nullopt, std::nullopt)->setLastPrompt(QStringLiteral("prompt"));
    const SessionPtr b = keepRow(QStringLiteral("b"), std::nullopt, std::nullopt);
    b->setLastPrompt(QStringLiteral("prompt"));
    b->setLastMessage(QStringLiteral("message"));
    store.needingIndex = { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("ancient") };

    manager.restoreSessions();

    using Entry = FakeSessionStore::IndexEntry;
    const QString prompt = QStringLiteral("prompt");
    EXPECT_EQ(store.index.value(QStringLiteral("a")), (Entry { prompt, std::nullopt, prompt }));
    EXPECT_EQ(store.index.value(QStringLiteral("b")), (Entry { prompt, std::nullopt, QStringLiteral("message") }));
    ASSERT_TRUE(store.index.contains(QStringLiteral("ancient")));
    EXPECT_EQ(store.index.value(QStringLiteral("ancient")), Entry {});
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: catch-up indexing 3 sessions")));
}

TEST_F(SessionLife, nothingToCatchUpWithIsNotLogged)
{
    manager.restoreSessions();

    EXPECT_EQ(log.lines(),
              QStringList { QStringLiteral("SessionManager: loaded 0 sessions from DB (0 confirmed alive via PID)") });
}

TEST_F(SessionLife, verifiedSessionStaysAliveForDays)
{
    const SessionPtr session = liveSession();
    clock.advance(Seconds { 3 * 86'400 });

    manager.checkLiveness();

    EXPECT_TRUE(session->isAlive());
    EXPECT_TRUE(store.journal.isEmpty());
}

TEST_F(SessionLife, livenessSamplesTheDiffOfEveryAliveSessionWithADirectory)
{
    const SessionPtr alive = liveSession();
    alive->setCwd(QStringLiteral("/nonexistent"));
    handle(EventBuilder(Type::stop).session(QStringLiteral("nowhere")));
    handle(EventBuilder(Type::stop).session(QStringLiteral("dead")).cwd(QStringLiteral("/nonexistent")));
    session(QStringLiteral("dead"))->setAlive(false);

    manager.checkLiveness();
    finishSampling();

    EXPECT_EQ(alive->gitLinesAdded(), 0);
    EXPECT_EQ(alive->gitLinesRemoved(), 0);
    EXPECT_EQ(session(QStringLiteral("nowhere"))->gitLinesAdded(), std::nullopt);
    EXPECT_EQ(session(QStringLiteral("dead"))->gitLinesAdded(), std::nullopt);
}

TEST_F(SessionLife, vanishedProcessFinishesTheSession)
{
    const SessionPtr session = liveSession();
    session->setState(State::needsPermission);
    processes.processes.clear();
    clock.advance(Seconds { 10 });

    manager.checkLiveness();

    EXPECT_FALSE(session->isAlive());
    EXPECT_EQ(session->state(), State::ready);
    EXPECT_EQ(session->lastUpdated(), clock.now());
    EXPECT_EQ(session->endedAt(), std::nullopt);
    EXPECT_EQ(session->statusText(), QStringLiteral("Finished"));
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: PID 50 for session s is no longer alive")));
    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("save s"), QStringLiteral("publish") }));
}

TEST_F(SessionLife, severalDeadSessionsArePublishedOnce)
{
    liveSession(50);
    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("t")).pid(51));
    store.journal.clear();
    processes.processes.clear();

    manager.checkLiveness();

    EXPECT_EQ(store.journal,
              (QStringList { QStringLiteral("save s"), QStringLiteral("save t"), QStringLiteral("publish") }));
}

TEST_F(SessionLife, startTimeMayDifferByLessThanASecond)
{
    const SessionPtr session = liveSession();
    processes.processes[50] += 0.99;

    manager.checkLiveness();

    EXPECT_TRUE(session->isAlive());
}

TEST_F(SessionLife, processThatStartedASecondLaterIsAnother)
{
    const SessionPtr session = liveSession();
    processes.processes[50] += 1.0;

    manager.checkLiveness();

    EXPECT_FALSE(session->isAlive());
}

TEST_F(SessionLife, pidWithoutStartTimeIsDeadAtTheFirstTick)
{
    handle(EventBuilder(Type::sessionStart).pid(50));
    startProcess(50);

    manager.checkLiveness();

    EXPECT_FALSE(session()->isAlive());
}

TEST_F(SessionLife, sessionWithoutPidLivesThrough120SecondsOfSilence)
{
    const SessionPtr session = sessionIn(State::working);
    clock.advance(Seconds { 120 });

    manager.checkLiveness();

    EXPECT_TRUE(session->isAlive());
}

TEST_F(SessionLife, sessionWithoutPidDiesAfter120SecondsOfSilence)
{
    const SessionPtr session = sessionIn(State::working);
    clock.advance(Seconds { 120.001 });

    manager.checkLiveness();

    EXPECT_FALSE(session->isAlive());
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: session s has no verified PID and timed out")));
}

TEST_F(SessionLife, pidOfOneIsNoPid)
{
    const SessionPtr session = sessionIn(State::working);
    session->setPid(1);
    clock.advance(Seconds { 121 });

    manager.checkLiveness();

    EXPECT_FALSE(session->isAlive());
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: session s has no verified PID and timed out")));
}

TEST_F(SessionLife, observerMayActOnTheManagerDuringTheLivenessCheck)
{
    const SessionPtr first = liveSession(50);
    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("t")).pid(51));
    processes.processes.clear();
    QObject::connect(first.get(), &VantrySession::changed, &manager, [this] {
        if (!session(QStringLiteral("u")))
            handle(EventBuilder(Type::sessionStart).session(QStringLiteral("u")));
    });

    manager.checkLiveness();

    EXPECT_EQ(manager.sessions().size(), 3);
    EXPECT_FALSE(session(QStringLiteral("t"))->isAlive());
    EXPECT_TRUE(session(QStringLiteral("u"))->isAlive());
}

TEST_F(SessionLife, finishedSessionStaysInTheListFor300Seconds)
{
    sessionIn(State::ready);
    handle(EventBuilder(Type::sessionEnd));
    clock.advance(Seconds { 300 });
    store.journal.clear();

    manager.cleanUpSessions();

    EXPECT_EQ(manager.sessions().size(), 1);
    EXPECT_EQ(store.journal, QStringList { QStringLiteral("prune 1000") });
}

TEST_F(SessionLife, cleanUpTakesOldFinishedSessionsAndKeepsTheOrder)
{
    for (const auto &id : { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d") })
        handle(EventBuilder(Type::stop).session(id));
    handle(EventBuilder(Type::sessionEnd).session(QStringLiteral("b")));
    handle(EventBuilder(Type::sessionEnd).session(QStringLiteral("c")));
    clock.advance(Seconds { 301 });
    store.journal.clear();

    manager.cleanUpSessions();

    ASSERT_EQ(manager.sessions().size(), 2);
    EXPECT_EQ(manager.sessions()[0]->id(), QStringLiteral("a"));
    EXPECT_EQ(manager.sessions()[1]->id(), QStringLiteral("d"));
    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("publish"), QStringLiteral("prune 1000") }));
}

TEST_F(SessionLife, killSignalsTheProvenProcessAndEndsTheSession)
{
    const SessionPtr session = liveSession();
    handle(EventBuilder(Type::userPromptSubmit).prompt(QStringLiteral("p")));
    store.journal.clear();
    clock.advance(Seconds { 4 });

    manager.killSession(session);

    EXPECT_EQ(processes.terminated, QList<std::int64_t> { 50 });
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: killing session s (PID 50)")));
    EXPECT_FALSE(session->isAlive());
    EXPECT_EQ(session->state(), State::ready);
    EXPECT_EQ(session->endedAt(), clock.now());
    EXPECT_EQ(session->lastUpdated(), clock.now());
    EXPECT_EQ(store.index.value(QStringLiteral("s")).prompts, QStringLiteral("p"));
    EXPECT_EQ(store.journal,
              (QStringList { QStringLiteral("index s"), QStringLiteral("save s"), QStringLiteral("publish") }));
}

TEST_F(SessionLife, killNeverSignalsAReusedPid)
{
    const SessionPtr session = liveSession();
    processes.processes[50] += 5;

    manager.killSession(session);

    EXPECT_TRUE(processes.terminated.isEmpty());
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: PID 50 no longer matches session s")));
    EXPECT_FALSE(session->isAlive());
    EXPECT_TRUE(session->endedAt().has_value());
}

class UnverifiedPid
    : public SessionLife,
      public ::testing::WithParamInterface<std::pair<std::optional<std::int64_t>, std::optional<double>>>
{};

TEST_P(UnverifiedPid, isNeverSignalled)
{
    const SessionPtr session = sessionIn(State::working);
    startProcess(1);
    startProcess(50);
    session->setPid(GetParam().first);
    session->setPidStartTime(GetParam().second);

    manager.killSession(session);

    EXPECT_TRUE(processes.terminated.isEmpty());
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: cannot kill session s — no verified PID")));
    EXPECT_FALSE(session->isAlive());
}

INSTANTIATE_TEST_SUITE_P(Pids, UnverifiedPid,
                         ::testing::Values(std::pair(std::nullopt, 1'000.25), std::pair(1, 1'000.25),
                                           std::pair(-1, 1'000.25), std::pair(50, std::nullopt)));

TEST_F(SessionLife, managerMayGoWhileADiffIsSampled)
{
    auto shortLived = std::make_unique<SessionManager>(store, processes, git, held, clock, log);
    shortLived->handleEvent(EventBuilder(Type::sessionStart).cwd(QStringLiteral("/nonexistent")));
    const SessionPtr session = shortLived->session(QStringLiteral("s"));

    shortLived.reset();
    finishSampling();

    EXPECT_EQ(session->gitLinesAdded(), 0);
}

TEST_F(SessionLife, turnThatTheTranscriptEndsIsSavedAndPublished)
{
    const SessionPtr session = sessionIn(State::working);
    session->setToolName(QStringLiteral("Bash"));
    clock.advance(Seconds { 30 });

    manager.turnEnded(session);

    EXPECT_EQ(session->state(), State::ready);
    EXPECT_EQ(session->lastUpdated(), clock.now());
    EXPECT_EQ(session->toolName(), QStringLiteral("Bash"));
    EXPECT_TRUE(session->isAlive());
    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("save s"), QStringLiteral("publish") }));
    EXPECT_EQ(store.rows[QStringLiteral("s")].state, State::ready);
    EXPECT_EQ(attentionCalls(), 0);
}

} // namespace
} // namespace vantry
