#pragma once

#include <functional>

namespace vantry {

/// Tells whether the user's desktop session is locked. Main thread only; asks nobody and waits for nothing when it is
/// read.
class SessionLock
{
public:
    virtual ~SessionLock() = default;

    /// False as long as the desktop says nothing.
    [[nodiscard]] virtual bool isLocked() const = 0;

    /// Called after this has changed. One observer; it goes before the port, or clears this.
    std::function<void()> onChanged;
};

} // namespace vantry
