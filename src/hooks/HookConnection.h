#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vantry {

/// An agent's open connection while its permission request is held. Every call may come from any thread and returns at
/// once; the work is done on the intake thread. Exactly one of respond() and cancel() has an effect, the first. Letting
/// go of it without either leaves the connection open until its peer ends it.
class HookConnection
{
public:
    virtual ~HookConnection() = default;

    /// Sends one response ("200 OK" and the body) and closes when it has gone out. A send that fails isn't told.
    virtual void respond(std::string_view status, std::string body) = 0;
    /// Closes without an answer.
    virtual void cancel() = 0;
    /// Watches for the connection's end: `onGone` runs once on the main thread when the peer has closed or has ended
    /// its sending, the connection has failed, was cancelled, or was closed after its response; also when that was
    /// before this call. Bytes that the peer sends meanwhile are dropped. One watcher at a time, the last.
    virtual void watch(std::function<void()> onGone) = 0;
    /// True once the connection has ended in one of these ways.
    [[nodiscard]] virtual bool isGone() const = 0;
};

using HookConnectionPtr = std::shared_ptr<HookConnection>;

} // namespace vantry
