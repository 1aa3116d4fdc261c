#pragma once

#include "platform/Screens.h"

#include <functional>

namespace vantry {

/// What controls a surface at the notch. Operations may overlap: each begins by reading the state. Main thread only.
class DynamicNotchControllable
{
public:
    /// Called once, when the animation has run; at once where there is nothing to do. Not after the surface has gone.
    using Done = std::function<void()>;

    virtual ~DynamicNotchControllable() = default;

    /// Opens the surface on that screen.
    virtual void expand(const ScreenInfo &screen, Done done = {}) = 0;
    /// Shows the compact form, or hides a surface that has none.
    virtual void compact(const ScreenInfo &screen, Done done = {}) = 0;
    /// Takes the surface off the screen and closes its window.
    virtual void hide(Done done = {}) = 0;
    /// Lets the window have the keyboard while it is expanded. Where the desktop gives the focus by clicks, it comes
    /// with the first click into the window; it goes back when the surface leaves the expanded form.
    virtual void makeKeyWindow() = 0;

    [[nodiscard]] virtual bool isHovering() const = 0;
    /// Called after the pointer has entered or left the visible shape. One observer, which clears this before it goes.
    std::function<void(bool isHovering)> onHoverChanged;
};

} // namespace vantry
