#pragma once

#include "base/SerialQueue.h"
#include "hooks/HookEvent.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

namespace vantry {

/// Reserved for a second way in for hook events, over a local socket. A declaration alone: nothing makes one, it opens
/// no socket and has no protocol; all events come over HTTP (HTTPHookServer).
struct IPCServer
{
    /// The path is fixed from here on.
    explicit IPCServer(QString path)
        : socketPath(std::move(path))
    {}

    const QString socketPath;
    std::int32_t serverFD { -1 };                      ///< The listening socket; -1 is none.
    bool running { false };                            ///< Whether it accepts.
    std::shared_ptr<SerialQueue> acceptQueue {};       ///< For accepting.
    std::shared_ptr<SerialQueue> clientQueue {};       ///< For those who have connected.
    std::function<void(const HookEvent &)> onEvent {}; ///< Unset: nobody is told.
};

} // namespace vantry
