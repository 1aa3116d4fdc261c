#include "hooks/IPCServer.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

TEST(IPCServer, isMadeIdleWithAPathThatStays)
{
    static_assert(std::is_const_v<decltype(IPCServer::socketPath)>);

    const IPCServer server(u"vantry.sock"_s);
    EXPECT_EQ(server.socketPath, u"vantry.sock"_s);
    EXPECT_EQ(server.serverFD, -1);
    EXPECT_FALSE(server.running);
    EXPECT_FALSE(server.onEvent);
}

TEST(IPCServer, givesUpItsQueuesAndItsCallbackWhenItGoes)
{
    const auto token = std::make_shared<int>(0);
    const auto queue = std::make_shared<SerialQueue>("reserved");
    {
        IPCServer server(u"vantry.sock"_s);
        server.acceptQueue = queue;
        server.clientQueue = queue;
        server.onEvent = [token](const HookEvent &) {};
        EXPECT_EQ(token.use_count(), 2);
        EXPECT_EQ(queue.use_count(), 3);
    }
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(queue.use_count(), 1);
}

} // namespace
} // namespace vantry::test
