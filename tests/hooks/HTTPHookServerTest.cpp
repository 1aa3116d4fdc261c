#include "hooks/HTTPHookServer.h"

#include "hooks/HTTPResponse.h"
#include "hooks/LoopbackClient.h"
#include "platform/linux/LinuxPeerIdentity.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class FakePeers final : public PeerIdentity
{
public:
    Peer identify(int) override { return peer; }

    std::atomic<Peer> peer { Peer::Trusted };
};

std::string post(std::string_view body)
{
    return "POST /hook HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nContent-Type: application/json\r\n\r\n" + std::string(body);
}

const std::string healthRequest = "GET /health HTTP/1.1\r\nHost: localhost\r\n\r\n";
const std::string stopEvent = R"({"session_id":"s","hook_event_name":"Stop"})";
const std::string permissionRequest =
    R"({"session_id":"s","hook_event_name":"PermissionRequest","tool_name":"Bash","tool_input":{"command":"ls"}})";
const std::string question =
    R"({"session_id":"s","hook_event_name":"PermissionRequest","tool_name":"AskUserQuestion","tool_input":{}})";

class HTTPHookServerTest : public ::testing::Test
{
protected:
    /// Starts, and waits until the server listens.
    void listen()
    {
        server->start();
        ASSERT_TRUE(eventually([&] { return server->isRunning(); })) << log.lines().join(u'\n').toStdString();
    }
    /// The same, with the application's callbacks, which record.
    void listenAndRecord()
    {
        server->onEventReceived = [this](const HookEvent &event) {
            delivered.push_back("event " + event.sessionID.toStdString());
        };
        server->onPermissionRequest = [this](const HookEvent &event, HookConnectionPtr connection) {
            delivered.push_back("request " + event.sessionID.toStdString());
            held.push_back(std::move(connection));
        };
        listen();
    }
    /// Lets the server read what has been sent up to now: it serves connections as their bytes come.
    void letServerRead() { ASSERT_EQ(ask(port, healthRequest), responses::healthy.toBytes()); }

    /// Runs the callbacks of everything that has been answered up to now: events are handed over in their order, so
    /// one more is sent and waited for.
    void deliverAll()
    {
        bool reached = false;
        const auto callback = server->onEventReceived;
        server->onEventReceived = [&](const HookEvent &event) {
            if (event.sessionID == u"last"_s)
                reached = true;
            else if (callback)
                callback(event);
        };
        ASSERT_EQ(ask(port, post(R"({"session_id":"last"})")), responses::ok.toBytes());
        ASSERT_TRUE(eventually([&] { return reached; }));
        server->onEventReceived = callback;
    }

    /// Runs what is posted until the condition holds, or for so long that it never will.
    template <typename Condition>
    [[nodiscard]] bool eventually(Condition &&condition)
    {
        for (int i = 0; i < 2000 && !condition(); ++i)
            queue.drainWhenPosted(std::chrono::milliseconds { 10 });
        return condition();
    }

    /// A client whose request is held.
    LoopbackClient holdRequest()
    {
        LoopbackClient client;
        EXPECT_TRUE(client.connect(port));
        client.send(post(permissionRequest));
        const std::size_t before = held.size();
        EXPECT_TRUE(eventually([&] { return held.size() == before + 1; }));
        return client;
    }

    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue queue;
    RecordingLog log;
    FakePeers peers;
    const std::uint16_t port { freePort() };
    std::vector<std::string> delivered;
    std::vector<HookConnectionPtr> held;
    std::unique_ptr<HTTPHookServer> server { std::make_unique<HTTPHookServer>(queue, scheduler, log, peers, port) };
};

TEST_F(HTTPHookServerTest, answersHealthWithoutWaitingForABody)
{
    listen();

    EXPECT_EQ(ask(port, "GET /health HTTP/1.1\r\nContent-Length: 9\r\nHost: localhost\r\n\r\n"),
              responses::healthy.toBytes());
}

TEST_F(HTTPHookServerTest, listensOnBothLoopbackAddresses)
{
    listen();

    EXPECT_EQ(ask(port, healthRequest, LoopbackClient::Family::V6), responses::healthy.toBytes());
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

TEST_F(HTTPHookServerTest, survivesPeersThatCloseEarly)
{
    listenAndRecord();

    for (const std::string &bytes : { std::string(), std::string("POST"), post(stopEvent), post(permissionRequest) }) {
        LoopbackClient client;
        ASSERT_TRUE(client.connect(port));
        client.send(bytes);
        client.close();
    }

    EXPECT_TRUE(eventually([&] { return delivered.size() == 3; }));
    EXPECT_THAT(delivered, UnorderedElementsAre("event s", "request s", "event s"));
}

TEST_F(HTTPHookServerTest, isNotHeldUpByAClientThatStalls)
{
    listen();
    LoopbackClient silent;
    LoopbackClient halfway;
    ASSERT_TRUE(silent.connect(port) && halfway.connect(port));
    halfway.send("POST /hook HTTP/1.1\r\nContent-Length: 9\r\nX: y\r\n\r\n{");

    EXPECT_EQ(ask(port, healthRequest), responses::healthy.toBytes());
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

TEST_F(HTTPHookServerTest, doesNotBelieveAHugeAnnouncement)
{
    listen();
    std::vector<LoopbackClient> clients;
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(clients.emplace_back().connect(port));
        clients.back().send("POST /hook HTTP/1.1\r\nContent-Length: 9223372036854775807\r\nX: y\r\n\r\n{");
    }

    letServerRead();
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

TEST_F(HTTPHookServerTest, losesNoAnswerWhileThePeerStillSends)
{
    listen();
    const std::string rest(2'000'000, 'x');

    for (int i = 0; i < 100; ++i) {
        LoopbackClient client;
        ASSERT_TRUE(client.connect(port));
        ASSERT_TRUE(client.send("GET /health HTTP/1.1\r\n\r\n"));
        ASSERT_TRUE(client.send(rest)) << i;
        ASSERT_EQ(client.receiveAll(), responses::healthy.toBytes()) << i;
    }
}

TEST_F(HTTPHookServerTest, leavesAPeerThatNeverEndsItsSending)
{
    listen();
    LoopbackClient client;
    ASSERT_TRUE(client.connect(port));
    client.send("GET /health HTTP/1.1\r\n\r\nmore");

    // The answer ends the server's sending, and after a while it closes, too: then nothing more is taken.
    EXPECT_EQ(client.receiveAll(), responses::healthy.toBytes());
    while (client.send("more")) {
    }
}

TEST_F(HTTPHookServerTest, refusesBrowsersAndForeignNames)
{
    listenAndRecord();

    for (const char *header : { "Origin: null", "Host: evil.example", "Sec-Fetch-Site: cross-site" }) {
        std::string request = post(stopEvent);
        request.insert(request.find("Content-Length"), header + std::string("\r\n"));
        EXPECT_EQ(ask(port, request), responses::notFound.toBytes()) << header;
    }

    deliverAll();
    EXPECT_TRUE(delivered.empty());
}

TEST_F(HTTPHookServerTest, refusesOtherUsersBeforeTheySendAnything)
{
    listenAndRecord();
    peers.peer = PeerIdentity::Peer::Foreign;

    EXPECT_EQ(ask(port, ""), responses::notFound.toBytes());
    EXPECT_EQ(ask(port, post(stopEvent)), responses::notFound.toBytes());

    peers.peer = PeerIdentity::Peer::Trusted;
    deliverAll();
    EXPECT_TRUE(delivered.empty());
}

TEST_F(HTTPHookServerTest, acceptsUnknownPeersAndSaysSoOnce)
{
    listenAndRecord();
    peers.peer = PeerIdentity::Peer::Unknown;
    log.clear();

    EXPECT_EQ(ask(port, healthRequest), responses::healthy.toBytes());
    EXPECT_EQ(ask(port, healthRequest), responses::healthy.toBytes());

    EXPECT_THAT(
        log.lines(),
        ElementsAre(u"HTTPHookServer: can't tell which user connects: other users of this machine are not refused"_s));
}

TEST_F(HTTPHookServerTest, knowsItsOwnUser)
{
    LinuxPeerIdentity real;
    server = std::make_unique<HTTPHookServer>(queue, scheduler, log, real, port);
    listen();

    EXPECT_EQ(ask(port, healthRequest), responses::healthy.toBytes());
    EXPECT_EQ(ask(port, healthRequest, LoopbackClient::Family::V6), responses::healthy.toBytes());
    server.reset();
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

/// Sets the soft limit of open files for one test.
class OpenFileLimit
{
public:
    explicit OpenFileLimit(rlim_t soft)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit changed { soft, m_before.rlim_max };
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &changed), 0);
    }
    ~OpenFileLimit() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
    OpenFileLimit(const OpenFileLimit &) = delete;
    OpenFileLimit &operator=(const OpenFileLimit &) = delete;

private:
    rlimit m_before {};
};

TEST_F(HTTPHookServerTest, holdsAThousandConnectionsAtOnce)
{
    const OpenFileLimit enough(4096);
    listenAndRecord();
    std::vector<LoopbackClient> clients;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_TRUE(clients.emplace_back().connect(port)) << i;
        clients.back().send(post(permissionRequest));
    }
    while (held.size() < clients.size())
        ASSERT_TRUE(queue.drainWhenPosted());
    EXPECT_EQ(ask(port, healthRequest), responses::healthy.toBytes());

    for (const HookConnectionPtr &connection : held)
        connection->respond("200 OK", "{}");

    for (LoopbackClient &client : clients)
        ASSERT_EQ(client.receiveAll(), responses::ok.toBytes());
}

TEST_F(HTTPHookServerTest, losesNobodyWhenDescriptorsRunOut)
{
    listen();
    std::vector<LoopbackClient> clients(50);
    const int lowestFree = ::dup(STDERR_FILENO);
    ::close(lowestFree);

    // One connection at a time: each waits for the end of the one before.
    const OpenFileLimit tight(static_cast<rlim_t>(lowestFree) + 1);
    for (LoopbackClient &client : clients) {
        ASSERT_TRUE(client.connect(port));
        client.send(post(stopEvent));
    }

    for (LoopbackClient &client : clients)
        ASSERT_EQ(client.receiveAll(), responses::ok.toBytes());
}

TEST_F(HTTPHookServerTest, acceptsAgainWhenDescriptorsAreFreedElsewhere)
{
    listen();
    LoopbackClient client;
    const int lowestFree = ::dup(STDERR_FILENO);
    ::close(lowestFree);
    {
        const OpenFileLimit none(static_cast<rlim_t>(lowestFree));
        ASSERT_TRUE(client.connect(port));
        client.send(healthRequest);
    }

    EXPECT_EQ(client.receiveAll(), responses::healthy.toBytes());
}

TEST_F(HTTPHookServerTest, givesNoDescriptorToChildren)
{
    const auto inheritable = [] {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            const int descriptor = std::stoi(entry.path().filename());
            const int flags = ::fcntl(descriptor, F_GETFD);
            if (flags >= 0 && (flags & FD_CLOEXEC) == 0)
                names.push_back(entry.path().filename());
        }
        return names;
    };
    const auto before = inheritable();

    LinuxPeerIdentity real;
    server = std::make_unique<HTTPHookServer>(queue, scheduler, log, real, port);
    listenAndRecord();
    const LoopbackClient client = holdRequest();

    EXPECT_EQ(inheritable(), before);
    server.reset();
}

TEST_F(HTTPHookServerTest, staysAliveAmidAStormOfClients)
{
    listenAndRecord();
    std::vector<std::thread> threads;
    std::atomic<int> answers { 0 };
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 100; ++i) {
                LoopbackClient client;
                if (!client.connect(port))
                    continue;
                client.send(post(i % 3 == 0 ? permissionRequest : stopEvent));
                if (i % 3 == 0 || (i + thread) % 5 == 0)
                    client.close();
                else if (client.receiveAll() == responses::ok.toBytes())
                    ++answers;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();

    constexpr std::size_t requests = 4 * 34;
    EXPECT_TRUE(eventually([&] { return delivered.size() == 400 + requests; })) << delivered.size();
    EXPECT_EQ(held.size(), requests);
    EXPECT_TRUE(eventually([&] { return std::ranges::all_of(held, &HookConnection::isGone); }));
    EXPECT_GT(answers, 0);
}

} // namespace
} // namespace vantry::test
