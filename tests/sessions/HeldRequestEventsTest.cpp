#include "sessions/HeldRequestsFixture.h"

namespace vantry {
namespace {

using test::Agent;
using test::ConnectionPtr;
using test::EventBuilder;
using test::helper;
using test::mainAgent;
using test::otherHelper;
using Type = HookEventType;
using State = SessionState;

/// What events do to a session of which a request is held.
class HeldRequestEvents : public test::HeldRequests
{};

class OtherAgentsEvent : public HeldRequestEvents,
                         public ::testing::WithParamInterface<std::pair<const char *, HookEvent>>
{};

TEST_P(OtherAgentsEvent, leavesTheHeldRequestAsItIs)
{
    askForBash(helper);

    handle(GetParam().second);
    expectBashWaits();
    handle(from(otherHelper, GetParam().second));

    expectBashWaits();
}

EventBuilder notification(NotificationType type)
{
    return EventBuilder(Type::notification).notification(type);
}

std::vector<std::pair<const char *, HookEvent>> eventsOfOthers()
{
    const QString read = QStringLiteral("Read");
    const QString file = QStringLiteral("file");
    return {
        { "PreToolUse", EventBuilder(Type::preToolUse).tool(read).detail(file) },
        { "PreToolUseOfQuestion", EventBuilder(Type::preToolUse).tool(QStringLiteral("AskUserQuestion")) },
        { "PreToolUseOfPlan", EventBuilder(Type::preToolUse).tool(QStringLiteral("ExitPlanMode")) },
        { "PostToolUse", EventBuilder(Type::postToolUse).tool(read).detail(file) },
        { "PostToolUseFailure", EventBuilder(Type::postToolUseFailure).tool(read) },
        { "Interrupt", EventBuilder(Type::postToolUseFailure).interrupt(true) },
        { "Stop", EventBuilder(Type::stop).message(file) },
        { "StopWithQuestion", EventBuilder(Type::stop).lastAssistantMessage(QStringLiteral("Go on?")) },
        { "UserPromptSubmit", EventBuilder(Type::userPromptSubmit).prompt(file) },
        { "CompactedSessionStart", EventBuilder(Type::sessionStart) },
        { "SubagentStop", EventBuilder(Type::subagentStop).tool(read) },
        { "PermissionPrompt", notification(NotificationType::permissionPrompt)
                                  .message(QStringLiteral("Claude needs your permission to use write")) },
        { "PermissionPromptWithTool", notification(NotificationType::permissionPrompt).tool(read).detail(file) },
        { "IdlePrompt", notification(NotificationType::idlePrompt).message(file) },
        { "Elicitation", notification(NotificationType::elicitationDialog).message(file) },
        { "AuthSuccess", notification(NotificationType::authSuccess).message(file) },
        { "PlainNotification", EventBuilder(Type::notification).message(file) },
        { "Request", EventBuilder(Type::permissionRequest).tool(read).detail(file) },
    };
}

INSTANTIATE_TEST_SUITE_P(Events, OtherAgentsEvent, ::testing::ValuesIn(eventsOfOthers()),
                         [](const auto &instance) { return std::string(instance.param.first); });

TEST_F(HeldRequestEvents, permissionPromptAboutTheHeldRequestChangesNoToolAndNoDetail)
{
    askForBash(mainAgent);

    handle(notification(NotificationType::permissionPrompt).message(QStringLiteral("Claude needs your permission")));

    expectBashWaits();
    EXPECT_EQ(session()->lastMessage(), QStringLiteral("Claude needs your permission"));
}

class OwnAgentsEvent : public HeldRequestEvents, public ::testing::WithParamInterface<Agent>
{};

TEST_P(OwnAgentsEvent, takesTheSessionOutOfWaiting)
{
    askForBash(GetParam());

    handle(from(GetParam(), EventBuilder(Type::preToolUse).tool(QStringLiteral("Read")).detail(QStringLiteral("f"))));

    expectShown(State::working, QStringLiteral("Read"), QStringLiteral("f"));
}

TEST_P(OwnAgentsEvent, thatSaysNothingAboutTheStateLeavesTheRequest)
{
    askForBash(GetParam());
    handle(from(otherHelper, EventBuilder(Type::stop)));

    handle(from(GetParam(), EventBuilder(Type::preCompact).tool(QStringLiteral("Read"))));

    expectBashWaits();
}

INSTANTIATE_TEST_SUITE_P(Agents, OwnAgentsEvent, ::testing::Values(mainAgent, helper));

TEST_F(HeldRequestEvents, sessionEndTakesTheSessionOutWhoeverWaits)
{
    askForBash(helper);

    handle(EventBuilder(Type::sessionEnd));

    EXPECT_EQ(session()->state(), State::ready);
    EXPECT_FALSE(session()->isAlive());
}

TEST_F(HeldRequestEvents, completedTaskTakesTheSessionOutWhoeverWaits)
{
    askForBash(helper);

    handle(EventBuilder(Type::taskCompleted));
    held.dismissAll(QStringLiteral("s"));

    EXPECT_EQ(session()->state(), State::ready);
}

TEST_F(HeldRequestEvents, killedSessionShowsNothingOfItsRequestWhenItIsRevived)
{
    const ConnectionPtr connection = askForBash(helper);
    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("Read")));
    manager.killSession(session());
    EXPECT_EQ(session()->toolName(), QStringLiteral("Read")) << "what was covered comes back";

    handle(EventBuilder(Type::sessionStart));

    EXPECT_EQ(session()->state(), State::ready);
    connection->closeFromPeer();
    EXPECT_EQ(session()->state(), State::ready);
}

TEST_F(HeldRequestEvents, interruptOfOneAgentLeavesTheOthersRequest)
{
    askForWrite(mainAgent);
    askForBash(helper);

    handle(EventBuilder(Type::postToolUseFailure).interrupt(true));
    held.dismissAll(QStringLiteral("s"), mainAgent);

    expectBashWaits();
}

TEST_F(HeldRequestEvents, eventsOfOtherSessionsDoNotMatter)
{
    askForBash(helper);
    const HookEvent other =
        EventBuilder(Type::permissionRequest).session(QStringLiteral("t")).tool(QStringLiteral("X"));
    const ConnectionPtr connection = ask(other);

    handle(EventBuilder(Type::stop).session(QStringLiteral("t")));
    connection->closeFromPeer();

    expectBashWaits();
    EXPECT_EQ(session(QStringLiteral("t"))->state(), State::ready);
}

TEST_F(HeldRequestEvents, requestsOfOtherSessionsKeepNothingWaiting)
{
    askForBash(mainAgent);
    ask(from(helper, EventBuilder(Type::permissionRequest).session(QStringLiteral("t")).tool(QStringLiteral("X"))));

    handle(EventBuilder(Type::stop));

    EXPECT_EQ(session()->state(), State::ready);
}

TEST_F(HeldRequestEvents, questionThatWasCoveredShowsAfterTheAnswer)
{
    askForBash(helper);
    handle(EventBuilder(Type::preToolUse)
               .tool(QStringLiteral("AskUserQuestion"))
               .input(R"({"questions":[{"question":"Which?"}]})"));
    expectBashWaits();

    allow();

    EXPECT_EQ(session()->state(), State::hasQuestion);
    EXPECT_TRUE(session()->questions().has_value());
}

TEST_F(HeldRequestEvents, questionThatWasCoveredShowsWhenTheRequestEndsByItself)
{
    const ConnectionPtr connection = askForBash(helper);
    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("AskUserQuestion")));

    connection->closeFromPeer();

    EXPECT_EQ(session()->state(), State::hasQuestion);
    EXPECT_EQ(session()->toolName(), QStringLiteral("AskUserQuestion"));
}

TEST_F(HeldRequestEvents, questionThatWasCoveredOutlivesTheHelpersToolCall)
{
    const ConnectionPtr connection = askForBash(helper);
    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("AskUserQuestion")));

    handle(from(helper, EventBuilder(Type::postToolUse).tool(QStringLiteral("Bash"))));

    EXPECT_EQ(session()->state(), State::hasQuestion);
}

TEST_F(HeldRequestEvents, questionOfTheAgentItselfIsNeverHeld)
{
    askForBash(helper);

    handle(EventBuilder(Type::permissionRequest).tool(QStringLiteral("AskUserQuestion")));

    expectBashWaits();
    EXPECT_EQ(held.heldCount(QStringLiteral("s")), 1);
}

TEST_F(HeldRequestEvents, requestWithoutDetailShowsWhatItsEventLeft)
{
    handle(EventBuilder(Type::stop).lastAssistantMessage(QStringLiteral("I will look")));

    ask(EventBuilder(Type::permissionRequest).tool(QStringLiteral("Bash")));
    expectShown(State::needsPermission, QStringLiteral("Bash"), QStringLiteral("I will look"));
    handle(from(helper, EventBuilder(Type::preToolUse).tool(QStringLiteral("Read")).detail(QStringLiteral("f"))));

    expectShown(State::needsPermission, QStringLiteral("Bash"), QStringLiteral("I will look"));
}

TEST_F(HeldRequestEvents, planKeepsItsOwnWordsWhenItsRequestHasNone)
{
    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("ExitPlanMode")));

    ask(EventBuilder(Type::permissionRequest).tool(QStringLiteral("ExitPlanMode")));

    expectShown(State::needsPermission, QStringLiteral("ExitPlanMode"), QStringLiteral("Plan review"));
}

TEST_F(HeldRequestEvents, requestWithoutDetailNeverShowsAnothersDetail)
{
    askForBash(helper);
    ask(EventBuilder(Type::permissionRequest).tool(QStringLiteral("Write")));

    allow();

    expectShown(State::needsPermission, QStringLiteral("Write"), std::nullopt);
}

TEST_F(HeldRequestEvents, requestWithoutToolNeverShowsAnothersTool)
{
    const ConnectionPtr first = askForBash(helper);
    ask(EventBuilder(Type::permissionRequest));

    first->closeFromPeer();

    expectShown(State::needsPermission, std::nullopt, std::nullopt);
}

TEST_F(HeldRequestEvents, alwaysAllowBelongsToTheRequestThatIsShown)
{
    askForBash(helper);
    ask(EventBuilder(Type::permissionRequest)
            .tool(QStringLiteral("Write"))
            .detail(QStringLiteral("/tmp/file"))
            .suggestion(R"({"type":"addRules"})"));
    EXPECT_FALSE(held.hasAlwaysAllowSuggestions(QStringLiteral("s")));

    allow();

    expectWriteWaits();
    EXPECT_TRUE(held.hasAlwaysAllowSuggestions(QStringLiteral("s")));
}

TEST_F(HeldRequestEvents, requestOf601SecondsGivesWayToTheNext)
{
    askForBash(helper);
    scheduler.advance(Seconds { 300 });
    askForWrite(mainAgent);

    scheduler.advance(Seconds { 302 });

    expectWriteWaits();
}

TEST_F(HeldRequestEvents, requestOfAFinishedSessionChangesNothing)
{
    manager.markEnded(session());
    store.journal.clear();

    const ConnectionPtr connection = askForBash(mainAgent);
    connection->closeFromPeer();

    EXPECT_FALSE(session()->isAlive());
    EXPECT_EQ(session()->state(), State::ready);
    EXPECT_TRUE(store.journal.isEmpty());
}

TEST_F(HeldRequestEvents, firstEventOfASessionMayBeItsRequest)
{
    const HookEvent event =
        EventBuilder(Type::permissionRequest).session(QStringLiteral("new")).tool(QStringLiteral("X"));

    ask(event);

    EXPECT_EQ(session(QStringLiteral("new"))->state(), State::needsPermission);
    EXPECT_EQ(session(QStringLiteral("new"))->toolName(), QStringLiteral("X"));
}

} // namespace
} // namespace vantry
