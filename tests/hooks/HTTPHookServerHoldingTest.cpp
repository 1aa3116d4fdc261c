#include "hooks/HTTPHookServerFixture.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace vantry::test {
namespace {

using ::testing::ElementsAre;

TEST_F(HTTPHookServerTest, answersAQuestionWithoutHoldingIt)
{
    listenAndRecord();

    EXPECT_EQ(ask(port, post(question)),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 92\r\nConnection: close\r\n\r\n"
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})");

    deliverAll();
    EXPECT_THAT(delivered, ElementsAre("event s"));
}

TEST_F(HTTPHookServerTest, answersAPermissionRequestAtOnceWhenNobodyHoldsIt)
{
    server->onEventReceived = [this](const HookEvent &event) {
        delivered.push_back("event " + event.sessionID.toStdString());
    };
    listen();

    EXPECT_EQ(ask(port, post(permissionRequest)), responses::ok.toBytes());

    deliverAll();
    EXPECT_THAT(delivered, ElementsAre("event s"));
}

TEST_F(HTTPHookServerTest, handsAPermissionRequestOverBeforeItsEvent)
{
    listenAndRecord();

    const LoopbackClient client = holdRequest();

    EXPECT_THAT(delivered, ElementsAre("request s", "event s"));
    EXPECT_FALSE(held.front()->isGone());
}

TEST_F(HTTPHookServerTest, sendsTheHoldersAnswer)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();

    held.front()->respond("200 OK", R"({"a":"é"})");

    EXPECT_EQ(client.receiveAll(), (HTTPResponse { "200 OK", R"({"a":"é"})" }).toBytes());
}

TEST_F(HTTPHookServerTest, sendsALargeAnswerToASlowReader)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();
    const std::string body(20'000'000, 'x');

    held.front()->respond("200 OK", body);
    letServerRead();

    EXPECT_EQ(client.receiveAll().size(), (HTTPResponse { "200 OK", body }).toBytes().size());
}

TEST_F(HTTPHookServerTest, answersEachHeldRequestOnItsOwnConnection)
{
    listenAndRecord();
    std::vector<LoopbackClient> clients;
    for (int i = 0; i < 10; ++i)
        clients.push_back(holdRequest());

    for (std::size_t i = clients.size(); i-- > 0;)
        held.at(i)->respond("200 OK", std::to_string(i));

    for (std::size_t i = 0; i < clients.size(); ++i)
        EXPECT_EQ(clients.at(i).receiveAll(), (HTTPResponse { "200 OK", std::to_string(i) }).toBytes());
}

TEST_F(HTTPHookServerTest, cancelClosesWithoutAnAnswer)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();

    held.front()->cancel();

    EXPECT_EQ(client.receiveAll(), "");
    EXPECT_TRUE(held.front()->isGone());
}

TEST_F(HTTPHookServerTest, takesTheFirstOfSeveralDecisions)
{
    listenAndRecord();
    LoopbackClient answered = holdRequest();
    LoopbackClient cancelled = holdRequest();

    held.front()->respond("200 OK", "first");
    held.front()->respond("200 OK", "second");
    held.front()->cancel();
    held.back()->cancel();
    held.back()->respond("200 OK", "late");

    EXPECT_EQ(answered.receiveAll(), (HTTPResponse { "200 OK", "first" }).toBytes());
    EXPECT_EQ(cancelled.receiveAll(), "");
}

TEST_F(HTTPHookServerTest, tellsTheHolderOnceWhenThePeerCloses)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();
    int told = 0;
    held.front()->watch([&] { ++told; });
    letServerRead();
    queue.drainAll();
    EXPECT_EQ(told, 0);

    client.close();

    EXPECT_TRUE(eventually([&] { return told > 0; }));
    EXPECT_TRUE(held.front()->isGone());
    letServerRead();
    queue.drainAll();
    EXPECT_EQ(told, 1);
}

TEST_F(HTTPHookServerTest, tellsAHolderThatWatchesTooLate)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();
    client.close();
    ASSERT_TRUE(eventually([&] { return held.front()->isGone(); }));
    int told = 0;

    held.front()->watch([&] { ++told; });

    EXPECT_TRUE(eventually([&] { return told == 1; }));
}

TEST_F(HTTPHookServerTest, takesAPeerThatEndsItsSendingForGone)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();
    int told = 0;
    held.front()->watch([&] { ++told; });

    client.endSending();

    EXPECT_EQ(client.receiveAll(), "");
    EXPECT_TRUE(eventually([&] { return told == 1; }));
}

TEST_F(HTTPHookServerTest, tellsTheHolderOfACancelledConnection)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();
    int told = 0;
    held.front()->watch([&] { ++told; });

    held.front()->cancel();

    EXPECT_TRUE(eventually([&] { return told == 1; }));
}

TEST_F(HTTPHookServerTest, dropsWhatThePeerSendsWhileItIsHeld)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();
    int told = 0;
    held.front()->watch([&] { ++told; });

    ASSERT_TRUE(client.send(std::string(3'000'000, 'x')));
    letServerRead();
    queue.drainAll();
    EXPECT_EQ(told, 0);
    held.front()->respond("200 OK", "{}");

    EXPECT_EQ(client.receiveAll(), responses::ok.toBytes());
}

TEST_F(HTTPHookServerTest, answersNobodyWhenThePeerHasGone)
{
    listenAndRecord();
    holdRequest().close();
    ASSERT_TRUE(eventually([&] { return held.front()->isGone(); }));

    held.front()->respond("200 OK", "{}");

    letServerRead();
}

TEST_F(HTTPHookServerTest, keepsAConnectionOpenThatItsHolderHasForgotten)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();

    held.clear();
    letServerRead();
    EXPECT_TRUE(client.hearsNothing());
    server.reset();

    EXPECT_EQ(client.receiveAll(), "");
}

} // namespace
} // namespace vantry::test
