#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace vantry {

/// Tells whether a window of somebody's covers a whole screen, so that nothing should float above it. Watches as long
/// as it lives, which wakes the program up whenever windows change. Main thread only.
class FullScreenWatch
{
public:
    virtual ~FullScreenWatch() = default;

    /// Whether a full-screen window is in front on the screen of that name (see ScreenInfo).
    [[nodiscard]] virtual bool isFullScreen(const QString &screenName) const = 0;

    /// Called after this has changed for some screen. One observer; it goes before the port, or clears this.
    std::function<void()> onChanged;
};

/// Begins to watch.
using MakeFullScreenWatch = std::function<std::unique_ptr<FullScreenWatch>()>;

} // namespace vantry
