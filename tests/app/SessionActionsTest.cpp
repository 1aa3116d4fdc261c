#include "app/SessionActions.h"

#include "app/control/ControlService.h"
#include "base/WorkerPool.h"
#include "hooks/HTTPHookServer.h"
#include "sessions/SessionChanges.h"
#include "sessions/SessionManager.h"
#include "support/EventBuilder.h"
#include "support/FakeControlEndpoint.h"
#include "support/FakeHookConnection.h"
#include "support/FakePeerIdentity.h"
#include "support/FakeProcessChecker.h"
#include "support/FakeSessionStore.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using test::EventBuilder;
using test::FakeHookConnection;
using Kind = ControlOutcome::Kind;

/// A manager and held requests over fakes, and what acts on them.
class SessionActionsTest : public ::testing::Test
{
protected:
    std::shared_ptr<FakeHookConnection> hold(EventBuilder event)
    {
        auto connection = std::make_shared<FakeHookConnection>();
        held.add(event, connection);
        manager.handleEvent(event);
        return connection;
    }
    [[nodiscard]] static EventBuilder request(const QString &tool = u"Bash"_s)
    {
        EventBuilder event(HookEventType::permissionRequest);
        event.tool(tool);
        return event;
    }
    /// The terminal asks: the session waits and no request is held.
    void askInTerminal() { manager.handleEvent(request()); }
    [[nodiscard]] SessionPtr session() const { return manager.session(u"s"_s); }

    test::ManualClock clock;
    test::ManualScheduler scheduler { clock };
    test::ManualMainQueue mainQueue;
    test::RecordingLog log;
    test::FakeSessionStore store;
    test::FakeProcessChecker processes;
    WorkerPool workers;
    GitFacts git { mainQueue, workers, u"/nonexistent/git"_s };
    PendingPermissionStore held { clock, scheduler, log };
    SessionManager manager { store, processes, git, held, clock, log };
    SessionActions actions { manager, held };
};

TEST_F(SessionActionsTest, allowAnswersTheFirstRequest)
{
    const auto connection = hold(request());
    clock.advance(Seconds { 5 });

    actions.allow(u"s"_s);

    EXPECT_EQ(connection->status, "200 OK");
    EXPECT_NE(connection->body.find(R"("behavior":"allow")"), std::string::npos);
    EXPECT_EQ(session()->state(), SessionState::working);
    EXPECT_EQ(session()->toolName(), std::nullopt);
    EXPECT_EQ(session()->lastUpdated(), clock.now());
    EXPECT_EQ(store.rows.value(u"s"_s).state, SessionState::working);
}

TEST_F(SessionActionsTest, allowDoesNothingWhereTheQuestionIsInTheTerminal)
{
    askInTerminal();

    actions.allow(u"s"_s);

    EXPECT_EQ(session()->state(), SessionState::needsPermission);
}

TEST_F(SessionActionsTest, allowDoesNothingInAnyOtherState)
{
    const auto connection = hold(request());
    for (const SessionState state :
         { SessionState::working, SessionState::ready, SessionState::hasQuestion, SessionState::launching }) {
        session()->setState(state);
        actions.allow(u"s"_s);
        EXPECT_EQ(session()->state(), state);
    }
    EXPECT_FALSE(connection->status);
}

TEST_F(SessionActionsTest, unknownSessionsAreIgnored)
{
    actions.allow(u"none"_s);
    actions.deny(u"none"_s, SessionActions::Denial::AgentStops);
    actions.alwaysAllow(u"none"_s);
    actions.killSession(u"none"_s);

    EXPECT_FALSE(actions.hasAlwaysAllowSuggestions(u"none"_s));
    EXPECT_TRUE(manager.sessions().isEmpty());
}

TEST_F(SessionActionsTest, denyLetsTheAgentGoOn)
{
    const auto connection = hold(request());

    actions.deny(u"s"_s, SessionActions::Denial::AgentGoesOn);

    EXPECT_NE(connection->body.find(R"("behavior":"deny")"), std::string::npos);
    EXPECT_EQ(connection->body.find("interrupt"), std::string::npos);
    EXPECT_EQ(session()->state(), SessionState::working);
}

TEST_F(SessionActionsTest, denyCanStopTheAgent)
{
    const auto connection = hold(request());

    actions.deny(u"s"_s, SessionActions::Denial::AgentStops);

    EXPECT_NE(connection->body.find(R"("interrupt":true)"), std::string::npos);
    EXPECT_EQ(session()->state(), SessionState::ready);
}

TEST_F(SessionActionsTest, denyWithoutARequestChangesTheStateAlone)
{
    askInTerminal();

    actions.deny(u"s"_s, SessionActions::Denial::AgentGoesOn);
    EXPECT_EQ(session()->state(), SessionState::working);

    askInTerminal();
    actions.deny(u"s"_s, SessionActions::Denial::AgentStops);
    EXPECT_EQ(session()->state(), SessionState::ready);
}

TEST_F(SessionActionsTest, alwaysAllowSendsTheRulesAsTheyCame)
{
    const auto connection = hold(request().suggestion(R"({"type":"addRules","big":12345678901234567890123})"));

    EXPECT_TRUE(actions.hasAlwaysAllowSuggestions(u"s"_s));
    actions.alwaysAllow(u"s"_s);

    EXPECT_NE(connection->body.find(R"({"type":"addRules","big":12345678901234567890123})"), std::string::npos);
    EXPECT_EQ(session()->state(), SessionState::working);
}

TEST_F(SessionActionsTest, alwaysAllowWithoutRulesIsAllow)
{
    for (EventBuilder event : { request(), request().noSuggestions() }) {
        const auto connection = hold(event);

        actions.alwaysAllow(u"s"_s);

        EXPECT_NE(connection->body.find(R"("behavior":"allow")"), std::string::npos);
        EXPECT_EQ(connection->body.find("updatedPermissions"), std::string::npos);
        EXPECT_EQ(session()->state(), SessionState::working);
    }
}

TEST_F(SessionActionsTest, theSessionWaitsAgainForTheNextRequest)
{
    const auto first = hold(request(u"Bash"_s));
    const auto second = hold(request(u"Write"_s).agent(u"helper"_s));

    actions.allow(u"s"_s);

    EXPECT_TRUE(first->status);
    EXPECT_FALSE(second->status || second->cancelled);
    EXPECT_EQ(session()->state(), SessionState::needsPermission);
    EXPECT_EQ(session()->toolName(), u"Write"_s);
}

TEST_F(SessionActionsTest, killEndsTheSession)
{
    processes.processes.insert(4711, 1000);
    manager.handleEvent(EventBuilder(HookEventType::sessionStart).pid(4711));

    actions.killSession(u"s"_s);

    EXPECT_EQ(processes.terminated, QList<std::int64_t> { 4711 });
    EXPECT_FALSE(session()->isAlive());
}

class ControlServiceTest : public SessionActionsTest
{
protected:
    ControlServiceTest() { control.publish(); }

    test::FakePeerIdentity peers;
    HTTPHookServer server { mainQueue, scheduler, log, peers, 47'392 };
    SessionChanges changes { manager, mainQueue };
    test::FakeControlEndpoint endpoint;
    ControlService control { { clock, server, manager, held, actions, changes, endpoint }, u"/nonexistent"_s };
};

TEST_F(ControlServiceTest, listsTheSessionsWithTheirRequests)
{
    hold(request().suggestion("{}"));

    const Json document = Json::parse(control.list().toStdString());

    EXPECT_EQ(document.at("running"), true);
    EXPECT_EQ(document.at("listening"), false);
    EXPECT_EQ(document.at("port"), 47'392);
    EXPECT_EQ(document.at("sessions").at(0).at("heldPermissions"), 1);
    EXPECT_EQ(document.at("sessions").at(0).at("hasAlwaysAllowSuggestions"), true);
}

TEST_F(ControlServiceTest, knowsNoSessionOfAnotherIdentifier)
{
    const QString huge(1'000'000, u'x');
    for (const QString &id : { u""_s, u"none"_s, huge }) {
        EXPECT_EQ(control.allow(id).kind, Kind::NoSuchSession);
        EXPECT_EQ(control.deny(id, true).kind, Kind::NoSuchSession);
        EXPECT_EQ(control.alwaysAllow(id).kind, Kind::NoSuchSession);
        EXPECT_EQ(control.kill(id).kind, Kind::NoSuchSession);
    }
}

TEST_F(ControlServiceTest, takesWholeIdentifiersOnly)
{
    hold(request().session(u"session"_s));

    EXPECT_EQ(control.allow(u"sess"_s).kind, Kind::NoSuchSession);
}

TEST_F(ControlServiceTest, answersARequestOnce)
{
    const auto connection = hold(request());

    EXPECT_EQ(control.allow(u"s"_s).kind, Kind::Done);
    EXPECT_EQ(control.allow(u"s"_s).kind, Kind::NotPossible);
    EXPECT_EQ(control.deny(u"s"_s, false).kind, Kind::NotPossible);
    EXPECT_EQ(control.alwaysAllow(u"s"_s).kind, Kind::NotPossible);
    EXPECT_TRUE(connection->status);
}

TEST_F(ControlServiceTest, saysThatAQuestionIsInTheTerminalOnly)
{
    askInTerminal();

    for (const ControlOutcome &outcome : { control.allow(u"s"_s), control.alwaysAllow(u"s"_s) }) {
        EXPECT_EQ(outcome.kind, Kind::NotPossible);
        EXPECT_TRUE(outcome.reason.contains(u"terminal"));
    }
    EXPECT_EQ(session()->state(), SessionState::needsPermission);
    EXPECT_EQ(control.deny(u"s"_s, false).kind, Kind::Done);
}

TEST_F(ControlServiceTest, killsASessionOnce)
{
    manager.handleEvent(EventBuilder(HookEventType::sessionStart));

    EXPECT_EQ(control.kill(u"s"_s).kind, Kind::Done);
    EXPECT_EQ(control.kill(u"s"_s).kind, Kind::NotPossible);
}

TEST_F(ControlServiceTest, passesTheRequestToQuitOn)
{
    control.quit();
    int requests = 0;
    control.onQuit = [&] { ++requests; };

    control.quit();

    EXPECT_EQ(requests, 1);
}

TEST_F(ControlServiceTest, announcesNothingAfterItWasWithdrawn)
{
    control.withdraw();

    manager.handleEvent(EventBuilder(HookEventType::sessionStart));
    mainQueue.drainAll();

    EXPECT_TRUE(endpoint.changed.isEmpty());
    EXPECT_EQ(endpoint.withdrawals, 1);
}

} // namespace
} // namespace vantry
