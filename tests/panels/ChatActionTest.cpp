#include "panels/ChatFacts.h"
#include "panels/ChatFixture.h"

namespace vantry::test {
namespace {

/// What a chat's action block shows and does.
using ChatActionTest = ChatFixture;

TEST_F(ChatActionTest, theBlockGoesByTheState)
{
    makeChat();
    const auto kindIn = [this](SessionState state) {
        setState(state);
        return chat->actionKind();
    };
    EXPECT_EQ(kindIn(SessionState::needsPermission), ChatViewModel::PermissionAction);
    EXPECT_EQ(kindIn(SessionState::hasQuestion), ChatViewModel::QuestionAction);
    EXPECT_EQ(kindIn(SessionState::ready), ChatViewModel::NoAction);
    EXPECT_EQ(kindIn(SessionState::working), ChatViewModel::NoAction);
    EXPECT_EQ(kindIn(SessionState::launching), ChatViewModel::NoAction);
}

TEST_F(ChatActionTest, aPermissionShowsItsToolAndInput)
{
    makeChat();
    hold(request(u"Bash"_s, u"make test"_s));

    EXPECT_EQ(chat->toolName(), u"Bash"_s);
    EXPECT_EQ(chat->toolInput(), u"make test"_s);
    EXPECT_FALSE(chat->hasAlwaysAllow());
}

TEST_F(ChatActionTest, alwaysAllowIsThereWhenTheAgentSuggestsRules)
{
    makeChat();
    hold(request().suggestion(R"({"type":"addRules"})"));

    EXPECT_TRUE(chat->hasAlwaysAllow());
    chat->alwaysAllow();
    EXPECT_EQ(calls, QStringList { u"always Bash"_s });
    EXPECT_TRUE(chat->allowPressed());
}

TEST_F(ChatActionTest, allowIsSentOnce)
{
    makeChat();
    hold(request());
    EXPECT_FALSE(chat->allowPressed());
    chat->allow();
    EXPECT_TRUE(chat->allowPressed());
    chat->allow();
    chat->deny();
    mainQueue.drainAll();
    chat->allow();

    EXPECT_EQ(calls, QStringList { u"allow Bash"_s });
}

TEST_F(ChatActionTest, denyAndDenyAndStopAreSentOnce)
{
    makeChat();
    hold(request());
    chat->deny();
    chat->deny();
    EXPECT_FALSE(chat->allowPressed());
    mainQueue.drainAll();
    wait(1);
    hold(request(u"Edit"_s));
    chat->denyAndStop();
    chat->allow();

    EXPECT_EQ(calls, QStringList({ u"deny Bash"_s, u"stop Edit"_s }));
}

TEST_F(ChatActionTest, allowPressedFallsBackWithTheNextRequest)
{
    makeChat();
    hold(request(u"Bash"_s));
    chat->allow();
    mainQueue.drainAll();
    wait(5);
    EXPECT_FALSE(chat->allowPressed()) << "nothing is asked any more";

    hold(request(u"Edit"_s));
    EXPECT_FALSE(chat->allowPressed());
    EXPECT_EQ(chat->toolName(), u"Edit"_s);
    chat->allow();
    EXPECT_EQ(calls, QStringList({ u"allow Bash"_s, u"allow Edit"_s }));
}

TEST_F(ChatActionTest, theSecondHalfOfADoublePressDoesNotAllowTheNextRequest)
{
    makeChat();
    hold(request(u"Bash"_s).agent(u"a"_s));
    hold(request(u"Write"_s).agent(u"b"_s));
    chat->allow();
    mainQueue.drainAll();
    EXPECT_EQ(chat->toolName(), u"Write"_s);
    EXPECT_TRUE(chat->allowPressed());
    chat->allow();
    EXPECT_EQ(calls, QStringList { u"allow Bash"_s });

    wait(0.5);
    EXPECT_FALSE(chat->allowPressed());
    chat->allow();
    EXPECT_EQ(calls, QStringList({ u"allow Bash"_s, u"allow Write"_s }));
}

TEST_F(ChatActionTest, aPressOnWhatIsNoLongerAskedDoesNothing)
{
    makeChat();
    const auto first = hold(request(u"Bash"_s).agent(u"a"_s));
    hold(request(u"Write"_s).agent(u"b"_s));
    ASSERT_EQ(chat->toolName(), u"Bash"_s);
    // The first request ends by itself, and the press comes before that is shown.
    first->closeFromPeer();
    chat->allow();
    EXPECT_TRUE(calls.isEmpty());
    EXPECT_FALSE(chat->allowPressed());

    EXPECT_EQ(chat->toolName(), u"Write"_s);
    chat->allow();
    EXPECT_EQ(calls, QStringList { u"allow Write"_s });
}

TEST_F(ChatActionTest, withoutAPermissionNothingIsAnswered)
{
    makeChat();
    chat->allow();
    chat->deny();
    chat->denyAndStop();
    chat->alwaysAllow();

    EXPECT_TRUE(calls.isEmpty());
    EXPECT_FALSE(chat->allowPressed());
}

TEST_F(ChatActionTest, whatIsAskedInTheTerminalAloneCanBeAllowed)
{
    makeChat();
    manager.handleEvent(request(u"Bash"_s));
    mainQueue.drainAll();
    ASSERT_EQ(chat->actionKind(), ChatViewModel::PermissionAction);
    chat->allow();
    chat->allow();
    EXPECT_EQ(calls, QStringList { u"allow in terminal"_s });

    mainQueue.drainAll();
    wait(1);
    manager.handleEvent(request(u"Bash"_s));
    mainQueue.drainAll();
    EXPECT_FALSE(chat->allowPressed());
    chat->allow();
    EXPECT_EQ(calls.size(), 2);
}

TEST_F(ChatActionTest, aFinishedSessionAsksNothing)
{
    makeChat();
    hold(request());
    change([](VantrySession &s) { s.setAlive(false); });
    EXPECT_EQ(chat->actionKind(), ChatViewModel::NoAction);
    chat->allow();
    EXPECT_TRUE(calls.isEmpty());
}

// Questions

TEST_F(ChatActionTest, aQuestionShowsItsOptions)
{
    makeChat();
    HookEvent::Question asked = question(u"Which rounding?"_s, 2);
    asked.header = u"Rounding"_s;
    asked.options->front().description = u"To even"_s;
    ask({ asked });

    ASSERT_EQ(chat->questions().size(), 1);
    const auto shown = chat->questions().first().value<ChatQuestion>();
    EXPECT_EQ(shown.question, u"Which rounding?"_s);
    EXPECT_EQ(shown.header, u"Rounding"_s);
    EXPECT_FALSE(shown.multiSelect);
    EXPECT_EQ(shown.options,
              (std::vector<ChatOption> { { u"Option 0"_s, u"To even"_s }, { u"Option 1"_s, QString() } }));
    EXPECT_EQ(shown.optionList().size(), 2);
    EXPECT_TRUE(chat->canAnswer());
    EXPECT_EQ(chat->answerRefusal(), QString());
}

TEST_F(ChatActionTest, aQuestionThatIsNotKnownHasNoOptions)
{
    makeChat();
    setState(SessionState::hasQuestion);
    EXPECT_TRUE(chat->questions().isEmpty());
    EXPECT_FALSE(chat->canAnswer());

    ask({});
    EXPECT_TRUE(chat->questions().isEmpty());
}

TEST_F(ChatActionTest, anOptionIsTakenByItsIndexOnce)
{
    makeChat();
    ask({ question(u"Which?"_s, 3) });
    chat->answer(2);
    EXPECT_FALSE(chat->canAnswer());
    chat->answer(0);
    EXPECT_EQ(calls, QStringList { u"answer s: 2"_s });

    // The keys may not have arrived.
    wait(3);
    EXPECT_TRUE(chat->canAnswer());
    chat->answer(0);
    EXPECT_EQ(calls.size(), 2);
}

TEST_F(ChatActionTest, theNextQuestionCanBeAnsweredAtOnce)
{
    makeChat();
    ask({ question(u"Which?"_s, 3) });
    chat->answer(2);
    ask({ question(u"And which?"_s, 3) });

    EXPECT_TRUE(chat->canAnswer());
    chat->answer(1);
    EXPECT_EQ(calls, QStringList({ u"answer s: 2"_s, u"answer s: 1"_s }));
}

TEST_F(ChatActionTest, whereNothingCanBeTypedAnOptionBringsTheTerminalForwardAndSaysSo)
{
    answerRefusal = u"nothing can be typed into vscode"_s;
    makeChat();
    ask({ question(u"Which?"_s, 3) });
    EXPECT_FALSE(chat->canAnswer());
    EXPECT_EQ(chat->answerRefusal(), u"Nothing can be typed into vscode"_s);

    // The application brings the terminal forward in place of typing, as often as it is asked to.
    chat->answer(0);
    chat->answer(0);
    EXPECT_EQ(calls, QStringList({ u"answer s: 0"_s, u"answer s: 0"_s }));
}

TEST_F(ChatActionTest, severalQuestionsAndMultipleChoicesAreAnsweredInTheTerminal)
{
    makeChat();
    ask({ question(u"Which?"_s, 3), question(u"And which?"_s, 2) });
    EXPECT_EQ(chat->questions().size(), 2);
    EXPECT_FALSE(chat->canAnswer());
    EXPECT_FALSE(chat->answerRefusal().isEmpty());

    ask({ question(u"Which?"_s, 3, true) });
    EXPECT_FALSE(chat->canAnswer());
    ask({ question(u"Which?"_s, 0) });
    EXPECT_FALSE(chat->canAnswer());
}

TEST_F(ChatActionTest, answersOutsideAQuestionAreIgnored)
{
    makeChat();
    chat->answer(0);
    setState(SessionState::needsPermission);
    chat->answer(0);

    EXPECT_TRUE(calls.isEmpty());
}

TEST_F(ChatActionTest, theListOfQuestionsIsNotTouchedByOtherChanges)
{
    makeChat();
    ask({ question(u"Which?"_s, 3) });
    int changed = 0;
    QObject::connect(chat.get(), &ChatViewModel::questionsChanged, chat.get(), [&changed] { ++changed; });
    change([](VantrySession &s) { s.setContextPercent(40); });

    EXPECT_EQ(changed, 0);
}

} // namespace
} // namespace vantry::test
