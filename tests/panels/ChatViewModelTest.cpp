#include "panels/ChatFixture.h"
#include "panels/SessionInfo.h"

namespace vantry::test {
namespace {

using ChatViewModelTest = ChatFixture;

// The header

TEST_F(ChatViewModelTest, theTitleIsTheSessionsName)
{
    makeChat();
    EXPECT_EQ(chat->title(), u"s"_s);
    change([](VantrySession &s) { s.setProjectName(u"shop"_s); });
    EXPECT_EQ(chat->title(), u"shop"_s);
}

TEST_F(ChatViewModelTest, theContextBarsColourGoesByTheFreeShare)
{
    makeChat();
    EXPECT_EQ(chat->contextUsed(), -1);
    const auto levelAt = [this](int free) {
        change([free](VantrySession &s) { s.setContextPercent(free); });
        EXPECT_EQ(chat->contextUsed(), 100 - free);
        return chat->contextLevel();
    };
    EXPECT_EQ(levelAt(100), ChatViewModel::Green);
    EXPECT_EQ(levelAt(51), ChatViewModel::Green);
    EXPECT_EQ(levelAt(50), ChatViewModel::Yellow);
    EXPECT_EQ(levelAt(21), ChatViewModel::Yellow);
    EXPECT_EQ(levelAt(20), ChatViewModel::Red);
    EXPECT_EQ(levelAt(0), ChatViewModel::Red);
    EXPECT_EQ(chat->contextText(), u"~100% used"_s);
}

TEST_F(ChatViewModelTest, aFinishedSessionShowsNoContextAndNoTyping)
{
    makeChat();
    change([](VantrySession &s) { s.setContextPercent(50); });
    EXPECT_EQ(chat->typingText(), u"Thinking..."_s);

    change([](VantrySession &s) { s.setAlive(false); });
    EXPECT_FALSE(chat->isAlive());
    EXPECT_EQ(chat->contextUsed(), -1);
    EXPECT_EQ(chat->typingText(), QString());
    EXPECT_EQ(chat->actionKind(), ChatViewModel::NoAction);
}

TEST_F(ChatViewModelTest, stoppingAsksFirst)
{
    makeChat();
    EXPECT_FALSE(chat->showKillConfirm());
    chat->setShowKillConfirm(true);
    EXPECT_TRUE(chat->showKillConfirm());
    EXPECT_TRUE(calls.isEmpty());

    chat->kill();
    EXPECT_EQ(calls, QStringList { u"kill s"_s });
    EXPECT_FALSE(chat->showKillConfirm());
}

TEST_F(ChatViewModelTest, backClosesTheChat)
{
    makeChat();
    int times = 0;
    QObject::connect(chat.get(), &ChatViewModel::closed, chat.get(), [&times] { ++times; });
    chat->close();
    EXPECT_EQ(times, 1);
}

// The messages

TEST_F(ChatViewModelTest, readsTheTranscriptAsItComesUp)
{
    append(userLine("1", "Mend it") + assistantLine("2", "Done."));
    openChat();

    EXPECT_EQ(texts(), QStringList({ u"Mend it"_s, u"Done."_s }));
    EXPECT_FALSE(chat->isEmpty());
}

TEST_F(ChatViewModelTest, showsTheLastFiftyMessages)
{
    QByteArray lines;
    for (int i = 1; i <= 200; ++i)
        lines += userLine(QByteArray::number(i), "m" + QByteArray::number(i));
    append(lines);
    openChat();

    EXPECT_EQ(texts().size(), 50);
    EXPECT_EQ(texts().first(), u"m151"_s);
    EXPECT_EQ(texts().last(), u"m200"_s);
}

TEST_F(ChatViewModelTest, readsAgainEveryThreeSeconds)
{
    append(userLine("1", "a"));
    openChat();
    append(userLine("2", "b"));
    wait(2.9);
    EXPECT_EQ(texts(), QStringList { u"a"_s });

    wait(0.1);
    EXPECT_EQ(texts(), QStringList({ u"a"_s, u"b"_s }));
}

TEST_F(ChatViewModelTest, readsSoonAfterAnEvent)
{
    append(userLine("1", "a"));
    openChat();
    append(userLine("2", "b"));
    setState(SessionState::ready);
    wait(0.3);

    EXPECT_EQ(texts(), QStringList({ u"a"_s, u"b"_s }));
}

TEST_F(ChatViewModelTest, aStormOfEventsSharesOneRead)
{
    openChat();
    const std::size_t timers = scheduler.activeTimers();
    for (int i = 0; i < 100; ++i)
        setState(i % 2 == 0 ? SessionState::ready : SessionState::working);

    EXPECT_EQ(scheduler.activeTimers(), timers + 1);
}

TEST_F(ChatViewModelTest, readsNothingAndRunsNoTimerWhileItIsNotVisible)
{
    makeChat();
    append(userLine("1", "a"));
    setState(SessionState::ready);
    wait(10);
    EXPECT_EQ(chat->messages()->count(), 0);

    chat->setVisible(true);
    settle();
    EXPECT_EQ(texts(), QStringList { u"a"_s });
    chat->setVisible(false);
    wait(1);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    append(userLine("2", "b"));
    wait(10);
    EXPECT_EQ(texts(), QStringList { u"a"_s });
    chat->setVisible(true);
    settle();
    EXPECT_EQ(texts(), QStringList({ u"a"_s, u"b"_s }));
}

TEST_F(ChatViewModelTest, followsTheSessionWhileItIsNotVisible)
{
    makeChat();
    setState(SessionState::ready);
    EXPECT_EQ(chat->statusText(), u"Ready"_s);
}

TEST_F(ChatViewModelTest, aResultThatComesAfterTheEndIsDropped)
{
    append(userLine("1", "a"));
    makeChat();
    chat->setVisible(true);
    workers.waitForDone();
    chat.reset();

    mainQueue.drainAll();
}

TEST_F(ChatViewModelTest, aMissingTranscriptLeavesTheListAsItWas)
{
    append(userLine("1", "a"));
    openChat();
    ASSERT_TRUE(QFile::remove(transcript()));
    wait(3);

    EXPECT_EQ(texts(), QStringList { u"a"_s });
    EXPECT_FALSE(chat->isEmpty());
}

TEST_F(ChatViewModelTest, anUnreadableTranscriptLeavesTheListAsItWas)
{
    append(userLine("1", "a"));
    openChat();
    append("\xff\xfe\n");
    wait(3);

    EXPECT_EQ(texts(), QStringList { u"a"_s });
}

TEST_F(ChatViewModelTest, withoutATranscriptTheListIsEmptyAndSaysSo)
{
    makeChat();
    EXPECT_FALSE(chat->isEmpty()) << "nothing has been looked for yet";
    chat->setVisible(true);
    settle();
    EXPECT_TRUE(chat->isEmpty());

    append(userLine("1", "a"));
    wait(3);
    EXPECT_FALSE(chat->isEmpty());
}

TEST_F(ChatViewModelTest, aTranscriptThatMovesIsReadAtItsNewPlace)
{
    append(userLine("1", "a"));
    openChat();
    const QString moved = home.filePath(u"moved.jsonl"_s);
    ASSERT_TRUE(QFile::rename(transcript(), moved));
    QFile file(moved);
    ASSERT_TRUE(file.open(QFile::Append));
    file.write(userLine("2", "b"));
    file.close();
    change([&](VantrySession &s) { s.setTranscriptPath(moved); });
    wait(3);

    EXPECT_EQ(texts(), QStringList({ u"a"_s, u"b"_s }));
}

TEST_F(ChatViewModelTest, theListScrollsAMomentAfterRowsCame)
{
    int scrolls = 0;
    append(userLine("1", "a"));
    makeChat();
    QObject::connect(chat.get(), &ChatViewModel::scrollToEnd, chat.get(), [&scrolls] { ++scrolls; });
    chat->setVisible(true);
    settle();
    EXPECT_EQ(scrolls, 0);
    wait(0.1);
    EXPECT_EQ(scrolls, 1);

    wait(9);
    EXPECT_EQ(scrolls, 1) << "nothing came";
}

TEST_F(ChatViewModelTest, typingShowsWhileTheAgentWorks)
{
    makeChat();
    const auto textIn = [this](SessionState state) {
        setState(state);
        return chat->typingText();
    };
    EXPECT_EQ(textIn(SessionState::launching), u"Starting..."_s);
    EXPECT_EQ(textIn(SessionState::working), u"Thinking..."_s);
    EXPECT_EQ(textIn(SessionState::ready), QString());
    EXPECT_EQ(textIn(SessionState::needsPermission), QString());
    EXPECT_EQ(textIn(SessionState::hasQuestion), QString());
}

// Sending

TEST_F(ChatViewModelTest, whatIsSentIsTrimmedAndShowsAtOnce)
{
    openChat();
    chat->setTypedText(u" \n go on\t\n"_s);
    EXPECT_TRUE(chat->canSend());
    chat->send();

    EXPECT_EQ(calls, QStringList { u"send s: go on"_s });
    EXPECT_EQ(texts(), QStringList { u"go on"_s });
    EXPECT_EQ(column(ChatMessageModel::IsPendingRole), QVariantList { true });
    EXPECT_EQ(chat->typedText(), QString());
    EXPECT_FALSE(chat->canSend());
    EXPECT_FALSE(chat->isEmpty());
}

TEST_F(ChatViewModelTest, blanksAloneAreNotSentAndStayInTheField)
{
    makeChat();
    chat->setTypedText(u" \n\t "_s);
    EXPECT_FALSE(chat->canSend());
    chat->send();

    EXPECT_TRUE(calls.isEmpty());
    EXPECT_EQ(chat->messages()->count(), 0);
    EXPECT_EQ(chat->typedText(), u" \n\t "_s);
}

TEST_F(ChatViewModelTest, thePendingMessageGoesWhenTheTranscriptHasItsText)
{
    append(userLine("1", "a"));
    openChat();
    chat->setTypedText(u"go on"_s);
    chat->send();
    wait(3);
    EXPECT_EQ(column(ChatMessageModel::IsPendingRole), QVariantList({ false, true }));

    append(userLine("2", "go on"));
    wait(3);
    EXPECT_EQ(texts(), QStringList({ u"a"_s, u"go on"_s }));
    EXPECT_EQ(column(ChatMessageModel::IsPendingRole), QVariantList({ false, false }));
}

TEST_F(ChatViewModelTest, aPendingMessageBehindAFullListStaysUntilItIsTakenIn)
{
    QByteArray lines;
    for (int i = 1; i <= 50; ++i)
        lines += userLine(QByteArray::number(i), "m" + QByteArray::number(i));
    append(lines);
    openChat();
    chat->setTypedText(u"go on"_s);
    chat->send();
    wait(3);
    EXPECT_EQ(texts().size(), 51);

    append(userLine("x", "go on"));
    wait(3);
    EXPECT_EQ(texts().size(), 50);
    EXPECT_EQ(texts().last(), u"go on"_s);
}

TEST_F(ChatViewModelTest, pendingMessagesDieWithTheChat)
{
    openChat();
    chat->setTypedText(u"go on"_s);
    chat->send();
    openChat();

    EXPECT_EQ(chat->messages()->count(), 0);
    EXPECT_TRUE(chat->isEmpty());
}

TEST_F(ChatViewModelTest, whatWouldBeRefusedByNowStaysInTheField)
{
    makeChat();
    chat->setTypedText(u"go on"_s);
    textRefusal = u"the session waits for a permission, which text would grant"_s;
    chat->send();

    EXPECT_TRUE(calls.isEmpty());
    EXPECT_EQ(chat->typedText(), u"go on"_s);
    EXPECT_FALSE(chat->canSend());
    EXPECT_EQ(chat->messages()->count(), 0);
}

// The input bar

TEST_F(ChatViewModelTest, theInputBarShowsForTwoTerminalsAndWhereTextWouldArrive)
{
    makeChat();
    const auto showsFor = [this](const QString &type, bool arrives) {
        canType = arrives;
        change([&](VantrySession &s) { s.setTerminalType(type); });
        return chat->showsInputBar();
    };
    EXPECT_TRUE(showsFor(u"iterm2"_s, false));
    EXPECT_TRUE(showsFor(u"kitty"_s, false));
    EXPECT_TRUE(showsFor(u"iTerm2"_s, false));
    EXPECT_TRUE(showsFor(u"KITTY"_s, false));
    EXPECT_FALSE(showsFor(u"terminal"_s, false));
    EXPECT_FALSE(showsFor(u"x11-window"_s, false));
    EXPECT_FALSE(showsFor(u""_s, false));
    EXPECT_TRUE(showsFor(u"tmux-pane"_s, true));
}

TEST_F(ChatViewModelTest, aPlainTerminalWindowHasNoInputBarAndOpensInTerminal)
{
    canType = false;
    session()->setTerminalType(u"terminal"_s);
    makeChat();

    EXPECT_FALSE(chat->showsInputBar());
    EXPECT_EQ(chat->footerText(), u"Open in Terminal"_s);
}

TEST_F(ChatViewModelTest, whileAPermissionWaitsTheFieldSaysWhyItIsDisabled)
{
    makeChat();
    EXPECT_TRUE(chat->inputEnabled());
    EXPECT_EQ(chat->placeholder(), u"Message..."_s);
    chat->setTypedText(u"half a tho"_s);

    textRefusal = u"the session waits for a permission, which text would grant"_s;
    setState(SessionState::needsPermission);
    EXPECT_TRUE(chat->showsInputBar());
    EXPECT_FALSE(chat->inputEnabled());
    EXPECT_EQ(chat->placeholder(), u"Answer the request above first"_s);
    EXPECT_FALSE(chat->canSend());
    EXPECT_EQ(chat->typedText(), u"half a tho"_s);

    textRefusal.reset();
    setState(SessionState::working);
    EXPECT_TRUE(chat->inputEnabled());
    EXPECT_TRUE(chat->canSend());
}

TEST_F(ChatViewModelTest, whileOneSingleChoiceWaitsTheFieldSaysThatItAnswers)
{
    makeChat();
    ask({ question(u"Which?"_s, 2) });
    EXPECT_TRUE(chat->inputEnabled());
    EXPECT_EQ(chat->placeholder(), u"Answer in your own words..."_s);

    ask({ question(u"Which?"_s, 2, true) });
    EXPECT_EQ(chat->placeholder(), u"Message..."_s);
}

TEST_F(ChatViewModelTest, aFinishedSessionTakesNoText)
{
    makeChat();
    chat->setTypedText(u"go on"_s);
    change([](VantrySession &s) { s.setAlive(false); });
    chat->send();

    EXPECT_FALSE(chat->inputEnabled());
    EXPECT_EQ(chat->placeholder(), u"The session has finished"_s);
    EXPECT_TRUE(calls.isEmpty());
}

// The footer

TEST_F(ChatViewModelTest, theFooterNamesTheEditorOrElseTheTerminal)
{
    makeChat();
    const auto footerFor = [this](const std::optional<QString> &type) {
        change([&](VantrySession &s) { s.setTerminalType(type); });
        return QString(chat->footerText() + u" / "_s + chat->footerSymbol());
    };
    EXPECT_EQ(footerFor(u"vscode"_s), u"Open in VS Code / square.grid.2x2"_s);
    EXPECT_EQ(footerFor(u"cursor"_s), u"Open in Cursor / square.grid.2x2"_s);
    EXPECT_EQ(footerFor(u"kitty"_s), u"Open in Terminal / rectangle.inset.filled.and.cursorarrow"_s);
    EXPECT_EQ(footerFor(std::nullopt), u"Open in Terminal / rectangle.inset.filled.and.cursorarrow"_s);
}

TEST_F(ChatViewModelTest, theFooterBringsTheTerminalForward)
{
    makeChat();
    chat->focusTerminal();
    EXPECT_EQ(calls, QStringList { u"focus s"_s });
}

// Session info

TEST_F(ChatViewModelTest, theSessionInfoFollowsTheSession)
{
    makeChat();
    int changed = 0;
    QObject::connect(chat.get(), &ChatViewModel::infoRowsChanged, chat.get(), [&changed] { ++changed; });
    change([](VantrySession &s) { s.setLastPrompt(u"Mend it"_s); });
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(chat->infoRows().last().value<SessionInfoRow>(),
              (SessionInfoRow { u"Last Prompt"_s, u"Mend it"_s, false }));

    change([](VantrySession &s) { s.setGitBranch(u"main"_s); });
    EXPECT_EQ(changed, 1) << "nothing in it is another";
    EXPECT_FALSE(chat->showSessionInfo());
    chat->setShowSessionInfo(true);
    EXPECT_TRUE(chat->showSessionInfo());
}

// Links

TEST_F(ChatViewModelTest, opensLinksOfTheWebAndNothingElse)
{
    makeChat();
    chat->openLink(u"https://example.com/a"_s);
    chat->openLink(u"javascript:alert(1)"_s);
    chat->openLink(u"file:///nonexistent"_s);

    EXPECT_EQ(calls, QStringList { u"open https://example.com/a"_s });
}

// Another session

TEST_F(ChatViewModelTest, aPlaceholderBecomesTheRealSession)
{
    append(userLine("1", "a"));
    VantrySession::Init init;
    init.id = u"pending-1"_s;
    init.state = SessionState::launching;
    init.projectName = u"shop"_s;
    chat = std::make_unique<ChatViewModel>(services(), callbacks(), std::make_shared<VantrySession>(init));
    chat->setVisible(true);
    settle();
    EXPECT_EQ(chat->typingText(), u"Starting..."_s);
    EXPECT_TRUE(chat->isEmpty());
    chat->setTypedText(u"half a tho"_s);

    chat->replaceSession(session());
    EXPECT_FALSE(chat->isEmpty()) << "nothing has been read yet";
    settle();
    EXPECT_EQ(chat->session(), session());
    EXPECT_EQ(chat->typingText(), u"Thinking..."_s);
    EXPECT_EQ(chat->typedText(), u"half a tho"_s);
    EXPECT_EQ(texts(), QStringList { u"a"_s });
    setState(SessionState::ready);
    EXPECT_EQ(chat->statusText(), u"Ready"_s);
}

TEST_F(ChatViewModelTest, whatIsReadOfTheFormerSessionIsDropped)
{
    append(userLine("1", "a"));
    makeChat();
    chat->setVisible(true);
    workers.waitForDone();
    manager.handleEvent(EventBuilder(HookEventType::sessionStart).session(u"t"_s));
    chat->replaceSession(manager.session(u"t"_s));
    settle();

    EXPECT_EQ(chat->messages()->count(), 0);
    EXPECT_TRUE(chat->isEmpty());
}

TEST_F(ChatViewModelTest, changesOfOtherSessionsAreNotItsOwn)
{
    makeChat();
    int changed = 0;
    QObject::connect(chat.get(), &ChatViewModel::statusChanged, chat.get(), [&changed] { ++changed; });
    manager.handleEvent(EventBuilder(HookEventType::stop).session(u"t"_s));
    mainQueue.drainAll();

    EXPECT_EQ(changed, 0);
}

TEST_F(ChatViewModelTest, theSessionMayLeaveTheListWhileItsChatIsOpen)
{
    openChat();
    manager.killSession(session());
    mainQueue.drainAll();
    clock.advance(Seconds { 100'000 });
    manager.cleanUpSessions();
    mainQueue.drainAll();
    wait(10);

    EXPECT_FALSE(chat->isAlive());
    EXPECT_EQ(chat->statusText(), u"Finished"_s);
}

} // namespace
} // namespace vantry::test
