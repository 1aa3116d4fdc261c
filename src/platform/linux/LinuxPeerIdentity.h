#pragma once

#include "platform/PeerIdentity.h"

#include <cstdint>

struct inet_diag_sockid;

namespace vantry {

/// Asks the kernel for the owner of the peer's socket (sock_diag). Owns one netlink socket, which is kept: a question
/// costs a few microseconds.
class LinuxPeerIdentity final : public PeerIdentity
{
public:
    LinuxPeerIdentity();
    ~LinuxPeerIdentity() override;
    LinuxPeerIdentity(const LinuxPeerIdentity &) = delete;
    LinuxPeerIdentity &operator=(const LinuxPeerIdentity &) = delete;

    [[nodiscard]] Peer identify(int acceptedSocket) override;

private:
    /// What the kernel said about one socket.
    struct Answer;

    void ensureOpen();
    [[nodiscard]] Answer ask(int family, const inet_diag_sockid &socket);
    [[nodiscard]] Answer readReply(const inet_diag_sockid &socket);

    int m_netlink { -1 };
    int m_openError { 0 }; ///< Why there is no netlink socket.
    std::uint32_t m_sequence { 0 };
};

} // namespace vantry
