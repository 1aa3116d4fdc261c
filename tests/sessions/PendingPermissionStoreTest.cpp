#include "sessions/PendingPermissionsFixture.h"

namespace vantry {
namespace {

using test::ConnectionPtr;
using test::EventBuilder;
using test::request;

using PendingPermissions = test::PendingPermissions;

TEST_F(PendingPermissions, addedRequestIsHeldAndWatched)
{
    const ConnectionPtr connection = add(request());

    ASSERT_EQ(store->pending().size(), 1);
    EXPECT_FALSE(store->pending().first().id.isNull());
    EXPECT_EQ(store->pending().first().event.toolName, QStringLiteral("Bash"));
    EXPECT_EQ(store->pending().first().receivedAt, clock.now());
    EXPECT_TRUE(connection->isWatched());
    EXPECT_FALSE(connection->status);
    EXPECT_EQ(calls, (QStringList { QStringLiteral("change 1"), QStringLiteral("changed s") }));
    EXPECT_EQ(log.lines(), QStringList { QStringLiteral("PendingPermissionStore: added Bash (pending: 1)") });
}

TEST_F(PendingPermissions, requestsStandInOrderOfArrival)
{
    add(request(QStringLiteral("a")));
    add(request(QStringLiteral("b")));

    EXPECT_EQ(store->pending().at(0).event.sessionID, QStringLiteral("a"));
    EXPECT_EQ(store->pending().at(1).event.sessionID, QStringLiteral("b"));
    EXPECT_NE(id(0), id(1));
}

TEST_F(PendingPermissions, toolIsUnknownInSmallLettersOnlyWhenAdded)
{
    const HookEvent event = EventBuilder(HookEventType::permissionRequest);
    add(event);
    store->resolve(id(0), PermissionDecision::deny);

    EXPECT_EQ(log.lines(),
              (QStringList { QStringLiteral("PendingPermissionStore: added unknown (pending: 1)"),
                             QStringLiteral("PendingPermissionStore: resolved deny for Unknown (remaining: 0)") }));
}

TEST_F(PendingPermissions, toolNameIsLoggedAsItIs)
{
    add(request().tool(QStringLiteral("%1 %2")));
    store->resolve(id(0), PermissionDecision::allow);

    EXPECT_EQ(log.lines(),
              (QStringList { QStringLiteral("PendingPermissionStore: added %1 %2 (pending: 1)"),
                             QStringLiteral("PendingPermissionStore: resolved allow for %1 %2 (remaining: 0)") }));
}

TEST_F(PendingPermissions, allowAnswersAndEndsTheRequest)
{
    const ConnectionPtr connection = add(request());
    forgetCalls();

    store->resolve(id(0), PermissionDecision::allow);

    EXPECT_EQ(connection->status, "200 OK");
    EXPECT_EQ(connection->body,
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})");
    EXPECT_TRUE(store->pending().isEmpty());
    EXPECT_EQ(calls,
              (QStringList { QStringLiteral("change 0"), QStringLiteral("resolved s"), QStringLiteral("changed s") }));
    EXPECT_EQ(outcomes, QList { ResolutionOutcome::allowed });
    EXPECT_EQ(log.lines(),
              QStringList { QStringLiteral("PendingPermissionStore: resolved allow for Bash (remaining: 0)") });
}

TEST_F(PendingPermissions, denyAnswersAndEndsTheRequest)
{
    const ConnectionPtr connection = add(request());
    forgetCalls();

    store->resolve(id(0), PermissionDecision::deny);

    EXPECT_EQ(connection->body,
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"deny"}}})");
    EXPECT_EQ(outcomes, QList { ResolutionOutcome::denied });
    EXPECT_EQ(log.lines(),
              QStringList { QStringLiteral("PendingPermissionStore: resolved deny for Bash (remaining: 0)") });
}

TEST_F(PendingPermissions, interruptDeniesAndMakesTheAgentStop)
{
    const ConnectionPtr connection = add(request());
    forgetCalls();

    store->interrupt(id(0));

    EXPECT_EQ(connection->status, "200 OK");
    const auto decision = nlohmann::json::parse(connection->body).at("hookSpecificOutput").at("decision");
    EXPECT_EQ(decision,
              nlohmann::json::parse(R"({"behavior":"deny","interrupt":true,"message":"Stopped by user from Vantry"})"));
    EXPECT_EQ(outcomes, QList { ResolutionOutcome::denied });
    EXPECT_EQ(log.lines(), QStringList { QStringLiteral("PendingPermissionStore: interrupted Bash (remaining: 0)") });
}

TEST_F(PendingPermissions, alwaysAllowSendsTheRulesAsTheyCame)
{
    const ConnectionPtr connection =
        add(request()
                .suggestion(R"({"type":"addRules","n":1.0e2,"big":12345678901234567890123})")
                .suggestion(R"({"a":"\ud800/","type": "setMode"})"));
    forgetCalls();

    store->resolveAlwaysAllow(id(0), *store->pending().first().event.permissionSuggestions);

    EXPECT_EQ(connection->status, "200 OK");
    EXPECT_EQ(connection->body,
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow",)"
              R"("updatedPermissions":[{"type":"addRules","n":1.0e2,"big":12345678901234567890123},)"
              R"({"a":"\ud800/","type": "setMode"}]}}})");
    EXPECT_EQ(outcomes, QList { ResolutionOutcome::allowed });
    EXPECT_EQ(log.lines(),
              QStringList { QStringLiteral("PendingPermissionStore: resolved with 2 always-allow rules for Bash") });
}

TEST_F(PendingPermissions, alwaysAllowWithoutRulesSendsAnEmptyList)
{
    const ConnectionPtr connection = add(request());

    store->resolveAlwaysAllow(id(0), {});

    EXPECT_THAT(connection->body, ::testing::HasSubstr(R"("updatedPermissions":[])"));
}

TEST_F(PendingPermissions, unknownIdentifiersAreIgnored)
{
    const ConnectionPtr connection = add(request());
    forgetCalls();

    store->resolve(QUuid::createUuid(), PermissionDecision::allow);
    store->interrupt(QUuid());
    store->resolveAlwaysAllow(QUuid::createUuid(), {});

    EXPECT_EQ(store->pending().size(), 1);
    EXPECT_FALSE(connection->status);
    EXPECT_TRUE(calls.isEmpty());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(PendingPermissions, answerAfterADismissalSendsNothing)
{
    const ConnectionPtr connection = add(request());
    const QUuid dismissed = id(0);
    connection->closeFromPeer();
    forgetCalls();

    store->resolve(dismissed, PermissionDecision::allow);

    EXPECT_FALSE(connection->status);
    EXPECT_TRUE(calls.isEmpty());
}

TEST_F(PendingPermissions, answerCancelsTheAgentsOtherRequestsSilently)
{
    const ConnectionPtr first = add(request());
    const ConnectionPtr second = add(request().tool(QStringLiteral("Write")));
    forgetCalls();

    store->resolve(id(0), PermissionDecision::allow);

    EXPECT_TRUE(second->cancelled);
    EXPECT_FALSE(second->status);
    EXPECT_FALSE(first->cancelled);
    EXPECT_TRUE(store->pending().isEmpty());
    EXPECT_EQ(outcomes.size(), 1);
    EXPECT_EQ(calls,
              (QStringList { QStringLiteral("change 0"), QStringLiteral("resolved s"), QStringLiteral("changed s") }));
    EXPECT_EQ(log.lines(),
              (QStringList { QStringLiteral("PendingPermissionStore: cleaning up stale Write for session s"),
                             QStringLiteral("PendingPermissionStore: resolved allow for Bash (remaining: 0)") }));
}

TEST_F(PendingPermissions, answerToTheSecondCancelsTheFirst)
{
    const ConnectionPtr first = add(request());
    add(request());

    store->interrupt(id(1));

    EXPECT_TRUE(first->cancelled);
    EXPECT_TRUE(store->pending().isEmpty());
}

TEST_F(PendingPermissions, staleRequestsOfOneAgentOnlyAreCancelled)
{
    const ConnectionPtr main = add(request());
    const ConnectionPtr sub = add(request().agent(QStringLiteral("a1")));
    const ConnectionPtr sameSub = add(request().agent(QStringLiteral("a1")));
    const ConnectionPtr otherSub = add(request().agent(QStringLiteral("a2")));

    store->resolve(id(1), PermissionDecision::allow);

    EXPECT_FALSE(main->cancelled);
    EXPECT_EQ(sub->status, "200 OK");
    EXPECT_TRUE(sameSub->cancelled);
    EXPECT_FALSE(otherSub->cancelled);
    EXPECT_EQ(store->heldCount(QStringLiteral("s")), 2);
}

TEST_F(PendingPermissions, requestsOfTwoSessionsDoNotTouchEachOther)
{
    add(request(QStringLiteral("a")));
    const ConnectionPtr other = add(request(QStringLiteral("b")));

    store->resolve(id(0), PermissionDecision::deny);

    EXPECT_FALSE(other->cancelled);
    ASSERT_EQ(store->pending().size(), 1);
    EXPECT_EQ(store->pending().first().event.sessionID, QStringLiteral("b"));
}

TEST_F(PendingPermissions, alwaysAllowIsOfferedForTheFirstRequestOnly)
{
    add(request());
    add(request().agent(QStringLiteral("x")).suggestion(R"({"type":"addRules"})"));

    EXPECT_FALSE(store->hasAlwaysAllowSuggestions(QStringLiteral("s")));
    store->resolve(id(0), PermissionDecision::allow);
    EXPECT_TRUE(store->hasAlwaysAllowSuggestions(QStringLiteral("s")));
}

TEST_F(PendingPermissions, alwaysAllowIsNotOfferedForAnEmptyListOrNoRequest)
{
    add(request().noSuggestions());

    EXPECT_FALSE(store->hasAlwaysAllowSuggestions(QStringLiteral("s")));
    EXPECT_FALSE(store->hasAlwaysAllowSuggestions(QStringLiteral("unknown")));
}

TEST_F(PendingPermissions, firstHeldIsTheSessionsOldest)
{
    add(request(QStringLiteral("other")));
    add(request().tool(QStringLiteral("Write")));
    add(request().agent(QStringLiteral("x")));

    ASSERT_TRUE(store->firstHeld(QStringLiteral("s")));
    EXPECT_EQ(store->firstHeld(QStringLiteral("s"))->event.toolName, QStringLiteral("Write"));
    EXPECT_EQ(store->firstHeld(QStringLiteral("unknown")), nullptr);
    EXPECT_EQ(store->heldCount(QStringLiteral("s")), 2);
    EXPECT_EQ(store->heldCount(QStringLiteral("unknown")), 0);
}

TEST_F(PendingPermissions, otherAgentsRequestsAreToldApart)
{
    add(request().agent(QStringLiteral("x")));
    add(request(QStringLiteral("other")));

    EXPECT_TRUE(store->holdsRequestOfOtherAgent(QStringLiteral("s"), std::nullopt));
    EXPECT_TRUE(store->holdsRequestOfOtherAgent(QStringLiteral("s"), QStringLiteral("y")));
    EXPECT_FALSE(store->holdsRequestOfOtherAgent(QStringLiteral("s"), QStringLiteral("x")));
    EXPECT_FALSE(store->holdsRequestOfOtherAgent(QStringLiteral("other"), std::nullopt));
}

} // namespace
} // namespace vantry
