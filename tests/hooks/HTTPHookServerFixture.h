#pragma once

#include "hooks/HTTPHookServer.h"
#include "hooks/HTTPResponse.h"
#include "hooks/LoopbackClient.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace vantry::test {

/// Says of everybody what it is told to.
class FakePeers final : public PeerIdentity
{
public:
    Peer identify(int) override { return peer; }

    std::atomic<Peer> peer { Peer::Trusted };
};

/// A request with this body, its length announced in the middle of the header block.
inline std::string post(std::string_view body)
{
    return "POST /hook HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nContent-Type: application/json\r\n\r\n" + std::string(body);
}

inline const std::string healthRequest = "GET /health HTTP/1.1\r\nHost: localhost\r\n\r\n";
inline const std::string stopEvent = R"({"session_id":"s","hook_event_name":"Stop"})";
inline const std::string permissionRequest =
    R"({"session_id":"s","hook_event_name":"PermissionRequest","tool_name":"Bash","tool_input":{"command":"ls"}})";
inline const std::string question =
    R"({"session_id":"s","hook_event_name":"PermissionRequest","tool_name":"AskUserQuestion","tool_input":{}})";

/// A server on a port of its own, with callbacks that record, and the means to wait for it without sleeping.
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
            if (event.sessionID == u"last")
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

} // namespace vantry::test
