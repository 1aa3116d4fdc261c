#include "hooks/HTTPHookServerFixture.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;

TEST_F(HTTPHookServerTest, listensOnBothLoopbackAddresses)
{
    listen();

    EXPECT_EQ(ask(port, healthRequest, LoopbackClient::Family::V6), responses::healthy.toBytes());
}

TEST_F(HTTPHookServerTest, mayBeOutlivedByTheHolders)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();
    int told = 0;
    held.front()->watch([&] { ++told; });

    server.reset();
    queue.drainAll();
    EXPECT_EQ(told, 1);
    held.front()->respond("200 OK", "{}");
    held.front()->watch([&] { ++told; });
    held.front()->cancel();
    queue.drainAll();

    EXPECT_EQ(client.receiveAll(), "");
    EXPECT_TRUE(held.front()->isGone());
    EXPECT_EQ(told, 1);
}

TEST_F(HTTPHookServerTest, letsAnswersGoOutAtItsEnd)
{
    listenAndRecord();
    LoopbackClient client = holdRequest();

    held.front()->respond("200 OK", "{}");
    server.reset();

    EXPECT_EQ(client.receiveAll(), responses::ok.toBytes());
}

TEST_F(HTTPHookServerTest, doesNotWaitForeverForAReaderAtItsEnd)
{
    listenAndRecord();
    const LoopbackClient client = holdRequest();

    held.front()->respond("200 OK", std::string(50'000'000, 'x'));
    server.reset();

    EXPECT_TRUE(held.front()->isGone());
}

TEST_F(HTTPHookServerTest, dropsWhatWasPostedBeforeItsEnd)
{
    listenAndRecord();
    ask(port, post(stopEvent));

    server.reset();
    queue.drainAll();

    EXPECT_TRUE(delivered.empty());
}

TEST_F(HTTPHookServerTest, saysThatItListens)
{
    int changes = 0;
    QObject::connect(server.get(), &HTTPHookServer::runningChanged, server.get(), [&](bool) { ++changes; });

    listen();

    EXPECT_TRUE(log.contains(u"HTTPHookServer: listening on port "_s + QString::number(port)));
    EXPECT_EQ(changes, 1);
}

TEST_F(HTTPHookServerTest, listensOnItsOwnPortUnlessToldOtherwise)
{
    EXPECT_EQ(HTTPHookServer(queue, scheduler, log, peers).port(), 49152);
}

TEST_F(HTTPHookServerTest, refusesPortZero)
{
    HTTPHookServer portless(queue, scheduler, log, peers, 0);

    try {
        portless.start();
        FAIL();
    } catch (const HTTPHookServerError &error) {
        EXPECT_EQ(error.reason(), HTTPHookServerError::Case::invalidPort);
        EXPECT_STREQ(error.what(), "Invalid port number");
    }
}

TEST_F(HTTPHookServerTest, stopsListening)
{
    listen();

    server->stop();
    EXPECT_FALSE(server->isRunning());
    EXPECT_EQ(log.lines().last(), u"HTTPHookServer: stopped"_s);
    server = std::make_unique<HTTPHookServer>(queue, scheduler, log, peers, port);

    EXPECT_FALSE(LoopbackClient().connect(port));
}

TEST_F(HTTPHookServerTest, finishesConnectionsThatWereOpenWhenItStopped)
{
    listenAndRecord();
    LoopbackClient waiting = holdRequest();
    LoopbackClient halfway;
    ASSERT_TRUE(halfway.connect(port));
    const std::string request = post(stopEvent);
    halfway.send(request.substr(0, 90));
    letServerRead();

    server->stop();
    halfway.send(request.substr(90));
    held.front()->respond("200 OK", "{}");

    EXPECT_EQ(halfway.receiveAll(), responses::ok.toBytes());
    EXPECT_EQ(waiting.receiveAll(), responses::ok.toBytes());
}

TEST_F(HTTPHookServerTest, listensAgainAfterStopping)
{
    listen();
    server->stop();

    listen();

    EXPECT_EQ(ask(port, healthRequest), responses::healthy.toBytes());
}

TEST_F(HTTPHookServerTest, startsAnewWhileItRuns)
{
    listenAndRecord();
    LoopbackClient waiting = holdRequest();

    listen();
    held.front()->respond("200 OK", "{}");

    EXPECT_EQ(waiting.receiveAll(), responses::ok.toBytes());
    EXPECT_EQ(ask(port, healthRequest), responses::healthy.toBytes());
}

TEST_F(HTTPHookServerTest, ignoresWhatAnOlderListenerReports)
{
    server->start();
    server->start();
    server->stop();
    server->start();
    while (!server->isRunning())
        ASSERT_TRUE(queue.drainWhenPosted());
    queue.drainAll();

    EXPECT_EQ(log.lines().count(u"HTTPHookServer: listening on port "_s + QString::number(port)), 1);
}

TEST_F(HTTPHookServerTest, isNotRunningWhenItWasStoppedBeforeItListened)
{
    server->start();
    server->stop();
    // The listener's report arrives all the same.
    ASSERT_TRUE(queue.drainWhenPosted());

    EXPECT_FALSE(server->isRunning());
    EXPECT_THAT(log.lines(), ElementsAre(u"HTTPHookServer: stopped"_s));
}

TEST_F(HTTPHookServerTest, retriesAfterFiveSecondsWhenThePortIsTaken)
{
    auto other = std::make_unique<HTTPHookServer>(queue, scheduler, log, peers, port);
    other->start();
    ASSERT_TRUE(queue.drainWhenPosted());
    log.clear();

    server->start();
    ASSERT_TRUE(queue.drainWhenPosted());
    EXPECT_FALSE(server->isRunning());
    EXPECT_THAT(log.lines(), ElementsAre(u"HTTPHookServer: failed: Address already in use \u2014 retrying in 5s"_s));

    scheduler.advance(Seconds { 5 });
    ASSERT_TRUE(queue.drainWhenPosted());
    EXPECT_FALSE(server->isRunning());
    EXPECT_EQ(log.lines().size(), 2);

    other.reset();
    scheduler.advance(Seconds { 4.9 });
    EXPECT_EQ(queue.drainAll(), 0U);
    scheduler.advance(Seconds { 0.1 });
    ASSERT_TRUE(queue.drainWhenPosted());
    EXPECT_TRUE(server->isRunning());
    EXPECT_EQ(ask(port, healthRequest), responses::healthy.toBytes());
}

TEST_F(HTTPHookServerTest, doesNotRetryOnceStopped)
{
    HTTPHookServer other(queue, scheduler, log, peers, port);
    other.start();
    ASSERT_TRUE(queue.drainWhenPosted());
    server->start();
    ASSERT_TRUE(queue.drainWhenPosted());

    server->stop();

    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(HTTPHookServerTest, doesWithoutTheV6Address)
{
    // Somebody has ::1 alone.
    const int taken = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(taken, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
    sockaddr_in6 address {};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    address.sin6_addr = in6addr_loopback;
    ASSERT_EQ(::bind(taken, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(taken, 1), 0);

    listen();

    EXPECT_EQ(ask(port, healthRequest), responses::healthy.toBytes());
    EXPECT_TRUE(log.contains(u"HTTPHookServer: not listening on ::1: Address already in use"_s));
    ::close(taken);
}

} // namespace
} // namespace vantry::test
