#pragma once

#include "platform/PeerIdentity.h"

#include <atomic>

namespace vantry::test {

/// Gives every connection the same peer.
class FakePeerIdentity final : public PeerIdentity
{
public:
    [[nodiscard]] Peer identify(int) override { return peer; }

    std::atomic<Peer> peer { Peer::Trusted };
};

} // namespace vantry::test
