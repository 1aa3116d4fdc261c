#pragma once

#include <functional>
#include <memory>

namespace vantry {

/// Tells whether the user's desktop session is locked. Listens as long as it lives. Main thread only; asks nobody and
/// waits for nothing when it is read.
class SessionLock
{
public:
    virtual ~SessionLock() = default;

    /// False as long as the desktop says nothing.
    [[nodiscard]] virtual bool isLocked() const = 0;

    /// Called after this has changed. One observer; it goes before the port, or clears this.
    std::function<void()> onChanged;
};

/// Begins to listen.
using MakeSessionLock = std::function<std::unique_ptr<SessionLock>()>;

} // namespace vantry
