#include "sessions/SessionManagerFixture.h"

#include <QDir>
#include <QStringList>

#include <limits>

namespace vantry {
namespace {

using test::EventBuilder;
using Type = HookEventType;
using State = SessionState;

/// How records come into the list, what they take from events, and who owns a PID.
class SessionManagerList : public test::SessionManagerFixture
{
protected:
    [[nodiscard]] QStringList ids() const
    {
        QStringList all;
        for (const SessionPtr &session : manager.sessions())
            all.append(session->id());
        return all;
    }
};

TEST_F(SessionManagerList, launchTimeIsThatOfTheConstruction)
{
    const Date made = clock.now();
    clock.advance(Seconds { 10 });

    EXPECT_EQ(manager.launchTime(), made);
}

TEST_F(SessionManagerList, sessionsStandInOrderOfArrival)
{
    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("b")));
    handle(EventBuilder(Type::stop).session(QStringLiteral("a")));
    handle(EventBuilder(Type::stop).session(QStringLiteral("b")));

    EXPECT_EQ(ids(), (QStringList { QStringLiteral("b"), QStringLiteral("a") }));
}

TEST_F(SessionManagerList, unknownSessionIsMadeByAnyEvent)
{
    handle(EventBuilder(Type::subagentStart).terminal(QStringLiteral("tmux-pane"), QStringLiteral("x,%1")));

    ASSERT_TRUE(session());
    EXPECT_EQ(session()->state(), State::working);
    EXPECT_EQ(session()->agentTool(), AgentTool::claudeCode);
    EXPECT_EQ(session()->terminalType(), QStringLiteral("tmux-pane"));
    EXPECT_EQ(session()->terminalSessionID(), QStringLiteral("x,%1"));
    EXPECT_EQ(session()->startedAt(), clock.now());
    EXPECT_TRUE(session()->isAlive());
    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("save s"), QStringLiteral("publish") }));
}

TEST_F(SessionManagerList, newSessionStartSamplesTheDiffAndOtherFirstEventsDoNot)
{
    handle(EventBuilder(Type::sessionStart).cwd(QStringLiteral("/nonexistent")));
    handle(EventBuilder(Type::stop).session(QStringLiteral("t")).cwd(QStringLiteral("/nonexistent")));
    finishSampling();

    EXPECT_EQ(session()->gitLinesAdded(), 0);
    EXPECT_EQ(session(QStringLiteral("t"))->gitLinesAdded(), std::nullopt);
}

TEST_F(SessionManagerList, knownSessionStartDoesNotSampleTheDiff)
{
    handle(EventBuilder(Type::sessionStart));

    handle(EventBuilder(Type::sessionStart).cwd(QStringLiteral("/nonexistent")));
    finishSampling();

    EXPECT_EQ(session()->gitLinesAdded(), std::nullopt);
}

TEST_F(SessionManagerList, projectDirNamesTheProjectAlways)
{
    handle(EventBuilder(Type::stop).projectDir(QStringLiteral("/home/u/one")).cwd(QStringLiteral("/home/u/one/sub")));
    handle(EventBuilder(Type::stop).projectDir(QStringLiteral("/home/u/two/")));

    EXPECT_EQ(session()->cwd(), QStringLiteral("/home/u/two/"));
    EXPECT_EQ(session()->projectName(), QStringLiteral("two"));
}

TEST_F(SessionManagerList, cwdNamesTheProjectOnlyWhileItHasNoName)
{
    handle(EventBuilder(Type::stop).cwd(QStringLiteral("/home/u/one")));
    handle(EventBuilder(Type::stop).cwd(QStringLiteral("/home/u/two")));

    EXPECT_EQ(session()->cwd(), QStringLiteral("/home/u/two"));
    EXPECT_EQ(session()->projectName(), QStringLiteral("one"));
}

TEST_F(SessionManagerList, rootHasANameOfItsOwn)
{
    handle(EventBuilder(Type::stop).cwd(QStringLiteral("//")));

    EXPECT_EQ(session()->projectName(), QStringLiteral("/"));
}

TEST_F(SessionManagerList, pathWithoutSeparatorIsItsOwnName)
{
    handle(EventBuilder(Type::stop).cwd(QStringLiteral("folder")));

    EXPECT_EQ(session()->projectName(), QStringLiteral("folder"));
}

TEST_F(SessionManagerList, emptyTextsChangeNothingButToolAndTerminal)
{
    startProcess(50);
    handle(EventBuilder(Type::stop)
               .projectDir(QStringLiteral("/p"))
               .prompt(QStringLiteral("prompt"))
               .tool(QStringLiteral("Bash"))
               .detail(QStringLiteral("ls"))
               .transcriptPath(QStringLiteral("/t"))
               .terminal(QStringLiteral("tmux-pane"), QStringLiteral("1")));

    handle(EventBuilder(Type::stop)
               .projectDir(QString())
               .cwd(QString())
               .prompt(QString())
               .tool(QString())
               .detail(QString())
               .transcriptPath(QString())
               .terminal(QString(), QString()));

    EXPECT_EQ(session()->cwd(), QStringLiteral("/p"));
    EXPECT_EQ(session()->lastPrompt(), QStringLiteral("prompt"));
    EXPECT_EQ(session()->toolName(), QString());
    EXPECT_EQ(session()->toolDetail(), QStringLiteral("ls"));
    EXPECT_EQ(session()->transcriptPath(), QStringLiteral("/t"));
    EXPECT_EQ(session()->terminalType(), QString());
    EXPECT_EQ(session()->terminalSessionID(), QString());
}

TEST_F(SessionManagerList, eventThatCarriesNothingClearsNothing)
{
    startProcess(50);
    handle(EventBuilder(Type::subagentStop)
               .projectDir(QStringLiteral("/p"))
               .tool(QStringLiteral("Bash"))
               .detail(QStringLiteral("ls"))
               .pid(50)
               .shellPid(51));

    handle(EventBuilder(Type::subagentStop));

    EXPECT_EQ(session()->cwd(), QStringLiteral("/p"));
    EXPECT_EQ(session()->toolName(), QStringLiteral("Bash"));
    EXPECT_EQ(session()->toolDetail(), QStringLiteral("ls"));
    EXPECT_EQ(session()->pid(), 50);
    EXPECT_EQ(session()->pidStartTime(), 1'000.25);
    EXPECT_EQ(session()->shellPid(), 51);
}

TEST_F(SessionManagerList, pidOfAProcessThatHasGoneHasNoStartTime)
{
    startProcess(50);
    handle(EventBuilder(Type::stop).pid(50));

    handle(EventBuilder(Type::stop).pid(60));

    EXPECT_EQ(session()->pid(), 60);
    EXPECT_EQ(session()->pidStartTime(), std::nullopt);
}

class UnusablePid : public SessionManagerList, public ::testing::WithParamInterface<std::int64_t>
{};

TEST_P(UnusablePid, isIgnored)
{
    startProcess(50);
    handle(EventBuilder(Type::stop).pid(50).shellPid(51));

    handle(EventBuilder(Type::stop).pid(GetParam()).shellPid(GetParam()));

    EXPECT_EQ(session()->pid(), 50);
    EXPECT_EQ(session()->pidStartTime(), 1'000.25);
    EXPECT_EQ(session()->shellPid(), 51);
}

INSTANTIATE_TEST_SUITE_P(Values, UnusablePid,
                         ::testing::Values(1, 0, -1, std::numeric_limits<std::int64_t>::min(), 2'147'483'648,
                                           4'294'967'296 + 50, std::numeric_limits<std::int64_t>::max()));

TEST_F(SessionManagerList, pidBeyond32BitsIsLoggedOnce)
{
    handle(EventBuilder(Type::stop).pid(4'294'967'346));

    EXPECT_EQ(
        log.lines().filter(QStringLiteral("beyond 32 bits")),
        QStringList { QStringLiteral("SessionManager: ignoring PID 4294967346 of session s, it is beyond 32 bits") });
}

TEST_F(SessionManagerList, greatestPidOf32BitsIsTaken)
{
    handle(EventBuilder(Type::stop).pid(2'147'483'647));

    EXPECT_EQ(session()->pid(), 2'147'483'647);
}

TEST_F(SessionManagerList, newSessionRetiresTheOldOwnerOfItsPid)
{
    startProcess(50);
    handle(EventBuilder(Type::permissionRequest).session(QStringLiteral("old")).pid(50));
    const SessionPtr old = session(QStringLiteral("old"));
    const Date updated = old->lastUpdated();
    clock.advance(Seconds { 9 });
    store.journal.clear();

    handle(EventBuilder(Type::stop).session(QStringLiteral("new")).pid(50));

    EXPECT_FALSE(old->isAlive());
    EXPECT_EQ(old->state(), State::ready);
    EXPECT_EQ(old->lastUpdated(), updated);
    EXPECT_EQ(old->endedAt(), std::nullopt);
    EXPECT_TRUE(session(QStringLiteral("new"))->isAlive());
    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager: retiring session old — PID 50 now belongs to new")));
    EXPECT_EQ(store.journal,
              (QStringList { QStringLiteral("save old"), QStringLiteral("publish"), QStringLiteral("save new"),
                             QStringLiteral("publish"), QStringLiteral("attention new") }));
}

TEST_F(SessionManagerList, sessionStartRetiresTheOldOwnerAfterItsOwnSave)
{
    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("old")).pid(50));
    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("known")));
    store.journal.clear();

    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("known")).pid(50));

    EXPECT_FALSE(session(QStringLiteral("old"))->isAlive());
    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("save known"), QStringLiteral("save old"),
                                            QStringLiteral("publish"), QStringLiteral("publish") }));
}

TEST_F(SessionManagerList, ordinaryEventOfAKnownSessionRetiresNobody)
{
    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("a")).pid(50));
    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("b")));

    handle(EventBuilder(Type::stop).session(QStringLiteral("b")).pid(50));

    EXPECT_TRUE(session(QStringLiteral("a"))->isAlive());
}

TEST_F(SessionManagerList, finishedOwnerOfAPidIsLeftAlone)
{
    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("old")).pid(50));
    handle(EventBuilder(Type::sessionEnd).session(QStringLiteral("old")));
    store.journal.clear();

    handle(EventBuilder(Type::sessionStart).session(QStringLiteral("new")).pid(50));

    EXPECT_FALSE(store.journal.contains(QStringLiteral("save old")));
}

TEST_F(SessionManagerList, placeholderIsNeverStored)
{
    VantrySession::Init init;
    init.id = QStringLiteral("pending-0d4b");
    const auto placeholder = std::make_shared<VantrySession>(init);

    manager.saveSession(placeholder);

    EXPECT_TRUE(store.journal.isEmpty());
}

TEST_F(SessionManagerList, latestAliveSessionIsTheLastUpdatedOfTheDirectory)
{
    handle(EventBuilder(Type::stop).session(QStringLiteral("a")).cwd(QStringLiteral("/p/x")));
    clock.advance(Seconds { 1 });
    handle(EventBuilder(Type::stop).session(QStringLiteral("b")).cwd(QStringLiteral("/p/x/")));
    clock.advance(Seconds { 1 });
    handle(EventBuilder(Type::stop).session(QStringLiteral("c")).cwd(QStringLiteral("/p/y")));

    const SessionPtr latest = manager.latestAliveSession(QStringLiteral("/p/./z/../x"));

    ASSERT_TRUE(latest);
    EXPECT_EQ(latest->id(), QStringLiteral("b"));
}

TEST_F(SessionManagerList, earlierSessionWinsATie)
{
    handle(EventBuilder(Type::stop).session(QStringLiteral("a")).cwd(QStringLiteral("/p")));
    handle(EventBuilder(Type::stop).session(QStringLiteral("b")).cwd(QStringLiteral("/p")));

    EXPECT_EQ(manager.latestAliveSession(QStringLiteral("/p"))->id(), QStringLiteral("a"));
}

TEST_F(SessionManagerList, finishedSessionIsNotTheLatestAlive)
{
    handle(EventBuilder(Type::stop).cwd(QStringLiteral("/p")));
    handle(EventBuilder(Type::sessionEnd));

    EXPECT_FALSE(manager.latestAliveSession(QStringLiteral("/p")));
}

TEST_F(SessionManagerList, sessionWithoutDirectoryMatchesNone)
{
    handle(EventBuilder(Type::stop));

    EXPECT_FALSE(manager.latestAliveSession(QString()));
    EXPECT_FALSE(manager.latestAliveSession(QDir::currentPath()));
}

TEST_F(SessionManagerList, relativeDirectoryIsTakenFromTheCurrentOne)
{
    handle(EventBuilder(Type::stop).cwd(QDir::currentPath() + QStringLiteral("/sub")));

    EXPECT_TRUE(manager.latestAliveSession(QStringLiteral("sub")));
}

} // namespace
} // namespace vantry
