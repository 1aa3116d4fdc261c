#include "platform/linux/WindowStack.h"

namespace vantry {

bool isCoveredInFront(const QRect &screen, const QList<StackedWindow> &windows)
{
    for (const StackedWindow &window : windows) {
        // One that the window manager makes smaller than the screen, for whatever reason, is full-screen all the same.
        if (window.isFullScreen && window.frame.contains(screen.center()))
            return true;
        if (window.isBare && window.frame.contains(screen))
            return true;
        if (!window.isBeside && window.frame.intersects(screen))
            return false;
    }
    return false;
}

} // namespace vantry
