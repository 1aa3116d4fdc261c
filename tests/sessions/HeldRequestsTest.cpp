#include "sessions/HeldRequestsFixture.h"

namespace vantry {
namespace {

using test::ConnectionPtr;
using test::EventBuilder;
using test::helper;
using test::mainAgent;
using test::otherHelper;
using Type = HookEventType;
using State = SessionState;

using HeldRequests = test::HeldRequests;

TEST_F(HeldRequests, oneRequestIsShownAndAllowed)
{
    const ConnectionPtr connection = askForBash(mainAgent);
    expectBashWaits();
    clock.advance(Seconds { 3 });

    allow();

    EXPECT_EQ(connection->status, "200 OK");
    expectShown(State::working, std::nullopt, QStringLiteral("ls"));
    EXPECT_EQ(session()->lastUpdated(), clock.now());
}

TEST_F(HeldRequests, deniedWithInterruptTheSessionIsReady)
{
    askForBash(mainAgent);

    denyAndStop();

    expectShown(State::ready, std::nullopt, QStringLiteral("ls"));
}

TEST_F(HeldRequests, answerWithoutAHeldRequestSetsTheState)
{
    handle(EventBuilder(Type::permissionRequest).tool(QStringLiteral("Bash")));

    manager.answered(session(), State::working);

    expectShown(State::working, std::nullopt, std::nullopt);
}

TEST_F(HeldRequests, answerIsSavedOncePerChangeAndPublished)
{
    askForBash(mainAgent);
    store.journal.clear();

    allow();

    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("save s"), QStringLiteral("publish") }));
}

TEST_F(HeldRequests, helpersRequestIsShownFirstWhenItCameFirst)
{
    const ConnectionPtr first = askForBash(helper);
    const ConnectionPtr second = askForWrite(mainAgent);

    expectBashWaits();
    EXPECT_EQ(attentionCalls(), 2);
    allow();
    EXPECT_EQ(first->status, "200 OK");
    EXPECT_FALSE(second->cancelled);
    expectWriteWaits();
    allow();
    EXPECT_EQ(second->status, "200 OK");
    expectShown(State::working, std::nullopt, QStringLiteral("/tmp/file"));
}

TEST_F(HeldRequests, mainAgentsRequestIsShownFirstWhenItCameFirst)
{
    const ConnectionPtr first = askForWrite(mainAgent);
    const ConnectionPtr second = askForBash(helper);

    expectWriteWaits();
    denyAndStop();
    EXPECT_EQ(first->status, "200 OK");
    EXPECT_FALSE(second->cancelled);
    expectBashWaits();
}

TEST_F(HeldRequests, threeAgentsAreAnsweredInTurn)
{
    askForBash(helper);
    askForWrite(otherHelper);
    ask(mainAgent, QStringLiteral("WebFetch"), QStringLiteral("https://example.org"));

    allow();
    expectWriteWaits();
    allow();
    expectShown(State::needsPermission, QStringLiteral("WebFetch"), QStringLiteral("https://example.org"));
    allow();
    expectShown(State::working, std::nullopt, QStringLiteral("https://example.org"));
}

TEST_F(HeldRequests, answerDoesNotShowAnythingElseInBetween)
{
    askForBash(helper);
    askForWrite(mainAgent);
    QList<State> states;
    QObject::connect(session().get(), &VantrySession::changed, &manager,
                     [&, shown = session()] { states.append(shown->state()); });

    allow();

    EXPECT_FALSE(states.isEmpty());
    EXPECT_EQ(states.count(State::needsPermission), states.size());
}

TEST_F(HeldRequests, mainTurnsStopLeavesTheHelpersRequest)
{
    askForBash(helper);

    handle(EventBuilder(Type::stop).lastAssistantMessage(QStringLiteral("All done.")));

    expectBashWaits();
    EXPECT_EQ(session()->lastMessage(), QStringLiteral("All done."));
    EXPECT_EQ(attentionCalls(), 2);
    allow();
    expectShown(State::working, std::nullopt, QStringLiteral("ls"));
}

TEST_F(HeldRequests, helpersRequestAfterTheMainTurnsStopIsShown)
{
    handle(EventBuilder(Type::stop).lastAssistantMessage(QStringLiteral("All done.")));

    askForBash(helper);

    expectBashWaits();
}

TEST_F(HeldRequests, requestCutByItsPeerGivesWayToTheNext)
{
    const ConnectionPtr first = askForBash(helper);
    askForWrite(mainAgent);

    first->closeFromPeer();

    expectWriteWaits();
}

TEST_F(HeldRequests, secondRequestCutByItsPeerChangesNothing)
{
    askForBash(helper);
    const ConnectionPtr second = askForWrite(mainAgent);
    store.journal.clear();

    second->closeFromPeer();

    expectBashWaits();
    EXPECT_TRUE(store.journal.isEmpty());
}

TEST_F(HeldRequests, lastRequestCutByItsPeerStaysShownForTheAgentsOwnDialog)
{
    const ConnectionPtr connection = askForBash(helper);
    handle(EventBuilder(Type::stop));
    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("Read")).detail(QStringLiteral("file")));

    connection->closeFromPeer();

    expectBashWaits();
    handle(from(helper, EventBuilder(Type::postToolUse).tool(QStringLiteral("Bash"))));
    expectShown(State::working, std::nullopt, std::nullopt);
}

TEST_F(HeldRequests, requestAnsweredInTheTerminalLeavesNoTool)
{
    const ConnectionPtr connection = askForBash(mainAgent);

    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("Bash")).detail(QStringLiteral("ls")));
    expectShown(State::working, std::nullopt, std::nullopt);
    connection->closeFromPeer();

    expectShown(State::working, std::nullopt, std::nullopt);
}

TEST_F(HeldRequests, requestThatOvertookItsOwnAnnouncementStillWaits)
{
    const auto call = [](Type type) {
        return EventBuilder(type)
            .tool(QStringLiteral("Bash"))
            .detail(QStringLiteral("ls"))
            .input(R"({"command":"ls"})");
    };
    ask(call(Type::permissionRequest));

    handle(call(Type::preToolUse));
    expectBashWaits();
    allow();

    expectShown(State::working, std::nullopt, QStringLiteral("ls"));
}

TEST_F(HeldRequests, announcementOfAnotherCallShowsThatTheTerminalHasAnswered)
{
    ask(EventBuilder(Type::permissionRequest).tool(QStringLiteral("Bash")).input(R"({"command":"ls"})"));

    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("Bash")).input(R"({"command":"pwd"})"));

    EXPECT_EQ(session()->state(), State::working);
}

TEST_F(HeldRequests, requestAnsweredInTheTerminalGivesWayToTheHelpers)
{
    const ConnectionPtr first = askForWrite(mainAgent);
    askForBash(helper);

    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("Write")));
    expectWriteWaits();
    first->closeFromPeer();

    expectBashWaits();
}

TEST_F(HeldRequests, mainAgentGoesOnAfterItsRequestWasAnsweredInTheTerminal)
{
    const ConnectionPtr connection = askForBash(mainAgent);

    handle(EventBuilder(Type::stop).lastAssistantMessage(QStringLiteral("Done.")));
    expectShown(State::ready, QStringLiteral("Bash"), QStringLiteral("ls"));
    connection->closeFromPeer();

    EXPECT_EQ(session()->state(), State::ready);
}

} // namespace
} // namespace vantry
