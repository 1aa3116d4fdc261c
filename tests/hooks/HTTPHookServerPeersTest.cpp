#include "hooks/HTTPHookServerFixture.h"
#include "platform/linux/LinuxPeerIdentity.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;

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

} // namespace
} // namespace vantry::test
