#include "telegram/TelegramFixture.h"

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class TelegramPolling : public TelegramFixture
{
protected:
    /// The texts of what was sent to a method, in order.
    QStringList textsTo(const QString &method) const
    {
        QStringList texts;
        for (const auto &request : api.of(method))
            texts.append(QString::fromStdString(request.json().value("text", std::string())));
        return texts;
    }
    SessionPtr askingSession() const
    {
        VantrySession::Init init;
        init.id = u"s1"_s;
        auto session = std::make_shared<VantrySession>(std::move(init));
        session->setQuestions(std::vector { HookEvent::Question {
            u"Which?"_s,
            {},
            std::vector { HookEvent::QuestionOption { u"First"_s, {} }, HookEvent::QuestionOption { u"Second"_s, {} } },
            {} } });
        return session;
    }
    void provide(const SessionPtr &session)
    {
        service->sessionProvider = [session](const QString &id) {
            return session && session->id() == id ? session : nullptr;
        };
    }
    /// The toast that a press of a button with this data gets.
    QString toastOf(const QByteArray &data)
    {
        EXPECT_TRUE(deliver(press(data)));
        const QStringList texts = textsTo(u"answerCallbackQuery"_s);
        return texts.isEmpty() ? QString() : texts.last();
    }
};

// When it polls

TEST_F(TelegramPolling, needsATokenAndAChatAndNoPause)
{
    service->setBotToken(token);
    EXPECT_FALSE(service->isPolling());
    service->setChatID(u"7"_s);
    EXPECT_TRUE(service->isPolling());
    service->setPaused(true);
    EXPECT_FALSE(service->isPolling());
    service->setPaused(false);
    EXPECT_TRUE(service->isPolling());
    service->setChatID({});
    EXPECT_FALSE(service->isPolling());
    service->setChatID(u"7"_s);
    service->setBotToken({});
    EXPECT_FALSE(service->isPolling());
    service->startPolling();
    EXPECT_FALSE(service->isPolling()) << "without a token";
}

TEST_F(TelegramPolling, onlyATokenIsNeededToBeStarted)
{
    service->setBotToken(token);
    service->startPolling();
    EXPECT_TRUE(waitForPolls(1));
}

TEST_F(TelegramPolling, asksFromTheFirstUpdateOnAndThenBehindTheLast)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    EXPECT_EQ(api.polls().back().verb, u"GET"_s);
    EXPECT_EQ(api.polls().back().path, u"/bot123:SECRET/getUpdates?offset=1&timeout=30"_s);
    ASSERT_TRUE(deliver(R"({"update_id":41})"));
    EXPECT_EQ(lastPoll(), u"getUpdates?offset=42&timeout=30"_s);
    EXPECT_EQ(service->lastUpdateID(), 41);
    // An older one doesn't take it back.
    ASSERT_TRUE(deliver(R"({"update_id":7})"));
    EXPECT_EQ(lastPoll(), u"getUpdates?offset=42&timeout=30"_s);
}

TEST_F(TelegramPolling, theLastNumberOfAllIsNotCountedOn)
{
    configure();
    ASSERT_TRUE(deliver(R"({"update_id":9223372036854775807},{"update_id":-9223372036854775808})"));
    EXPECT_EQ(lastPoll(), u"getUpdates?offset=9223372036854775807&timeout=30"_s);
}

TEST_F(TelegramPolling, anEmptyAnswerIsAskedAgainAtOnce)
{
    configure();
    ASSERT_TRUE(deliver({}));
    EXPECT_THAT(printed, IsEmpty());
    EXPECT_EQ(scheduler.activeTimers(), 1U) << "the time-out of the one request";
}

TEST_F(TelegramPolling, aNewTokenOrChatReplacesThePoll)
{
    configure();
    ASSERT_TRUE(deliver(R"({"update_id":41})"));
    service->setBotToken(u"9:NEW"_s);
    ASSERT_TRUE(waitForPolls(3));
    EXPECT_EQ(api.polls()[2].path, u"/bot9:NEW/getUpdates?offset=42&timeout=30"_s);
    EXPECT_TRUE(runUntil([&] { return !api.polls()[1].isOpen(); }));
    service->setChatID(u"8"_s);
    ASSERT_TRUE(waitForPolls(4));
    EXPECT_TRUE(runUntil([&] { return !api.polls()[2].isOpen(); }));
    EXPECT_TRUE(api.polls()[3].isOpen());
    EXPECT_THAT(printed, IsEmpty());
}

TEST_F(TelegramPolling, aPollThatWaitsOutlivesTheServersHalfMinute)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    scheduler.advance(Seconds(35));
    ASSERT_TRUE(deliver(message("/run x", "7", R"(,"message_thread_id":4)")));
    EXPECT_THAT(calls, ElementsAre(u"new x|4"_s));
}

// Failures

TEST_F(TelegramPolling, failuresAreWaitedOutLongerEachTime)
{
    configure();
    std::size_t polls = 0;
    for (const double delay : { 2.0, 4.0, 8.0, 16.0, 30.0, 30.0 }) {
        ASSERT_TRUE(waitForPolls(++polls));
        api.polls().back().answer("broken");
        ASSERT_TRUE(waitForPrinted(qsizetype(polls)));
        scheduler.advance(Seconds(delay - 0.01));
        QCoreApplication::processEvents();
        EXPECT_EQ(scheduler.activeTimers(), 1U);
        EXPECT_THAT(api.polls(), SizeIs(polls)) << delay;
        scheduler.advance(Seconds(0.02));
    }
    ASSERT_TRUE(waitForPolls(++polls));
    EXPECT_EQ(printed.count(u"[Vantry Telegram] Poll error: The answer is not sound JSON"_s), 6);

    // One good poll clears it, also one that brings nothing.
    api.polls().back().answer(R"({"ok":true,"result":[]})");
    ASSERT_TRUE(waitForPolls(++polls));
    api.polls().back().answer("broken");
    ASSERT_TRUE(waitForPrinted(7));
    scheduler.advance(Seconds(2.01));
    EXPECT_TRUE(waitForPolls(++polls));
}

TEST_F(TelegramPolling, aRefusalIsAFailureThatShowsNoToken)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    api.polls().back().answer(R"({"ok":false,"error_code":401,"description":"Unauthorized"})", 401);
    ASSERT_TRUE(waitForPrinted(1));
    EXPECT_THAT(printed, ElementsAre(u"[Vantry Telegram] Poll error: \"result\" is missing"_s));
    EXPECT_FALSE(service->lastError());
}

TEST_F(TelegramPolling, okIsNotLookedAtWhereThereIsAResult)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    api.polls().back().answer(R"({"ok":false,"result":[{"update_id":3}]})");
    ASSERT_TRUE(waitForPolls(2));
    EXPECT_EQ(lastPoll(), u"getUpdates?offset=4&timeout=30"_s);
}

TEST_F(TelegramPolling, aServerThatIsGoneForAMinuteIsFoundAgain)
{
    configure();
    ASSERT_TRUE(deliver(R"({"update_id":41})"));
    api.stop();
    ASSERT_TRUE(waitForPrinted(1));
    qsizetype failures = 1;
    for (const double delay : { 2.0, 4.0, 8.0, 16.0 }) {
        scheduler.advance(Seconds(delay));
        ASSERT_TRUE(waitForPrinted(++failures));
    }
    api.start();
    scheduler.advance(Seconds(30));
    ASSERT_TRUE(waitForPolls(3));
    EXPECT_EQ(lastPoll(), u"getUpdates?offset=42&timeout=30"_s);
    EXPECT_TRUE(printed[0].startsWith("[Vantry Telegram] Poll error: ")) << printed[0].toStdString();
    EXPECT_EQ(printed.last(), u"[Vantry Telegram] Poll error: Connection refused"_s);
}

TEST_F(TelegramPolling, aSilentServerIsLeftAfterAMinute)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    scheduler.advance(Seconds(60.1));
    EXPECT_THAT(printed, ElementsAre(u"[Vantry Telegram] Poll error: The request timed out"_s));
    scheduler.advance(Seconds(2.1));
    EXPECT_TRUE(waitForPolls(2));
}

TEST_F(TelegramPolling, aTokenThatMakesNoAddressIsWaitedOutInSilence)
{
    service->setBotToken(u"1 2"_s);
    service->setChatID(u"7"_s);
    mainQueue.drainAll();
    EXPECT_EQ(scheduler.activeTimers(), 1U);
    EXPECT_THAT(printed, IsEmpty());
    service->setBotToken(token);
    EXPECT_TRUE(waitForPolls(1));
}

TEST_F(TelegramPolling, aHugeAnswerIsAFailure)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    api.polls().back().answer(R"({"ok":true,"result":[)" + QByteArray(BotApi::mostAnswerBytes, ' ') + "]}");
    ASSERT_TRUE(waitForPrinted(1));
    EXPECT_THAT(printed, ElementsAre(u"[Vantry Telegram] Poll error: The answer is larger than 1 MB"_s));
}

// Ending

TEST_F(TelegramPolling, pausingEndsTheRequestAndPrintsNothing)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    service->setPaused(true);
    EXPECT_TRUE(runUntil([&] { return !api.polls()[0].isOpen(); }));
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    EXPECT_THAT(printed, IsEmpty());
    service->setPaused(false);
    EXPECT_TRUE(waitForPolls(2));
}

TEST_F(TelegramPolling, pausingEndsTheWaitAfterAFailure)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    api.polls()[0].answer("broken");
    ASSERT_TRUE(waitForPrinted(1));
    service->setPaused(true);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    scheduler.advance(Seconds(60));
    QCoreApplication::processEvents();
    EXPECT_THAT(api.polls(), SizeIs(1));
}

TEST_F(TelegramPolling, nothingIsCalledBackOnceItIsPaused)
{
    service->setSessionTopics({ { u"s1"_s, 9 } });
    configure();
    ASSERT_TRUE(waitForPolls(1));
    api.polls()[0].answer(R"({"ok":true,"result":[)" + message("hi", "7", R"(,"message_thread_id":9)") + "]}");
    // The next poll is asked for right behind the command, which by then stands in the queue.
    QTimer ticks;
    ticks.start(std::chrono::milliseconds(2));
    while (service->lastUpdateID() == 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    service->setPaused(true);
    EXPECT_GT(mainQueue.drainAll(), 0U);
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(TelegramPolling, pausingWhileAnUpdateIsHandledLeavesTheOthersForLater)
{
    api.automatic.remove(u"answerCallbackQuery"_s);
    configure();
    ASSERT_TRUE(waitForPolls(1));
    api.polls()[0].answer(R"({"ok":true,"result":[)" + press("allow:s1") + "," + message("/run x", "7", {}, "2") +
                          "]}");
    ASSERT_TRUE(runUntil([&] { return api.of(u"answerCallbackQuery"_s).size() == 1; }));
    service->setPaused(true);
    EXPECT_TRUE(runUntil([&] { return !api.of(u"answerCallbackQuery"_s)[0].isOpen(); }));
    EXPECT_THAT(calls, IsEmpty());
    service->setPaused(false);
    ASSERT_TRUE(waitForPolls(2));
    EXPECT_EQ(lastPoll(), u"getUpdates?offset=2&timeout=30"_s);
}

TEST_F(TelegramPolling, whoeverIsToldOfAChangeMayPause)
{
    configure();
    QObject::connect(&*service, &TelegramService::changed, &*service, [this] {
        if (service->lastUpdateID() == 41 && !service->isPaused())
            service->setPaused(true);
    });
    ASSERT_TRUE(waitForPolls(1));
    api.polls()[0].answer(R"({"ok":true,"result":[{"update_id":41},{"update_id":42}]})");
    ASSERT_TRUE(runUntil([&] { return service->isPaused(); }));
    EXPECT_EQ(service->lastUpdateID(), 41);
    EXPECT_FALSE(service->isPolling());
}

TEST_F(TelegramPolling, whoeverIsToldOfAnErrorMayPause)
{
    api.automatic[u"sendMessage"_s] = R"({"ok":false})";
    configure();
    QObject::connect(&*service, &TelegramService::changed, &*service, [this] {
        if (service->lastError() && !service->isPaused())
            service->setPaused(true);
    });
    ASSERT_TRUE(waitForPolls(1));
    api.polls()[0].answer(R"({"ok":true,"result":[)" + message("/start") + R"(,{"update_id":42}]})");
    ASSERT_TRUE(runUntil([&] { return service->isPaused(); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(service->lastUpdateID(), 1);
}

TEST_F(TelegramPolling, whoeverProvidesASessionMayPause)
{
    configure();
    service->sessionProvider = [this](const QString &) {
        service->setPaused(true);
        return SessionPtr();
    };
    ASSERT_TRUE(waitForPolls(1));
    api.polls()[0].answer(R"({"ok":true,"result":[)" + press("answer:s1:0") + "]}");
    ASSERT_TRUE(runUntil([&] { return service->isPaused(); }));
    QCoreApplication::processEvents();
    EXPECT_THAT(api.of(u"answerCallbackQuery"_s), IsEmpty());
}

TEST_F(TelegramPolling, endsWithTheServiceAtAnyPoint)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    service.reset();
    EXPECT_TRUE(runUntil([&] { return !api.polls()[0].isOpen(); }));
    EXPECT_EQ(scheduler.activeTimers(), 0U);

    start();
    api.automatic.remove(u"sendMessage"_s);
    configure();
    ASSERT_TRUE(waitForPolls(2));
    api.polls()[1].answer(R"({"ok":true,"result":[)" + message("/start") + "]}");
    ASSERT_TRUE(runUntil([&] { return api.of(u"sendMessage"_s).size() == 1; }));
    service.reset();
    EXPECT_TRUE(runUntil([&] { return !api.of(u"sendMessage"_s)[0].isOpen(); }));
    mainQueue.drainAll();
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(printed, IsEmpty());
}

// Messages

TEST_F(TelegramPolling, aGreetingTellsTheChatAndStandsInItsTopic)
{
    configure();
    ASSERT_TRUE(deliver(message("/start", "-1001", R"(,"message_thread_id":3)")));
    ASSERT_THAT(api.of(u"sendMessage"_s), SizeIs(1));
    EXPECT_EQ(api.of(u"sendMessage"_s)[0].json(),
              nlohmann::json({ { "chat_id", "-1001" },
                               { "text", "Vantry connected.\n\nYour chat ID: -1001\n\nPaste this into Vantry Settings "
                                         "> Telegram > Chat ID." },
                               { "reply_to_message_id", 5 },
                               { "message_thread_id", 3 } }));
}

TEST_F(TelegramPolling, aGreetingThatFailsEndsNothing)
{
    api.automatic[u"sendMessage"_s] = R"({"ok":false})";
    configure();
    ASSERT_TRUE(deliver(message("/start") + "," + message("/run x", "7", R"(,"message_thread_id":4)", "2")));
    EXPECT_THAT(calls, ElementsAre(u"new x|4"_s));
    EXPECT_THAT(printed, ElementsAre(uR"([Vantry Telegram] sendMessage failed: {"ok":false})"_s));
}

TEST_F(TelegramPolling, aMessageFromAnotherChatIsDroppedButNotSeenAgain)
{
    configure();
    ASSERT_TRUE(deliver(message("/run x", "8", {}, "41")));
    EXPECT_EQ(lastPoll(), u"getUpdates?offset=42&timeout=30"_s);
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(api.requests, SizeIs(2));
    EXPECT_THAT(printed, IsEmpty());
}

TEST_F(TelegramPolling, repliesReachTheirSession)
{
    service->setSessionTopics({ { u"abcdef"_s, 9 } });
    configure();
    ASSERT_TRUE(deliver(message("/claude x", "7", R"(,"message_thread_id":9)") + "," + message("abc hello") + "," +
                        message("abc")));
    EXPECT_THAT(calls, ElementsAre(u"reply abcdef|/claude x"_s, u"reply abc|hello"_s));
}

TEST_F(TelegramPolling, aLaunchWithoutATopicGetsOneOfItsOwn)
{
    configure();
    const QByteArray prompt = QByteArray("ä").repeated(100);
    ASSERT_TRUE(deliver(message("/run " + prompt)));
    ASSERT_THAT(api.of(u"createForumTopic"_s), SizeIs(1));
    EXPECT_EQ(QString::fromStdString(api.of(u"createForumTopic"_s)[0].json()["name"].get<std::string>()),
              u"ä"_s.repeated(64));
    EXPECT_THAT(calls, ElementsAre(u"new "_s + QString::fromUtf8(prompt) + u"|77"_s));
}

TEST_F(TelegramPolling, aLaunchWhoseTopicFailsGoesNoFurther)
{
    api.automatic[u"createForumTopic"_s] = R"({"ok":false})";
    configure();
    ASSERT_TRUE(deliver(message("/run x")));
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(printed, ElementsAre(uR"([Vantry Telegram] createForumTopic failed: {"ok":false})"_s));
}

TEST_F(TelegramPolling, updatesAreHandledOneAfterTheOther)
{
    configure();
    ASSERT_TRUE(deliver(message("/run a") + "," + press("allow:s1") + "," + message("/start") + "," +
                        message("/run b", "7", R"(,"message_thread_id":4)")));
    QStringList methods;
    for (const auto &request : api.requests)
        methods.append(request.method());
    EXPECT_EQ(methods, (QStringList { u"getUpdates"_s, u"createForumTopic"_s, u"answerCallbackQuery"_s,
                                      u"editMessageReplyMarkup"_s, u"sendMessage"_s, u"getUpdates"_s }));
    EXPECT_THAT(calls, ElementsAre(u"new a|77"_s, u"allow s1"_s, u"new b|4"_s));
}

TEST_F(TelegramPolling, commandsThatNobodyTakesAreAnsweredAllTheSame)
{
    service->onReply = nullptr;
    service->onAllow = nullptr;
    service->onAnswerQuestion = nullptr;
    service->onNewSession = nullptr;
    service->setSessionTopics({ { u"s1"_s, 9 } });
    configure();
    ASSERT_TRUE(
        deliver(message("s1 x") + "," + message("/run x") + "," + press("allow:s1") + "," + press("answer:s1:0")));
    EXPECT_THAT(textsTo(u"answerCallbackQuery"_s), ElementsAre(u"✅ Allowed"_s, u"Answered: Option 0"_s));
    EXPECT_THAT(calls, IsEmpty());
}

// Presses

TEST_F(TelegramPolling, anAllowedPressIsAnsweredAndLosesItsButtons)
{
    configure();
    ASSERT_TRUE(deliver(press("allow:s1")));
    ASSERT_THAT(api.of(u"answerCallbackQuery"_s), SizeIs(1));
    EXPECT_EQ(api.of(u"answerCallbackQuery"_s)[0].json(),
              nlohmann::json({ { "callback_query_id", "q1" }, { "text", "✅ Allowed" } }));
    ASSERT_THAT(api.of(u"editMessageReplyMarkup"_s), SizeIs(1));
    EXPECT_EQ(api.of(u"editMessageReplyMarkup"_s)[0].json().dump(),
              R"({"chat_id":"-100","message_id":12,"reply_markup":{"inline_keyboard":[]}})");
    EXPECT_THAT(calls, ElementsAre(u"allow s1"_s));
}

TEST_F(TelegramPolling, anyOtherPressIsDeniedAndChangesNothing)
{
    configure();
    EXPECT_EQ(toastOf("deny:s1"), u"❌ Denied"_s);
    EXPECT_THAT(api.of(u"editMessageReplyMarkup"_s), SizeIs(1));
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(TelegramPolling, aPressWithoutAMessageHasNoButtonsToLose)
{
    configure();
    ASSERT_TRUE(deliver(press("allow:s1", false)));
    EXPECT_THAT(api.of(u"editMessageReplyMarkup"_s), IsEmpty());
    EXPECT_THAT(calls, ElementsAre(u"allow s1"_s));
}

TEST_F(TelegramPolling, pressesCountAlsoWhenTheyCanNotBeAnswered)
{
    api.automatic[u"answerCallbackQuery"_s] = "broken";
    api.automatic[u"editMessageReplyMarkup"_s] = R"({"ok":false})";
    configure();
    ASSERT_TRUE(deliver(press("allow:s1")));
    EXPECT_THAT(calls, ElementsAre(u"allow s1"_s));
    EXPECT_THAT(printed, IsEmpty());
}

TEST_F(TelegramPolling, anAnswerIsShownByItsOptionsLabel)
{
    provide(askingSession());
    configure();
    EXPECT_EQ(toastOf("answer:s1:1"), u"Answered: Second"_s);
    EXPECT_THAT(calls, ElementsAre(u"answer s1|1"_s));
}

TEST_F(TelegramPolling, anAnswerWithoutAnOptionIsShownByItsNumber)
{
    const SessionPtr session = askingSession();
    provide(session);
    configure();
    EXPECT_EQ(toastOf("answer:s1:2"), u"Answered: Option 2"_s) << "beyond the options";
    EXPECT_EQ(toastOf("answer:s1:9223372036854775807"), u"Answered: Option 9223372036854775807"_s);
    EXPECT_EQ(toastOf("answer:other:0"), u"Answered: Option 0"_s) << "no such session";
    session->setQuestions(std::vector { HookEvent::Question { u"?"_s, {}, {}, {} } });
    EXPECT_EQ(toastOf("answer:s1:0"), u"Answered: Option 0"_s) << "no options";
    session->setQuestions(std::vector<HookEvent::Question>());
    EXPECT_EQ(toastOf("answer:s1:0"), u"Answered: Option 0"_s) << "no question";
    session->setQuestions(std::nullopt);
    EXPECT_EQ(toastOf("answer:s1:0"), u"Answered: Option 0"_s) << "none at all";
    service->sessionProvider = nullptr;
    EXPECT_EQ(toastOf("answer:s1:0"), u"Answered: Option 0"_s) << "nobody knows sessions";
    EXPECT_THAT(calls, SizeIs(7));
}

TEST_F(TelegramPolling, aNegativeIndexIsNone)
{
    provide(askingSession());
    configure();
    EXPECT_EQ(toastOf("answer:s1:-1"), u"Answered: Option -1"_s);
    EXPECT_EQ(toastOf("answer:s1:abc"), u"Answered: Option abc"_s);
    EXPECT_THAT(api.of(u"editMessageReplyMarkup"_s), SizeIs(2));
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(TelegramPolling, anAnswerWithoutTwoPartsIsLeftAlone)
{
    configure();
    ASSERT_TRUE(deliver(press("answer:s1") + "," + press("answer:")));
    EXPECT_THAT(api.of(u"answerCallbackQuery"_s), IsEmpty());
    EXPECT_THAT(api.of(u"editMessageReplyMarkup"_s), IsEmpty());
}

// Masses

TEST_F(TelegramPolling, tenThousandUpdatesInOneAnswerAreHandled)
{
    service->setSessionTopics({ { u"s"_s, 9 } });
    configure();
    QByteArray updates;
    for (int i = 1; i <= 10'000; ++i)
        updates += (i > 1 ? "," : "") + message("s hi", i % 2 == 0 ? "7" : "8", {}, QByteArray::number(i));
    ASSERT_LT(updates.size(), BotApi::mostAnswerBytes);
    ASSERT_TRUE(deliver(updates));
    EXPECT_EQ(service->lastUpdateID(), 10'000);
    EXPECT_THAT(calls, SizeIs(5'000));
}

} // namespace
} // namespace vantry::test
