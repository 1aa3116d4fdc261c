#include "app/PanelConnections.h"

#include "app/SessionFixture.h"

namespace vantry::test {
namespace {

/// What the panel's buttons come to.
class PanelConnectionsTest : public SessionFixture
{
protected:
    void ask(std::vector<HookEvent::Question> questions)
    {
        session()->setQuestions(std::move(questions));
        session()->setState(SessionState::hasQuestion);
    }
    [[nodiscard]] static HookEvent::Question question()
    {
        return { u"Which?"_s, {}, std::vector<HookEvent::QuestionOption> { { u"A"_s, {} }, { u"B"_s, {} } }, {} };
    }

    const SessionCallbacks callbacks = sessionCallbacks(actions, bridge, held);
};

TEST_F(PanelConnectionsTest, allowAnswersTheHeldRequest)
{
    const auto connection = hold(request());
    callbacks.onAllowSession(session());

    EXPECT_EQ(connection->status, "200 OK");
    EXPECT_NE(connection->body.find("\"allow\""), std::string::npos) << connection->body;
    EXPECT_EQ(session()->state(), SessionState::working);
}

TEST_F(PanelConnectionsTest, denyLetsTheAgentGoOnOrStopsIt)
{
    const auto first = hold(request());
    callbacks.onDenySession(session(), false);
    EXPECT_NE(first->body.find("\"deny\""), std::string::npos) << first->body;
    EXPECT_EQ(first->body.find("interrupt"), std::string::npos) << first->body;
    EXPECT_EQ(session()->state(), SessionState::working);

    const auto second = hold(request());
    callbacks.onDenySession(session(), true);
    EXPECT_NE(second->body.find("interrupt"), std::string::npos) << second->body;
    EXPECT_EQ(session()->state(), SessionState::ready);
}

TEST_F(PanelConnectionsTest, alwaysAllowGivesTheSuggestedRules)
{
    const auto connection = hold(request().suggestion(R"({"type":"addRules"})"));
    EXPECT_TRUE(callbacks.hasAlwaysAllowSuggestions(session()));
    callbacks.onAlwaysAllowSession(session());

    EXPECT_NE(connection->body.find("addRules"), std::string::npos) << connection->body;
}

TEST_F(PanelConnectionsTest, requestsAreToldFromEachOther)
{
    askInTerminal();
    EXPECT_EQ(callbacks.heldRequestID(session()), QString());
    hold(request().agent(u"a"_s));
    hold(request().agent(u"b"_s));
    const QString first = callbacks.heldRequestID(session());
    EXPECT_FALSE(first.isEmpty());
    callbacks.onAllowSession(session());

    EXPECT_FALSE(callbacks.heldRequestID(session()).isEmpty());
    EXPECT_NE(callbacks.heldRequestID(session()), first);
}

TEST_F(PanelConnectionsTest, textIsTypedIntoTheTerminal)
{
    runIn(u"tmux-pane"_s);
    EXPECT_TRUE(callbacks.canType(session()));
    EXPECT_FALSE(callbacks.refusalOfText(session()));
    EXPECT_EQ(callbacks.terminalName(session()), u"tmux"_s);
    callbacks.onSendText(session(), u"go on"_s);

    EXPECT_TRUE(eventually([this] { return terminal.calls().contains(u"return 7"_s); }));
    EXPECT_EQ(terminal.calls(), QStringList({ u"type 7: go on"_s, u"return 7"_s }));
}

TEST_F(PanelConnectionsTest, whatWouldBeRefusedIsSaidBefore)
{
    runIn(u"tmux-pane"_s);
    askInTerminal();
    EXPECT_TRUE(callbacks.refusalOfText(session()));

    runIn(u"vscode"_s);
    EXPECT_FALSE(callbacks.canType(session()));
    EXPECT_EQ(callbacks.terminalName(session()), u"vscode"_s);
    ask({ question() });
    EXPECT_TRUE(callbacks.refusalOfAnswer(session(), 0));
}

TEST_F(PanelConnectionsTest, anOptionIsTakenInTheTerminal)
{
    runIn(u"tmux-pane"_s);
    ask({ question() });
    EXPECT_FALSE(callbacks.refusalOfAnswer(session(), 1));
    EXPECT_TRUE(callbacks.refusalOfAnswer(session(), 2));
    callbacks.onAnswerQuestion(session(), 1);

    EXPECT_TRUE(eventually([this] { return !terminal.calls().isEmpty(); }));
    EXPECT_EQ(terminal.calls(), QStringList { u"type 7: 2"_s });
}

TEST_F(PanelConnectionsTest, theTerminalComesForwardAndIsClosed)
{
    runIn(u"tmux-pane"_s);
    callbacks.onFocusSession(session());
    EXPECT_TRUE(eventually([this] { return terminal.calls().contains(u"focus 7"_s); }));
    callbacks.onKillSession(session());
    EXPECT_TRUE(eventually([this] { return terminal.calls().contains(u"close 7"_s); }));
}

TEST_F(PanelConnectionsTest, anAgentIsLaunchedInAProject)
{
    terminal.setPlaceToOpen(TerminalTarget { u"tmux-pane"_s, u"7"_s, {} });
    callbacks.onLaunchClaude(u"/tmp"_s, TerminalBridge::Fresh {}, {});

    EXPECT_TRUE(eventually([this] { return terminal.calls().join(u'\n').contains(u"open 7: /tmp"_s); }))
        << terminal.calls().join(u'\n').toStdString();
}

TEST_F(PanelConnectionsTest, aPlaceholderIsNobodysSession)
{
    VantrySession::Init init;
    init.id = u"pending-1"_s;
    init.state = SessionState::launching;
    const auto placeholder = std::make_shared<VantrySession>(init);
    callbacks.onFocusSession(placeholder);
    callbacks.onAllowSession(placeholder);
    callbacks.onDenySession(placeholder, true);
    callbacks.onAlwaysAllowSession(placeholder);
    callbacks.onSendText(placeholder, u"go on"_s);
    callbacks.onAnswerQuestion(placeholder, 0);
    callbacks.onKillSession(placeholder);

    EXPECT_FALSE(callbacks.canType(placeholder));
    EXPECT_EQ(callbacks.terminalName(placeholder), QString());
    EXPECT_TRUE(terminal.calls().isEmpty());
    EXPECT_EQ(placeholder->state(), SessionState::launching);
}

} // namespace
} // namespace vantry::test
