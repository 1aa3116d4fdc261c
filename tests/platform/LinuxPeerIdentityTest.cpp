#include "platform/linux/LinuxPeerIdentity.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantry::test {
namespace {

using Peer = PeerIdentity::Peer;

/// A descriptor that is closed at its end.
class Descriptor
{
public:
    explicit Descriptor(int number)
        : m_number(number)
    {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor &&other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    {}
    Descriptor &operator=(Descriptor &&) = delete;

    [[nodiscard]] int get() const { return m_number; }
    void close()
    {
        if (m_number >= 0)
            ::close(std::exchange(m_number, -1));
    }

private:
    int m_number;
};

sockaddr_in6 v6Address(in6_addr address, std::uint16_t port)
{
    sockaddr_in6 result {};
    result.sin6_family = AF_INET6;
    result.sin6_addr = address;
    result.sin6_port = htons(port);
    return result;
}

sockaddr_in v4Loopback(std::uint16_t port)
{
    sockaddr_in result {};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    result.sin_port = htons(port);
    return result;
}

/// A listening socket on a loopback address of the family.
class Listener
{
public:
    explicit Listener(int family)
        : m_socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        if (family == AF_INET) {
            const sockaddr_in address = v4Loopback(0);
            ::bind(m_socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address);
        } else {
            const sockaddr_in6 address = v6Address(in6addr_loopback, 0);
            ::bind(m_socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address);
        }
        ::listen(m_socket.get(), 8);
    }

    [[nodiscard]] std::uint16_t port() const
    {
        sockaddr_in6 address {};
        socklen_t length = sizeof address;
        ::getsockname(m_socket.get(), reinterpret_cast<sockaddr *>(&address), &length);
        return ntohs(address.sin6_port); // Stands at the same place for both families.
    }
    [[nodiscard]] Descriptor accept() const
    {
        return Descriptor(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }

private:
    Descriptor m_socket;
};

Descriptor connectV4(std::uint16_t port)
{
    Descriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = v4Loopback(port);
    EXPECT_EQ(::connect(client.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    return client;
}

Descriptor connectV6(in6_addr to, std::uint16_t port)
{
    Descriptor client(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in6 address = v6Address(to, port);
    EXPECT_EQ(::connect(client.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    return client;
}

/// Runs in a child process; its result is the child's exit status.
template <typename Function>
int inChild(Function &&function)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(function());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(LinuxPeerIdentity, trustsOurOwnUser)
{
    LinuxPeerIdentity identity;
    const Listener listener(AF_INET);
    const Descriptor client = connectV4(listener.port());
    const Descriptor accepted = listener.accept();

    EXPECT_EQ(identity.identify(accepted.get()), Peer::Trusted);
}

TEST(LinuxPeerIdentity, trustsOurOwnUserOverV6)
{
    LinuxPeerIdentity identity;
    const Listener listener(AF_INET6);
    const Descriptor client = connectV6(in6addr_loopback, listener.port());
    const Descriptor accepted = listener.accept();

    EXPECT_EQ(identity.identify(accepted.get()), Peer::Trusted);
}

TEST(LinuxPeerIdentity, findsAV6SocketThatSpeaksV4)
{
    LinuxPeerIdentity identity;
    const Listener listener(AF_INET);
    in6_addr mapped {};
    ASSERT_EQ(::inet_pton(AF_INET6, "::ffff:127.0.0.1", &mapped), 1);
    const Descriptor client = connectV6(mapped, listener.port());
    const Descriptor accepted = listener.accept();

    EXPECT_EQ(identity.identify(accepted.get()), Peer::Trusted);
}

TEST(LinuxPeerIdentity, answersForAcceptedV6SocketsThatSpeakV4)
{
    LinuxPeerIdentity identity;
    const Descriptor listener(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in6 any = v6Address(in6addr_any, 0);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr *>(&any), sizeof any), 0);
    ASSERT_EQ(::listen(listener.get(), 1), 0);
    socklen_t length = sizeof any;
    ::getsockname(listener.get(), reinterpret_cast<sockaddr *>(&any), &length);
    const Descriptor client = connectV4(ntohs(any.sin6_port));
    const Descriptor accepted(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));

    EXPECT_EQ(identity.identify(accepted.get()), Peer::Trusted);
}

TEST(LinuxPeerIdentity, trustsAPeerThatHasEndedItsSending)
{
    LinuxPeerIdentity identity;
    const Listener listener(AF_INET);
    const Descriptor client = connectV4(listener.port());
    const Descriptor accepted = listener.accept();

    ::shutdown(client.get(), SHUT_WR);

    EXPECT_EQ(identity.identify(accepted.get()), Peer::Trusted);
}

TEST(LinuxPeerIdentity, takesASocketThatNobodyOwnsAnyMoreForForeign)
{
    LinuxPeerIdentity identity;
    const Listener listener(AF_INET);
    Descriptor client = connectV4(listener.port());
    const Descriptor accepted = listener.accept();

    client.close();

    EXPECT_EQ(identity.identify(accepted.get()), Peer::Foreign);
}

TEST(LinuxPeerIdentity, takesAPeerThatHasResetForForeign)
{
    LinuxPeerIdentity identity;
    const Listener listener(AF_INET);
    Descriptor client = connectV4(listener.port());
    const Descriptor accepted = listener.accept();

    const linger atOnce { 1, 0 };
    ::setsockopt(client.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    client.close();

    EXPECT_EQ(identity.identify(accepted.get()), Peer::Foreign);
}

TEST(LinuxPeerIdentity, takesWhatIsNoConnectionForForeign)
{
    LinuxPeerIdentity identity;
    std::array<int, 2> pair {};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    const Descriptor one(pair[0]);
    const Descriptor other(pair[1]);

    EXPECT_EQ(identity.identify(one.get()), Peer::Foreign);
    EXPECT_EQ(identity.identify(-1), Peer::Foreign);
}

TEST(LinuxPeerIdentity, tellsManyPeersApart)
{
    LinuxPeerIdentity identity;
    const Listener listener(AF_INET);
    for (int i = 0; i < 200; ++i) {
        Descriptor client = connectV4(listener.port());
        const Descriptor accepted = listener.accept();
        if (i % 2 == 1)
            client.close();
        ASSERT_EQ(identity.identify(accepted.get()), i % 2 == 1 ? Peer::Foreign : Peer::Trusted) << i;
    }
}

TEST(LinuxPeerIdentity, trustsNobodyWhileDescriptorsHaveRunOut)
{
    const Listener listener(AF_INET);
    const Descriptor client = connectV4(listener.port());
    const Descriptor accepted = listener.accept();
    rlimit before {};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none { 0, before.rlim_max };

    ::setrlimit(RLIMIT_NOFILE, &none);
    LinuxPeerIdentity identity;
    const Peer meanwhile = identity.identify(accepted.get());
    ::setrlimit(RLIMIT_NOFILE, &before);

    EXPECT_EQ(meanwhile, Peer::Foreign);
    EXPECT_EQ(identity.identify(accepted.get()), Peer::Trusted);
}

TEST(LinuxPeerIdentity, keepsItsSocketFromChildren)
{
    const int lowestFree = ::dup(STDERR_FILENO);
    ::close(lowestFree);

    const LinuxPeerIdentity identity;

    EXPECT_EQ(::fcntl(lowestFree, F_GETFD), FD_CLOEXEC);
}

/// Refuses netlink sockets to this process, as sandboxes do.
void forbidNetlink()
{
    std::array<sock_filter, 6> program {
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_NETLINK, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter { static_cast<unsigned short>(program.size()), program.data() };
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
}

TEST(LinuxPeerIdentity, knowsNobodyWhereTheKernelCannotBeAsked)
{
    const Listener listener(AF_INET);
    const Descriptor client = connectV4(listener.port());
    const Descriptor accepted = listener.accept();

    const int peer = inChild([&] {
        forbidNetlink();
        LinuxPeerIdentity identity;
        return static_cast<int>(identity.identify(accepted.get()));
    });

    EXPECT_EQ(peer, static_cast<int>(Peer::Unknown));
}

/// Needs the right to become somebody else; without it there is no value to test with.
class LinuxPeerIdentityOfUser : public ::testing::TestWithParam<uid_t>
{};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LinuxPeerIdentityOfUser);

std::vector<uid_t> otherUsers()
{
    return ::geteuid() == 0 ? std::vector<uid_t> { 65534, 12345 } : std::vector<uid_t> {};
}

TEST_P(LinuxPeerIdentityOfUser, isForeign)
{
    LinuxPeerIdentity identity;
    const Listener listener(AF_INET);
    std::array<int, 2> ending {};
    ASSERT_EQ(::pipe2(ending.data(), O_CLOEXEC), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ending[1]);
        if (::setresuid(GetParam(), GetParam(), GetParam()) != 0)
            ::_exit(1);
        const Descriptor client = connectV4(listener.port());
        char byte = 0;
        static_cast<void>(!::read(ending[0], &byte, 1)); // Until the test ends it.
        ::_exit(0);
    }
    const Descriptor accepted = listener.accept();

    EXPECT_EQ(identity.identify(accepted.get()), Peer::Foreign);

    ::close(ending[0]);
    ::close(ending[1]);
    ::waitpid(child, nullptr, 0);
}

TEST_P(LinuxPeerIdentityOfUser, trustsRootAndItself)
{
    const Listener listener(AF_INET);
    const Descriptor client = connectV4(listener.port()); // Root's.
    const Descriptor accepted = listener.accept();

    const int peers = inChild([&] {
        if (::setresuid(GetParam(), GetParam(), GetParam()) != 0)
            return -1;
        LinuxPeerIdentity identity;
        const Listener ownListener(AF_INET);
        const Descriptor ownClient = connectV4(ownListener.port());
        const Descriptor ownAccepted = ownListener.accept();
        return identity.identify(accepted.get()) == Peer::Trusted &&
                       identity.identify(ownAccepted.get()) == Peer::Trusted
                   ? 42
                   : 0;
    });

    EXPECT_EQ(peers, 42);
}

INSTANTIATE_TEST_SUITE_P(Other, LinuxPeerIdentityOfUser, ::testing::ValuesIn(otherUsers()));

} // namespace
} // namespace vantry::test
