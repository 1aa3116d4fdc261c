#include "hooks/HTTPHookServerFixture.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::Contains;
using ::testing::ElementsAre;

TEST_F(HTTPHookServerTest, answersHealthWithoutWaitingForABody)
{
    listen();

    EXPECT_EQ(ask(port, "GET /health HTTP/1.1\r\nContent-Length: 9\r\nHost: localhost\r\n\r\n"),
              responses::healthy.toBytes());
}

TEST_F(HTTPHookServerTest, doesNotKnowOtherPaths)
{
    listen();

    EXPECT_EQ(ask(port, "GET /x HTTP/1.1\r\n\r\n"), responses::notFound.toBytes());
}

TEST_F(HTTPHookServerTest, deliversAnEventAndAnswersAtOnce)
{
    listenAndRecord();

    const std::string answer = ask(port, post(stopEvent));

    EXPECT_EQ(answer, responses::ok.toBytes());
    EXPECT_TRUE(delivered.empty());
    deliverAll();
    EXPECT_THAT(delivered, ElementsAre("event s"));
    EXPECT_TRUE(log.contains(u"HTTPHookServer: received Stop for session s"_s));
}

TEST_F(HTTPHookServerTest, answersWithoutTheMainThread)
{
    listenAndRecord();

    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(ask(port, post(stopEvent)), responses::ok.toBytes());

    deliverAll();
    EXPECT_EQ(delivered.size(), 100U);
}

TEST_F(HTTPHookServerTest, logsOlderNamesAsTheirCurrentOnes)
{
    listenAndRecord();

    ask(port, post(R"({"session_id":"s","type":"pre_tool_use"})"));

    EXPECT_TRUE(log.contains(u"HTTPHookServer: received PreToolUse for session s"_s));
}

TEST_F(HTTPHookServerTest, treatsABadEventAsNoFailure)
{
    listenAndRecord();

    EXPECT_EQ(ask(port, post("nope")), responses::ok.toBytes());
    EXPECT_EQ(ask(port, post("{}")), responses::ok.toBytes());

    deliverAll();
    EXPECT_TRUE(delivered.empty());
    EXPECT_TRUE(log.contains(u"HTTPHookServer: failed to decode JSON: session_id is missing"_s));
}

TEST_F(HTTPHookServerTest, takesPathsThatMerelyBeginWithHook)
{
    listenAndRecord();

    std::string request = post(stopEvent);
    request.insert(request.find(" HTTP"), "ish");

    EXPECT_EQ(ask(port, request), responses::ok.toBytes());
    deliverAll();
    EXPECT_THAT(delivered, ElementsAre("event s"));
}

TEST_F(HTTPHookServerTest, takesAnEventWithoutACallback)
{
    listen();

    EXPECT_EQ(ask(port, post(stopEvent)), responses::ok.toBytes());
    deliverAll();
}

TEST_F(HTTPHookServerTest, takesARequestThatIsSplitAnywhere)
{
    listenAndRecord();
    const std::string request = post(R"({"session_id":"é","hook_event_name":"Stop"})");

    for (std::size_t split = 0; split <= request.size(); ++split) {
        LoopbackClient client;
        ASSERT_TRUE(client.connect(port));
        client.send(std::string_view(request).substr(0, split));
        letServerRead();
        client.send(std::string_view(request).substr(split));
        ASSERT_EQ(client.receiveAll(), responses::ok.toBytes()) << split;
    }

    deliverAll();
    EXPECT_EQ(delivered, std::vector<std::string>(request.size() + 1, "event é"));
}

TEST_F(HTTPHookServerTest, takesARequestByteByByte)
{
    listenAndRecord();
    LoopbackClient client;
    ASSERT_TRUE(client.connect(port));

    for (const char byte : post(stopEvent))
        ASSERT_TRUE(client.send({ &byte, 1 }));

    EXPECT_EQ(client.receiveAll(), responses::ok.toBytes());
}

TEST_F(HTTPHookServerTest, processesAHeaderBlockThatEndsWithTheLengthAtOnce)
{
    listenAndRecord();
    LoopbackClient client;
    ASSERT_TRUE(client.connect(port));

    client.send("POST /hook HTTP/1.1\r\nHost: localhost\r\nContent-Length: 43\r\n\r\n");

    EXPECT_EQ(client.receiveAll(), responses::ok.toBytes());
    EXPECT_THAT(log.lines(), Contains(u"HTTPHookServer: failed to decode JSON: the text is empty"_s));
}

TEST_F(HTTPHookServerTest, takesWhatHasComeWithoutAnAnnouncedLength)
{
    listenAndRecord();

    ask(port, "POST /hook HTTP/1.1\r\n\r\n" + stopEvent);

    deliverAll();
    EXPECT_THAT(delivered, ElementsAre("event s"));
}

TEST_F(HTTPHookServerTest, processesWhatAPeerLeftUnfinished)
{
    listenAndRecord();
    const auto leave = [&](std::string_view bytes) {
        LoopbackClient client;
        EXPECT_TRUE(client.connect(port));
        client.send(bytes);
        client.endSending();
        return client.receiveAll();
    };

    EXPECT_EQ(leave(""), responses::noBody.toBytes());
    EXPECT_EQ(leave("POST /hook HTTP/1.1\r\n"), responses::noBody.toBytes());
    EXPECT_EQ(leave("GET /health HTTP/1.1\r\n\r\n\xFF"), responses::badRequest.toBytes());
    EXPECT_EQ(leave("POST /hook\r\nContent-Length: 999\r\nX: y\r\n\r\n{\"session_id\""), responses::ok.toBytes());
    EXPECT_EQ(leave("POST /hook\r\nContent-Length: 999\r\nX: y\r\n\r\n" + stopEvent), responses::ok.toBytes());
    deliverAll();
    EXPECT_THAT(delivered, ElementsAre("event s"));
}

TEST_F(HTTPHookServerTest, takesLargeEvents)
{
    listenAndRecord();
    std::size_t responseLength = 0;
    server->onEventReceived = [&](const HookEvent &event) { responseLength = event.toolResponse->sourceText().size(); };

    for (const std::size_t size : { 65'000U, 66'000U, 200'000U, 20'000'000U }) {
        const std::string response = R"({"stdout":")" + std::string(size, 'x') + R"("})";
        const std::string body =
            R"({"session_id":"s","hook_event_name":"PostToolUse","tool_response":)" + response + "}";
        ASSERT_EQ(ask(port, post(body)), responses::ok.toBytes());
        deliverAll();
        EXPECT_EQ(responseLength, response.size());
    }
}

TEST_F(HTTPHookServerTest, dropsWhatCannotBecomeTextAndAnswersAtTheEnd)
{
    listen();
    LoopbackClient client;
    ASSERT_TRUE(client.connect(port));

    ASSERT_TRUE(client.send("POST /hook HTTP/1.1\r\n\r\n\xFF" + std::string(3'000'000, 'x')));
    client.endSending();

    EXPECT_EQ(client.receiveAll(), responses::badRequest.toBytes());
}

} // namespace
} // namespace vantry::test
