#include "hooks/HTTPHookServerFixture.h"
#include "platform/linux/LinuxPeerIdentity.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::UnorderedElementsAre;

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

TEST_F(HTTPHookServerTest, losesNoAnswerWhenThePeerSendsMoreThanItAnnounced)
{
    listen();

    for (int i = 0; i < 500; ++i) {
        LoopbackClient client;
        ASSERT_TRUE(client.connect(port));
        ASSERT_TRUE(client.send(post(stopEvent)));
        client.send("more"); // Comes before the server closes, or after.
        ASSERT_EQ(client.receiveAll(), responses::ok.toBytes()) << i;
    }
}

/// Runs out of memory as often as it is told to.
class ExhaustedLog final : public Log
{
public:
    using Log::write;
    void write(std::string_view message) override
    {
        if (failures > 0) {
            --failures;
            throw std::bad_alloc();
        }
        lines.write(message);
    }

    std::atomic<int> failures { 0 };
    RecordingLog lines;
};

TEST_F(HTTPHookServerTest, dropsNoMoreThanTheConnectionForWhichMemoryRunsOut)
{
    ExhaustedLog exhausted;
    server = std::make_unique<HTTPHookServer>(queue, scheduler, exhausted, peers, port);
    listen();

    exhausted.failures = 1;
    EXPECT_EQ(ask(port, post(stopEvent)), "");

    EXPECT_EQ(ask(port, post(stopEvent)), responses::ok.toBytes());
    EXPECT_TRUE(exhausted.lines.contains(u"HTTPHookServer: dropped a connection: std::bad_alloc"_s));
    server.reset();
}

TEST_F(HTTPHookServerTest, goesOnAcceptingWhenEvenTheReportOfAFailureFails)
{
    ExhaustedLog exhausted;
    server = std::make_unique<HTTPHookServer>(queue, scheduler, exhausted, peers, port);
    listen();

    // The event's line, the connection's report and the accepting's report.
    exhausted.failures = 3;
    EXPECT_EQ(ask(port, post(stopEvent)), "");

    EXPECT_EQ(ask(port, post(stopEvent)), responses::ok.toBytes());
    EXPECT_TRUE(exhausted.lines.contains(u"HTTPHookServer: std::bad_alloc"_s));
    server.reset();
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
