#include "SessionFixture.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using test::EventBuilder;

/// What a completion was told.
struct Ended
{
    [[nodiscard]] SessionActions::Completion completion()
    {
        return [this](const std::optional<QString> &told) {
            ++times;
            failure = told;
        };
    }

    int times { 0 };
    std::optional<QString> failure;
};

class SessionActionsTest : public test::SessionFixture
{};

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

TEST_F(SessionActionsTest, allowTypesTheApprovalWhereTheQuestionIsInTheTerminal)
{
    runIn(u"tmux-pane"_s);
    askInTerminal();
    Ended ended;

    actions.allow(u"s"_s, ended.completion());

    EXPECT_EQ(session()->state(), SessionState::working);
    EXPECT_EQ(session()->toolName(), std::nullopt);
    EXPECT_EQ(store.rows.value(u"s"_s).state, SessionState::working);
    ASSERT_TRUE(eventually([&] { return ended.times == 1; }));
    EXPECT_EQ(ended.failure, std::nullopt);
    EXPECT_EQ(terminal.calls(), QStringList { u"return 7"_s });
}

TEST_F(SessionActionsTest, allowBringsATerminalForwardThatCannotBeTypedInto)
{
    runIn(u"terminal"_s);
    askInTerminal();
    Ended ended;

    actions.allow(u"s"_s, ended.completion());

    EXPECT_EQ(session()->state(), SessionState::working);
    EXPECT_TRUE(
        log.contains(u"TerminalBridge: pressReturn not supported for 'terminal' — focusing terminal instead"_s));
    ASSERT_TRUE(eventually([&] { return ended.times == 1; }));
    EXPECT_TRUE(ended.failure);
}

TEST_F(SessionActionsTest, allowApprovesAPlanInTheTerminal)
{
    runIn(u"tmux-pane"_s);
    manager.handleEvent(EventBuilder(HookEventType::preToolUse).tool(u"ExitPlanMode"_s));

    actions.allow(u"s"_s);

    ASSERT_TRUE(eventually([&] { return !terminal.calls().isEmpty(); }));
    EXPECT_EQ(terminal.calls(), QStringList { u"type 7: 2"_s }) << "Return would turn off the questions about edits";
}

TEST_F(SessionActionsTest, allowOfAHeldPlanIsTypedOnceTheAgentHasItsAnswer)
{
    runIn(u"tmux-pane"_s);
    const auto connection = hold(request(u"ExitPlanMode"_s));
    Ended ended;

    actions.allow(u"s"_s, ended.completion());

    EXPECT_NE(connection->body.find(R"("behavior":"allow")"), std::string::npos);
    EXPECT_EQ(session()->state(), SessionState::working);
    EXPECT_TRUE(terminal.calls().isEmpty()) << "the agent takes the answer first";
    ASSERT_TRUE(eventually([&] { return ended.times == 1; }));
    EXPECT_EQ(ended.failure, std::nullopt);
    EXPECT_EQ(terminal.calls(), QStringList { u"type 7: 2"_s });
}

TEST_F(SessionActionsTest, allowOfAHeldPlanTypesNothingOnceTheSessionHasGoneOn)
{
    runIn(u"tmux-pane"_s);
    hold(request(u"ExitPlanMode"_s));
    Ended ended;

    actions.allow(u"s"_s, ended.completion());
    clock.advance(Seconds { 0.01 });
    manager.handleEvent(EventBuilder(HookEventType::postToolUse).tool(u"ExitPlanMode"_s));

    ASSERT_TRUE(eventually([&] { return ended.times == 1; }));
    EXPECT_EQ(ended.failure, std::nullopt);
    EXPECT_TRUE(terminal.calls().isEmpty());
}

TEST_F(SessionActionsTest, allowOfAHeldPlanBringsForwardWhatCannotBeTypedInto)
{
    runIn(u"terminal"_s);
    hold(request(u"ExitPlanMode"_s));
    Ended ended;

    actions.allow(u"s"_s, ended.completion());

    ASSERT_TRUE(eventually([&] { return ended.times == 1; }));
    EXPECT_EQ(ended.failure, std::nullopt) << "the request itself has been answered";
    EXPECT_EQ(scripts.scripts.size(), 1);
    EXPECT_TRUE(
        log.lines().contains(u"SessionActions: the plan of session s has to be approved in its terminal, too"_s));
}

TEST_F(SessionActionsTest, allowTypesNothingForTheHeldPlanOfABackgroundAgent)
{
    runIn(u"tmux-pane"_s);
    hold(request(u"ExitPlanMode"_s).agent(u"helper"_s));
    Ended ended;

    actions.allow(u"s"_s, ended.completion());

    EXPECT_EQ(ended.times, 1);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(SessionActionsTest, goesWhileAPlanIsApproved)
{
    runIn(u"tmux-pane"_s);
    hold(request(u"ExitPlanMode"_s));
    Ended ended;
    {
        SessionActions shortLived({ manager, held, bridge, scheduler, log });
        shortLived.allow(u"s"_s, ended.completion());
    }

    scheduler.advance(Seconds { 10 });

    EXPECT_EQ(ended.times, 0);
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
    actions.focusSession(u"none"_s);
    actions.answerQuestion(u"none"_s, 0);
    actions.sendText(u"none"_s, u"Hello"_s);

    EXPECT_FALSE(actions.hasAlwaysAllowSuggestions(u"none"_s));
    EXPECT_TRUE(manager.sessions().isEmpty());
    EXPECT_TRUE(terminal.calls().isEmpty() && scripts.scripts.isEmpty());
}

TEST_F(SessionActionsTest, whoActsOnAnUnknownSessionIsTold)
{
    Ended ended;

    actions.allow(u"none"_s, ended.completion());
    actions.deny(u"none"_s, SessionActions::Denial::AgentGoesOn, ended.completion());
    actions.alwaysAllow(u"none"_s, ended.completion());
    actions.killSession(u"none"_s, ended.completion());
    actions.focusSession(u"none"_s, ended.completion());
    actions.answerQuestion(u"none"_s, 0, ended.completion());
    actions.sendText(u"none"_s, u"Hello"_s, ended.completion());

    EXPECT_EQ(ended.times, 7);
    EXPECT_TRUE(ended.failure);
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

TEST_F(SessionActionsTest, denyWithoutARequestTypesNothing)
{
    runIn(u"tmux-pane"_s);
    askInTerminal();

    actions.deny(u"s"_s, SessionActions::Denial::AgentGoesOn);
    mainQueue.drainAll();

    EXPECT_TRUE(terminal.calls().isEmpty());
}

TEST_F(SessionActionsTest, sendTypesTheTrimmedText)
{
    runIn(u"tmux-pane"_s);
    log.clear();
    Ended ended;

    actions.sendText(u"s"_s, u" \n Go on \n"_s, ended.completion());

    EXPECT_EQ(log.lines().mid(0, 3), (QStringList { u"sendTextToSession called: id=s text= \n Go on \n"_s,
                                                    u"sendTextToSession: calling terminalBridge.sendText"_s,
                                                    u"TerminalBridge: sendText to tmux-pane, text=Go on"_s }));
    ASSERT_TRUE(eventually([&] { return terminal.calls().size() == 2; }));
    EXPECT_EQ(terminal.calls(), (QStringList { u"type 7: Go on"_s, u"return 7"_s }));
    EXPECT_EQ(ended.failure, std::nullopt);
}

TEST_F(SessionActionsTest, sendTakesAPercentSignAsItStands)
{
    runIn(u"tmux-pane"_s);

    actions.sendText(u"s"_s, u"50%1 of %2"_s);

    EXPECT_TRUE(log.contains(u"sendTextToSession called: id=s text=50%1 of %2"_s));
}

TEST_F(SessionActionsTest, sendSaysWhatIsMissing)
{
    Ended ended;

    actions.sendText(u"none"_s, u"Hello"_s, ended.completion());
    EXPECT_EQ(log.lines().last(), u"sendTextToSession: session not found");

    runIn(u"tmux-pane"_s);
    actions.sendText(u"s"_s, u" \n\t "_s, ended.completion());
    EXPECT_EQ(log.lines().last(), u"sendTextToSession: text empty after trim");

    manager.handleEvent(EventBuilder(HookEventType::sessionEnd));
    actions.sendText(u"s"_s, u"Hello"_s, ended.completion());
    EXPECT_EQ(log.lines().last(), u"sendTextToSession: session not alive");

    EXPECT_EQ(ended.times, 3);
    EXPECT_TRUE(ended.failure);
    EXPECT_TRUE(terminal.calls().isEmpty());
}

TEST_F(SessionActionsTest, answersOnlyASessionThatAsks)
{
    runIn(u"iterm2"_s);
    Ended ended;

    actions.answerQuestion(u"s"_s, 0, ended.completion());

    EXPECT_EQ(ended.times, 1);
    EXPECT_TRUE(ended.failure);
    EXPECT_TRUE(scripts.scripts.isEmpty());

    session()->setState(SessionState::hasQuestion);
    actions.answerQuestion(u"s"_s, 1, ended.completion());
    EXPECT_TRUE(log.contains(u"TerminalBridge: answerQuestion index=1 for iterm2"_s));
}

TEST_F(SessionActionsTest, focusesTheTerminal)
{
    runIn(u"tmux-pane"_s);
    Ended ended;

    actions.focusSession(u"s"_s, ended.completion());

    ASSERT_TRUE(eventually([&] { return ended.times == 1; }));
    EXPECT_EQ(terminal.calls(), QStringList { u"focus 7"_s });
}

TEST_F(SessionActionsTest, launchesWithoutAPrompt)
{
    QTemporaryDir project;
    runIn(u"tmux-pane"_s);
    Ended ended;

    actions.launch(project.path(), TerminalBridge::Resume { u"abc"_s }, { AgentPermissionMode::bypassPermissions },
                   ended.completion());

    ASSERT_TRUE(eventually([&] { return ended.times == 1; }));
    EXPECT_EQ(ended.failure, std::nullopt);
    EXPECT_TRUE(terminal.calls().last().endsWith(
        u"cd '%1' && claude --resume 'abc' --dangerously-skip-permissions"_s.arg(project.path())))
        << terminal.calls().last().toStdString();
}

TEST_F(SessionActionsTest, killClosesTheTabFirst)
{
    processes.processes.insert(4711, 1000);
    manager.handleEvent(EventBuilder(HookEventType::sessionStart).pid(4711).terminal(u"tmux-pane"_s, u"7"_s));
    log.clear();

    actions.killSession(u"s"_s);

    const QStringList lines = log.lines();
    EXPECT_LT(lines.indexOf(u"TerminalBridge: closeTab for tmux-pane, sessionID=7"_s),
              lines.indexOf(u"SessionManager: killing session s (PID 4711)"_s));
    EXPECT_TRUE(lines.contains(u"TerminalBridge: closeTab for tmux-pane, sessionID=7"_s));
    EXPECT_FALSE(session()->isAlive());
    terminal.waitForCalls(1);
    EXPECT_EQ(terminal.calls(), QStringList { u"close 7"_s });
}

TEST_F(SessionActionsTest, killEndsASessionWhoseTabStays)
{
    runIn(u"tmux-pane"_s);
    terminal.setFailure(u"the pane is gone"_s);
    Ended ended;

    actions.killSession(u"s"_s, ended.completion());

    EXPECT_EQ(ended.times, 1);
    EXPECT_EQ(ended.failure, std::nullopt);
    EXPECT_FALSE(session()->isAlive());
}

TEST_F(SessionActionsTest, killEndsTheSession)
{
    processes.processes.insert(4711, 1000);
    manager.handleEvent(EventBuilder(HookEventType::sessionStart).pid(4711));

    actions.killSession(u"s"_s);

    EXPECT_EQ(processes.terminated, QList<std::int64_t> { 4711 });
    EXPECT_FALSE(session()->isAlive());
}

} // namespace
} // namespace vantry
