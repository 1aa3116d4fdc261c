#include "telegram/TelegramFixture.h"

#include <algorithm>
#include <cmath>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// The Bot API's methods, each alone.
class TelegramMethods : public TelegramFixture
{
protected:
    struct Topic
    {
        std::optional<std::int64_t> id;
        std::optional<QString> error;
    };
    using Sent = std::optional<std::int64_t>;

    TelegramMethods() { api.automatic.clear(); }

    /// Waits for the request and answers it.
    bool answerNext(const QByteArray &body, int status = 200)
    {
        const std::size_t before = answered++;
        if (!runUntil([&] { return api.requests.size() > before; }))
            return false;
        api.requests[before].answer(body, status);
        return true;
    }
    Topic createTopic(const QString &name, const QByteArray &answer)
    {
        std::optional<Topic> topic;
        service->createForumTopic(name, [&](auto id, auto error) { topic = { id, error }; });
        EXPECT_TRUE(answerNext(answer));
        EXPECT_TRUE(runUntil([&] { return topic.has_value(); }));
        return topic.value_or(Topic());
    }
    Sent post(const QByteArray &answer, int status = 200)
    {
        std::optional<Sent> sent;
        service->postMessage({ { "chat_id", "7" } }, [&](Sent id) { sent = id; });
        EXPECT_TRUE(answerNext(answer, status));
        EXPECT_TRUE(runUntil([&] { return sent.has_value(); }));
        return sent.value_or(std::nullopt);
    }
    void useToken(const QString &value) { service->setBotToken(value); }

    std::size_t answered { 0 };
};

// What is kept

TEST_F(TelegramFixture, everyStartTakesAwayWhatWasKept)
{
    EXPECT_THAT(secrets.calls, ElementsAre(u"telegram_bot_token="_s, u"telegram_chat_id="_s));
    EXPECT_FALSE(defaults.boolean(u"telegram_paused"_s, true));
    EXPECT_FALSE(service->isConfigured());
    EXPECT_FALSE(service->isPolling());
}

TEST_F(TelegramFixture, whatIsKeptIsNeverReadBack)
{
    configure();
    service->setPaused(true);
    EXPECT_EQ(secrets.kept.value(u"telegram_bot_token"_s), token);
    EXPECT_EQ(secrets.kept.value(u"telegram_chat_id"_s), u"7"_s);
    EXPECT_TRUE(defaults.boolean(u"telegram_paused"_s, false));

    start();

    EXPECT_THAT(secrets.kept, IsEmpty());
    EXPECT_EQ(service->botToken(), QString());
    EXPECT_EQ(service->chatID(), QString());
    EXPECT_FALSE(service->isPaused());
    EXPECT_FALSE(defaults.boolean(u"telegram_paused"_s, true));
}

TEST_F(TelegramFixture, everySettingIsKeptAlsoTheSameOneAgain)
{
    service->setChatID(u"7"_s);
    service->setChatID(u"7"_s);
    EXPECT_EQ(secrets.calls.count(u"telegram_chat_id=7"_s), 2);
}

TEST_F(TelegramFixture, aStoreThatKeepsNothingIsToldOnce)
{
    configure();
    for (const auto &failed : secrets.failures)
        failed(u"there is no secret service"_s);
    EXPECT_THAT(log.lines(), ElementsAre(u"TelegramService: token and chat are kept for this run only: there is no "
                                         "secret service"_s));
}

TEST_F(TelegramFixture, aStoreThatFailsAfterTheEndTellsNobody)
{
    configure();
    service.reset();
    for (const auto &failed : secrets.failures)
        failed(u"too late"_s);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TelegramFixture, changesAreToldWhenThereAreAny)
{
    int told = 0;
    QObject::connect(&*service, &TelegramService::changed, &*service, [&] { ++told; });
    service->setBotToken(token);
    EXPECT_EQ(told, 1);
    service->setBotToken(token);
    EXPECT_EQ(told, 1);
    service->setSessionTopics({ { u"s"_s, 1 } });
    EXPECT_EQ(told, 2);
    service->setSessionTopics({ { u"s"_s, 1 } });
    EXPECT_EQ(told, 2);
}

TEST_F(TelegramFixture, whatNothingWritesIsEmpty)
{
    EXPECT_THAT(service->sessionTopics(), IsEmpty());
    EXPECT_THAT(service->workingMessages(), IsEmpty());
    EXPECT_THAT(service->pendingLaunches(), IsEmpty());
    EXPECT_FALSE(service->pendingDashboardSessions());
    EXPECT_FALSE(service->dashboardTrailingTask().isActive());
    EXPECT_EQ(service->lastDashboardUpdate(), Date::min());
    EXPECT_FALSE(service->lastError());
    EXPECT_EQ(TelegramService::dashboardCooldown.count(), 5.0);
}

// Methods

TEST_F(TelegramMethods, aTopicIsMadeInTheChat)
{
    configure();
    ASSERT_TRUE(waitForPolls(1));
    service->cancelPolling();
    api.requests.clear();
    const auto topic = createTopic(u"Fix it"_s, R"({"ok":true,"result":{"message_thread_id":6,"name":"Fix it"}})");
    EXPECT_EQ(topic.id, 6);
    EXPECT_FALSE(topic.error);
    const auto &request = api.requests.at(0);
    EXPECT_EQ(request.verb, u"POST"_s);
    EXPECT_EQ(request.path, u"/bot123:SECRET/createForumTopic"_s);
    EXPECT_EQ(request.json(), nlohmann::json({ { "chat_id", "7" }, { "name", "Fix it" } }));
    EXPECT_TRUE(request.head.contains("Content-Type: application/json")) << request.head.constData();
    EXPECT_THAT(printed, IsEmpty());
}

TEST_F(TelegramMethods, aTopicsNameIsCutToItsFirst128Characters)
{
    useToken(token);
    const QString character = u"👩‍👩‍👧"_s; // One character of many bytes.
    createTopic(character.repeated(200), R"({"ok":true,"result":{"message_thread_id":6,"name":"n"}})");
    EXPECT_EQ(QString::fromStdString(api.requests.at(0).json()["name"].get<std::string>()), character.repeated(128));
}

TEST_F(TelegramMethods, aTopicThatIsRefusedGivesTheWholeAnswer)
{
    useToken(token);
    const auto topic = createTopic(u"n"_s, R"({"ok":false,"description":"no rights"})");
    EXPECT_FALSE(topic.id);
    EXPECT_EQ(topic.error, uR"({"ok":false,"description":"no rights"})"_s);
    EXPECT_THAT(printed,
                ElementsAre(uR"([Vantry Telegram] createForumTopic failed: {"ok":false,"description":"no rights"})"_s));
    EXPECT_FALSE(service->lastError());
}

TEST_F(TelegramMethods, aTopicWhoseAnswerIsNoneGivesTheProblem)
{
    useToken(token);
    const auto topic = createTopic(u"n"_s, "<html>");
    EXPECT_FALSE(topic.id);
    EXPECT_EQ(topic.error, u"The answer is not sound JSON"_s);
    EXPECT_THAT(printed, ElementsAre(u"[Vantry Telegram] createForumTopic error: The answer is not sound JSON"_s));
}

TEST_F(TelegramMethods, aMessageGivesItsIdentifier)
{
    useToken(token);
    EXPECT_EQ(post(R"({"ok":true,"result":{"message_id":8}})"), 8);
    EXPECT_EQ(api.requests.at(0).path, u"/bot123:SECRET/sendMessage"_s);
    EXPECT_THAT(printed, IsEmpty());
    EXPECT_FALSE(service->lastError());
}

TEST_F(TelegramMethods, aMessageThatIsRefusedBecomesTheLastError)
{
    useToken(token);
    const QByteArray refusal = R"({"ok":false,"error_code":400,"description":"chat not found"})";
    EXPECT_EQ(post(refusal), std::nullopt);
    EXPECT_EQ(service->lastError(), QString::fromUtf8(refusal));
    EXPECT_THAT(printed, ElementsAre(u"[Vantry Telegram] sendMessage failed: "_s + QString::fromUtf8(refusal)));
}

TEST_F(TelegramMethods, okWithoutResultCountsAsFailed)
{
    useToken(token);
    EXPECT_EQ(post(R"({"ok":true})"), std::nullopt);
    EXPECT_EQ(service->lastError(), uR"({"ok":true})"_s);
    EXPECT_EQ(createTopic(u"n"_s, R"({"ok":true,"result":null})").error, uR"({"ok":true,"result":null})"_s);
}

TEST_F(TelegramMethods, aGoodMessageLeavesTheLastError)
{
    useToken(token);
    EXPECT_EQ(post("nonsense"), std::nullopt);
    EXPECT_THAT(printed, ElementsAre(u"[Vantry Telegram] Send error: The answer is not sound JSON"_s));
    EXPECT_EQ(post(R"({"ok":true,"result":{"message_id":8}})"), 8);
    EXPECT_EQ(service->lastError(), u"The answer is not sound JSON"_s);
}

TEST_F(TelegramMethods, theHttpStatusDecidesNothing)
{
    useToken(token);
    for (const int status : { 200, 201, 302, 400, 401, 403, 404, 409, 429, 500, 502, 503 }) {
        EXPECT_EQ(post(R"({"ok":true,"result":{"message_id":8}})", status), 8) << status;
        EXPECT_EQ(post(R"({"ok":false})", status), std::nullopt) << status;
        EXPECT_EQ(service->lastError(), uR"({"ok":false})"_s) << status;
    }
}

TEST_F(TelegramMethods, anHttpErrorWithoutBodyIsNoAnswer)
{
    useToken(token);
    for (const int status : { 401, 404, 500 })
        EXPECT_EQ(post({}, status), std::nullopt);
    EXPECT_THAT(printed, SizeIs(3));
    EXPECT_EQ(service->lastError(), u"The answer is not sound JSON"_s);
}

TEST_F(TelegramMethods, aRedirectIsNotFollowed)
{
    useToken(token);
    std::optional<Sent> sent;
    service->postMessage({}, [&](Sent id) { sent = id; });
    ASSERT_TRUE(runUntil([&] { return api.requests.size() == 1; }));
    api.requests[0].write("HTTP/1.1 307 Elsewhere\r\nLocation: " + api.address().toUtf8() +
                          "/elsewhere\r\nContent-Length: 2\r\n\r\n{}");
    ASSERT_TRUE(runUntil([&] { return sent.has_value(); }));
    EXPECT_EQ(*sent, std::nullopt);
    EXPECT_THAT(api.requests, SizeIs(1));
}

TEST_F(TelegramMethods, aTextGoesAsReplyAndIntoATopicWhereTheseAreGiven)
{
    useToken(token);
    int done = 0;
    service->sendMessage(u"Hä\n\"?\""_s, u"-100"_s, 5, 6, [&] { ++done; });
    ASSERT_TRUE(answerNext(R"({"ok":true,"result":{"message_id":8}})"));
    ASSERT_TRUE(runUntil([&] { return done == 1; }));
    EXPECT_EQ(api.requests.at(0).json(), nlohmann::json({ { "chat_id", "-100" },
                                                          { "text", "Hä\n\"?\"" },
                                                          { "reply_to_message_id", 5 },
                                                          { "message_thread_id", 6 } }));
    service->sendMessage(u"x"_s, u"7"_s, {}, {}, [&] { ++done; });
    ASSERT_TRUE(answerNext("broken"));
    ASSERT_TRUE(runUntil([&] { return done == 2; }));
    EXPECT_EQ(api.requests.at(1).json(), nlohmann::json({ { "chat_id", "7" }, { "text", "x" } }));
}

TEST_F(TelegramMethods, failuresToAnswerAPressAreNotTold)
{
    useToken(token);
    int done = 0;
    service->answerCallbackQuery(u"q"_s, u"Yes"_s, [&] { ++done; });
    ASSERT_TRUE(answerNext("broken", 500));
    ASSERT_TRUE(runUntil([&] { return done == 1; }));
    service->answerCallbackQuery(u"q"_s, std::nullopt, [&] { ++done; });
    ASSERT_TRUE(answerNext(R"({"ok":false})"));
    ASSERT_TRUE(runUntil([&] { return done == 2; }));
    service->removeInlineKeyboard(u"7"_s, 12, [&] { ++done; });
    ASSERT_TRUE(runUntil([&] { return api.requests.size() == 3; }));
    api.requests[2].close();
    ASSERT_TRUE(runUntil([&] { return done == 3; }));

    EXPECT_EQ(api.requests[0].path, u"/bot123:SECRET/answerCallbackQuery"_s);
    EXPECT_EQ(api.requests[0].json(), nlohmann::json({ { "callback_query_id", "q" }, { "text", "Yes" } }));
    EXPECT_EQ(api.requests[1].json(), nlohmann::json({ { "callback_query_id", "q" } }));
    EXPECT_EQ(api.requests[2].path, u"/bot123:SECRET/editMessageReplyMarkup"_s);
    EXPECT_EQ(api.requests[2].json().dump(),
              R"({"chat_id":"7","message_id":12,"reply_markup":{"inline_keyboard":[]}})");
    EXPECT_THAT(printed, IsEmpty());
    EXPECT_FALSE(service->lastError());
}

TEST_F(TelegramMethods, anEmptyTokenIsLeftToTheServerToRefuse)
{
    EXPECT_EQ(post(R"({"ok":false})"), std::nullopt);
    EXPECT_EQ(api.requests.at(0).path, u"/bot/sendMessage"_s);
}

TEST_F(TelegramMethods, anAddressThatDoesNotParseIsAFailure)
{
    useToken(u"1 2"_s);
    std::optional<Topic> topic;
    std::optional<Sent> sent;
    int done = 0;
    service->createForumTopic(u"n"_s, [&](auto id, auto error) { topic = { id, error }; });
    service->postMessage({}, [&](Sent id) { sent = id; });
    service->answerCallbackQuery(u"q"_s, {}, [&] { ++done; });
    service->removeInlineKeyboard(u"7"_s, 1, [&] { ++done; });
    EXPECT_FALSE(topic || sent || done > 0) << "nothing is told before the call has returned";
    mainQueue.drainAll();
    EXPECT_EQ(topic->error, u"Invalid URL"_s);
    EXPECT_FALSE(topic->id);
    ASSERT_TRUE(sent);
    EXPECT_EQ(*sent, std::nullopt);
    EXPECT_EQ(done, 2);
    EXPECT_THAT(printed, IsEmpty());
    EXPECT_FALSE(service->lastError());
    EXPECT_THAT(api.requests, IsEmpty());
}

TEST_F(TelegramMethods, whatJsonCannotHoldGoesOutWithoutBody)
{
    useToken(token);
    std::optional<Sent> sent;
    service->postMessage({ { "text", "\xff" } }, [&](Sent id) { sent = id; });
    ASSERT_TRUE(answerNext(R"({"ok":false})"));
    ASSERT_TRUE(runUntil([&] { return sent.has_value(); }));
    EXPECT_TRUE(api.requests.at(0).body.isEmpty());
}

TEST_F(TelegramMethods, aSilentServerTimesOutAfterAMinute)
{
    useToken(token);
    std::optional<Sent> sent;
    service->postMessage({}, [&](Sent id) { sent = id; });
    ASSERT_TRUE(runUntil([&] { return api.requests.size() == 1; }));
    scheduler.advance(Seconds(59.9));
    EXPECT_FALSE(sent);
    scheduler.advance(Seconds(0.2));
    ASSERT_TRUE(sent);
    EXPECT_EQ(*sent, std::nullopt);
    EXPECT_THAT(printed, ElementsAre(u"[Vantry Telegram] Send error: The request timed out"_s));
    EXPECT_TRUE(runUntil([&] { return !api.requests[0].isOpen(); })) << "the connection is given up";
}

TEST_F(TelegramMethods, anAnswerThatComesInPiecesIsRead)
{
    useToken(token);
    std::optional<Sent> sent;
    service->postMessage({}, [&](Sent id) { sent = id; });
    ASSERT_TRUE(runUntil([&] { return api.requests.size() == 1; }));
    for (const char byte : QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                      "11\r\n{\"ok\":true,\"resul\r\n14\r\nt\":{\"message_id\":8}}\r\n0\r\n\r\n")) {
        api.requests[0].write(QByteArray(1, byte));
        QCoreApplication::processEvents();
    }
    ASSERT_TRUE(runUntil([&] { return sent.has_value(); }));
    EXPECT_EQ(*sent, 8);
}

TEST_F(TelegramMethods, anAnswerThatIsCutIsNone)
{
    useToken(token);
    std::optional<Sent> sent;
    service->postMessage({}, [&](Sent id) { sent = id; });
    ASSERT_TRUE(runUntil([&] { return api.requests.size() == 1; }));
    api.requests[0].write("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"ok\":true,\"result\":{\"message_id\":8}}");
    api.requests[0].close();
    ASSERT_TRUE(runUntil([&] { return sent.has_value(); }));
    EXPECT_EQ(*sent, std::nullopt);
    ASSERT_THAT(printed, SizeIs(1));
    EXPECT_TRUE(printed[0].startsWith("[Vantry Telegram] Send error: ")) << printed[0].toStdString();
}

TEST_F(TelegramMethods, nonsenseInsteadOfHttpIsAFailure)
{
    useToken(token);
    std::optional<Sent> sent;
    service->postMessage({}, [&](Sent id) { sent = id; });
    ASSERT_TRUE(runUntil([&] { return api.requests.size() == 1; }));
    api.requests[0].write(QByteArray("\x00\x01\xff nonsense\r\n\r\n", 15).repeated(10));
    api.requests[0].close();
    ASSERT_TRUE(runUntil([&] { return sent.has_value(); }));
    EXPECT_EQ(*sent, std::nullopt);
    EXPECT_THAT(printed, SizeIs(1));
}

TEST_F(TelegramMethods, anAnswerBeyondOneMegabyteIsRefused)
{
    useToken(token);
    const QByteArray good = R"({"ok":true,"result":{"message_id":8}})";
    const QByteArray most = good + QByteArray(BotApi::mostAnswerBytes - good.size(), ' ');
    EXPECT_EQ(post(most), 8);
    EXPECT_EQ(post(most + ' '), std::nullopt);
    EXPECT_EQ(service->lastError(), u"The answer is larger than 1 MB"_s);

    // One without an end is left after that much.
    std::optional<Sent> sent;
    service->postMessage({}, [&](Sent id) { sent = id; });
    ASSERT_TRUE(runUntil([&] { return api.requests.size() == 3; }));
    api.requests[2].write("HTTP/1.1 200 OK\r\n\r\n" + QByteArray(3 * BotApi::mostAnswerBytes, 'x'));
    ASSERT_TRUE(runUntil([&] { return sent.has_value(); }));
    EXPECT_EQ(*sent, std::nullopt);
    EXPECT_TRUE(runUntil([&] { return !api.requests[2].isOpen(); }));
}

TEST_F(TelegramMethods, aRequestThatIsTakenAndNotAnsweredIsNotSentAgain)
{
    useToken(token);
    for (std::size_t i = 1; i <= 3; ++i) {
        std::optional<Topic> topic;
        service->createForumTopic(u"n"_s, [&](auto id, auto error) { topic = { id, error }; });
        ASSERT_TRUE(runUntil([&] { return api.requests.size() == i; }));
        api.requests.back().close();
        ASSERT_TRUE(runUntil([&] { return topic.has_value(); }));
        EXPECT_EQ(topic->error, u"Connection closed"_s);
    }
    EXPECT_THAT(api.requests, SizeIs(3));
}

TEST_F(TelegramMethods, aConnectionIsUsedAgain)
{
    useToken(token);
    EXPECT_EQ(post(R"({"ok":true,"result":{"message_id":8}})"), 8);
    EXPECT_EQ(post(R"({"ok":true,"result":{"message_id":9}})"), 9);
    EXPECT_EQ(api.requests[0].connection, api.requests[1].connection);
}

TEST_F(TelegramMethods, aServerThatIsNotThereIsAFailure)
{
    useToken(token);
    api.stop();
    std::optional<Sent> sent;
    service->postMessage({}, [&](Sent id) { sent = id; });
    ASSERT_TRUE(runUntil([&] { return sent.has_value(); }));
    EXPECT_EQ(*sent, std::nullopt);
    EXPECT_THAT(printed, ElementsAre(u"[Vantry Telegram] Send error: Connection refused"_s));
}

TEST_F(TelegramMethods, requestsEndWithTheirOwnerAndWithTheService)
{
    useToken(token);
    auto owner = std::make_unique<QObject>();
    bool isTold = false;
    service->postMessage(
        {}, [&](Sent) { isTold = true; }, owner.get());
    service->createForumTopic(u"n"_s, [&](auto, auto) { isTold = true; });
    useToken(u"1 2"_s);
    service->postMessage(
        {}, [&](Sent) { isTold = true; }, owner.get());
    service->postMessage({}, [&](Sent) { isTold = true; });
    ASSERT_TRUE(runUntil([&] { return api.requests.size() == 2; }) || isTold);
    // What doesn't parse was told by now; from here on nothing is.
    isTold = false;
    owner.reset();
    service.reset();
    EXPECT_TRUE(runUntil([&] { return !api.requests[0].isOpen() && !api.requests[1].isOpen(); }));
    EXPECT_FALSE(isTold);
}

// The token stays out of everything that is printed or told

TEST_F(TelegramMethods, theTokenIsCutOutOfWhateverAServerSays)
{
    const QString odd = u"123:A/b+c%C3~"_s;
    useToken(odd);
    const QByteArray encoded = QUrl::toPercentEncoding(odd);
    const QByteArray echo =
        R"({"ok":false,"a":"/bot)" + odd.toUtf8() + R"(/sendMessage","b":")" + encoded + R"(","c":"A/b+c%C3~"})";
    EXPECT_EQ(post(echo), std::nullopt);
    const auto topic = createTopic(u"n"_s, echo);
    const QString cut = uR"({"ok":false,"a":"/bot<token>/sendMessage","b":"<token>","c":"<token>"})"_s;
    EXPECT_EQ(service->lastError(), cut);
    EXPECT_EQ(topic.error, cut);
    EXPECT_THAT(printed, ElementsAre(u"[Vantry Telegram] sendMessage failed: "_s + cut,
                                     u"[Vantry Telegram] createForumTopic failed: "_s + cut));
}

TEST_F(TelegramMethods, theTokenOfTheRequestIsCutOutAlsoAfterItWasChanged)
{
    useToken(token);
    std::optional<Sent> sent;
    service->postMessage({}, [&](Sent id) { sent = id; });
    ASSERT_TRUE(runUntil([&] { return api.requests.size() == 1; }));
    useToken(u"9:OTHER"_s);
    api.requests[0].answer(R"({"ok":false,"was":"123:SECRET"})");
    ASSERT_TRUE(runUntil([&] { return sent.has_value(); }));
    EXPECT_EQ(service->lastError(), uR"({"ok":false,"was":"<token>"})"_s);
}

TEST_F(TelegramMethods, noFailureOfAnyKindShowsTheToken)
{
    useToken(token);
    const auto failEverything = [this](const auto &fail) {
        const std::size_t before = api.requests.size();
        bool isDone = false;
        service->postMessage({}, [&](Sent) { isDone = true; });
        EXPECT_TRUE(runUntil([&] { return api.requests.size() > before; }));
        fail(api.requests.back());
        EXPECT_TRUE(runUntil([&] { return isDone; })) << before;
    };
    for (const int status : { 301, 401, 407, 404, 500 })
        failEverything([&](const FakeBotApi::Request &request) { request.answer("no: 123:SECRET", status); });
    failEverything([](const FakeBotApi::Request &request) { request.close(); });
    failEverything([](const FakeBotApi::Request &request) {
        request.write("HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n");
    });
    failEverything([](const FakeBotApi::Request &request) { request.write("123:SECRET\r\n\r\n"), request.close(); });
    ASSERT_FALSE(printed.isEmpty());
    const QString all = printed.join(u'\n') + log.lines().join(u'\n') + service->lastError().value_or(QString());
    EXPECT_FALSE(all.contains("SECRET")) << all.toStdString();
}

} // namespace
} // namespace vantry::test
