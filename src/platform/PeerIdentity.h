#pragma once

namespace vantry {

/// Who is at the other end of a loopback connection. Callable from the intake thread, one thread at a time.
class PeerIdentity
{
public:
    enum class Peer {
        Trusted, ///< Our own user, or root.
        Foreign, ///< Another user, or a socket that nobody owns any more.
        Unknown, ///< The machine can't be asked at all.
    };

    virtual ~PeerIdentity() = default;

    /// Asked once, right after accept, with the accepted socket's descriptor. Quick; never waits for the peer.
    [[nodiscard]] virtual Peer identify(int acceptedSocket) = 0;
};

} // namespace vantry
