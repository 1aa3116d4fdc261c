#include "platform/linux/LinuxListeningPorts.h"

#include <gmock/gmock.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantry {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char table[] =
    "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n"
    "   0: 0100007F:C000 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1000        0 4711 1 0 100 0 0 10 0\n"
    "   1: 0100007F:C000 0100007F:9999 01 00000000:00000000 00:00000000 00000000  1000        0 4712 1 0 20 4 30 10 "
    "-1\n"
    "   2: 00000000:0016 00000000:0000 0A 00000000:00000000 00:00000000 00000000     0        0 4713 1 0 100 0 0 10 0\n"
    "broken line\n";

TEST(ListeningSockets, areThoseThatListenOnThePort)
{
    EXPECT_THAT(listeningSockets(table, 49152), ElementsAre(ListeningSocket { 1000, 4711 }));
    EXPECT_THAT(listeningSockets(table, 22), ElementsAre(ListeningSocket { 0, 4713 }));
    EXPECT_THAT(listeningSockets(table, 0x9999), IsEmpty());
}

TEST(ListeningSockets, areNoneInTextOfAnotherForm)
{
    EXPECT_THAT(listeningSockets("", 49152), IsEmpty());
    EXPECT_THAT(listeningSockets("a b c :C000", 49152), IsEmpty());
}

TEST(LinuxListeningPorts, namesThisProcess)
{
    const int listening = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    ASSERT_EQ(::bind(listening, generic, size), 0);
    ASSERT_EQ(::listen(listening, 1), 0);
    ASSERT_EQ(::getsockname(listening, generic, &size), 0);

    const auto holder = LinuxListeningPorts().holder(ntohs(address.sin_port));
    ::close(listening);

    ASSERT_TRUE(holder);
    EXPECT_TRUE(holder->contains(QString::number(::getpid()))) << holder->toStdString();
}

} // namespace
} // namespace vantry
