#include "sessions/PendingPermissionsFixture.h"

namespace vantry {
namespace {

using test::ConnectionPtr;
using test::request;

/// How held requests end without an answer, and what callbacks may do meanwhile.
class PendingPermissionEndings : public test::PendingPermissions
{};

TEST_F(PendingPermissionEndings, peersCloseEndsTheRequest)
{
    const ConnectionPtr connection = add(request());
    forgetCalls();

    connection->closeFromPeer();

    EXPECT_TRUE(store->pending().isEmpty());
    EXPECT_EQ(outcomes, QList { ResolutionOutcome::unknown });
    EXPECT_EQ(calls,
              (QStringList { QStringLiteral("change 0"), QStringLiteral("resolved s"), QStringLiteral("changed s") }));
    EXPECT_EQ(log.lines(),
              QStringList { QStringLiteral("PendingPermissionStore: auto-dismissed Bash (remaining: 0)") });
}

TEST_F(PendingPermissionEndings, peersCloseAfterTheAnswerEndsNothingTwice)
{
    const ConnectionPtr connection = add(request());
    store->resolve(id(0), PermissionDecision::allow);
    forgetCalls();

    connection->closeFromPeer();

    EXPECT_TRUE(calls.isEmpty());
    EXPECT_EQ(outcomes.size(), 1);
}

TEST_F(PendingPermissionEndings, peersCloseAfterTheStoresEndIsNoHarm)
{
    const ConnectionPtr connection = add(request());
    store.reset();

    connection->closeFromPeer();

    EXPECT_FALSE(connection->status);
}

TEST_F(PendingPermissionEndings, sweepDismissesWhatHasGone)
{
    const ConnectionPtr gone = add(request(QStringLiteral("a")));
    add(request(QStringLiteral("b")));
    gone->failed = true;
    forgetCalls();

    scheduler.advance(Seconds { 2 });

    ASSERT_EQ(store->pending().size(), 1);
    EXPECT_EQ(store->pending().first().event.sessionID, QStringLiteral("b"));
    EXPECT_EQ(outcomes, QList { ResolutionOutcome::unknown });
}

TEST_F(PendingPermissionEndings, requestHeldForExactly600SecondsStays)
{
    add(request());

    scheduler.advance(Seconds { 600 });

    EXPECT_EQ(store->pending().size(), 1);
}

TEST_F(PendingPermissionEndings, requestOf601SecondsIsDismissedAndItsConnectionLeftOpen)
{
    const ConnectionPtr connection = add(request());

    scheduler.advance(Seconds { 602 });

    EXPECT_TRUE(store->pending().isEmpty());
    EXPECT_EQ(outcomes, QList { ResolutionOutcome::unknown });
    EXPECT_FALSE(connection->cancelled);
    EXPECT_FALSE(connection->status);
}

TEST_F(PendingPermissionEndings, wallClockSetBackKeepsTheRequestAsLongAsItSays)
{
    add(request());
    clock.setWallClock(clock.now() - std::chrono::hours { 1 });

    scheduler.advance(Seconds { 1'000 });

    EXPECT_EQ(store->pending().size(), 1);
}

TEST_F(PendingPermissionEndings, sweepTellsEachSessionOnce)
{
    add(request(QStringLiteral("a")));
    add(request(QStringLiteral("b")).agent(QStringLiteral("x")));
    add(request(QStringLiteral("a")).agent(QStringLiteral("y")));
    forgetCalls();

    scheduler.advance(Seconds { 602 });

    EXPECT_EQ(calls,
              (QStringList { QStringLiteral("change 2"), QStringLiteral("resolved a"), QStringLiteral("change 1"),
                             QStringLiteral("resolved b"), QStringLiteral("change 0"), QStringLiteral("resolved a"),
                             QStringLiteral("changed a"), QStringLiteral("changed b") }));
}

TEST_F(PendingPermissionEndings, nothingTicksWhileNothingIsHeld)
{
    EXPECT_EQ(scheduler.activeTimers(), 0U);

    add(request(QStringLiteral("a")));
    add(request(QStringLiteral("b")));
    EXPECT_EQ(scheduler.activeTimers(), 1U);

    store->resolve(id(0), PermissionDecision::allow);
    EXPECT_EQ(scheduler.activeTimers(), 1U);
    store->resolve(id(0), PermissionDecision::allow);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(PendingPermissionEndings, sweepThatEmptiesTheStoreStopsItselfAndStartsAgain)
{
    add(request())->failed = true;
    scheduler.advance(Seconds { 2 });
    EXPECT_EQ(scheduler.activeTimers(), 0U);

    add(request())->failed = true;
    scheduler.advance(Seconds { 2 });

    EXPECT_TRUE(store->pending().isEmpty());
}

TEST_F(PendingPermissionEndings, dismissAllEndsTheSessionsRequestsInOrder)
{
    const ConnectionPtr first = add(request().tool(QStringLiteral("Bash")));
    add(request(QStringLiteral("other")));
    add(request().agent(QStringLiteral("x")).tool(QStringLiteral("Write")));
    forgetCalls();

    store->dismissAll(QStringLiteral("s"));

    ASSERT_EQ(store->pending().size(), 1);
    EXPECT_EQ(log.lines(),
              (QStringList { QStringLiteral("PendingPermissionStore: auto-dismissed Bash (remaining: 2)"),
                             QStringLiteral("PendingPermissionStore: auto-dismissed Write (remaining: 1)") }));
    EXPECT_EQ(calls.count(QStringLiteral("changed s")), 1);
    EXPECT_EQ(calls.last(), QStringLiteral("changed s"));
    EXPECT_FALSE(first->cancelled);
    EXPECT_FALSE(first->status);
}

TEST_F(PendingPermissionEndings, dismissAllOfOneAgentLeavesTheOthers)
{
    add(request());
    add(request().agent(QStringLiteral("x")));

    store->dismissAll(QStringLiteral("s"), std::nullopt);

    ASSERT_EQ(store->pending().size(), 1);
    EXPECT_EQ(store->pending().first().event.agentId, QStringLiteral("x"));
}

TEST_F(PendingPermissionEndings, dismissAllOfNothingTellsNobody)
{
    add(request(QStringLiteral("other")));
    forgetCalls();

    store->dismissAll(QStringLiteral("s"));

    EXPECT_TRUE(calls.isEmpty());
}

TEST_F(PendingPermissionEndings, cleanupClosesEverythingAndCallsNobody)
{
    const ConnectionPtr first = add(request(QStringLiteral("a")));
    const ConnectionPtr second = add(request(QStringLiteral("b")));
    forgetCalls();

    store->cleanup();

    EXPECT_TRUE(first->cancelled);
    EXPECT_TRUE(second->cancelled);
    EXPECT_TRUE(store->pending().isEmpty());
    EXPECT_TRUE(calls.isEmpty());
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(PendingPermissionEndings, storeWorksWithoutCallbacks)
{
    store->onPendingChange = nullptr;
    store->onResolved = nullptr;
    add(request(QStringLiteral("a")));
    const ConnectionPtr second = add(request(QStringLiteral("b")));

    store->resolve(id(0), PermissionDecision::allow);
    second->closeFromPeer();

    EXPECT_TRUE(store->pending().isEmpty());
}

TEST_F(PendingPermissionEndings, callbackMayAnswerAnotherRequest)
{
    add(request(QStringLiteral("a")));
    const ConnectionPtr second = add(request(QStringLiteral("b")));
    const QUuid secondId = id(1);
    store->onResolved = [&](const HookEvent &event, ResolutionOutcome outcome) {
        outcomes.append(outcome);
        if (event.sessionID == QStringLiteral("a"))
            store->resolve(secondId, PermissionDecision::deny);
    };

    store->resolve(id(0), PermissionDecision::allow);

    EXPECT_EQ(outcomes, (QList { ResolutionOutcome::allowed, ResolutionOutcome::denied }));
    EXPECT_EQ(second->status, "200 OK");
    EXPECT_TRUE(store->pending().isEmpty());
}

TEST_F(PendingPermissionEndings, callbackCannotEndItsOwnRequestTwice)
{
    const ConnectionPtr connection = add(request());
    const QUuid own = id(0);
    int ended = 0;
    store->onPendingChange = [&] { store->resolve(own, PermissionDecision::deny); };
    store->onResolved = [&](const HookEvent &, ResolutionOutcome) { ++ended; };

    store->resolve(own, PermissionDecision::allow);

    EXPECT_EQ(ended, 1);
    EXPECT_THAT(connection->body, ::testing::HasSubstr("allow"));
}

TEST_F(PendingPermissionEndings, callbackMayDismissWhatASweepWasAboutToDismiss)
{
    add(request(QStringLiteral("a")));
    add(request(QStringLiteral("b")));
    store->onResolved = [&](const HookEvent &event, ResolutionOutcome outcome) {
        outcomes.append(outcome);
        if (event.sessionID == QStringLiteral("a"))
            store->dismissAll(QStringLiteral("b"));
    };

    scheduler.advance(Seconds { 602 });

    EXPECT_EQ(outcomes, (QList { ResolutionOutcome::unknown, ResolutionOutcome::unknown }));
    EXPECT_TRUE(store->pending().isEmpty());
}

TEST_F(PendingPermissionEndings, callbackMayEndARequestWhileItIsAdded)
{
    store->onPendingChange = [&] {
        if (!store->pending().isEmpty())
            store->resolve(id(0), PermissionDecision::allow);
    };

    const ConnectionPtr connection = add(request());

    EXPECT_EQ(connection->status, "200 OK");
    EXPECT_TRUE(store->pending().isEmpty());
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

} // namespace
} // namespace vantry
