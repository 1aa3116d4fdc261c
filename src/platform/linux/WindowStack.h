#pragma once

#include <QList>
#include <QRect>

namespace vantry {

/// What of a window on the desktop tells whether the windows above a screen leave room for anything that floats.
struct StackedWindow
{
    QRect frame {};              ///< In pixels of the desktop.
    bool isFullScreen { false }; ///< By the window manager's word, or one that it knows nothing of.
    bool isBare { false };       ///< Without a frame around it, and not maximized.
    bool isBeside { false };     ///< A dialog, a bar or the like: says nothing of what is in front.
};

/// Whether the window in front on the screen, which is given in pixels, covers all of it. The windows that are seen on
/// this virtual desktop, the topmost first.
[[nodiscard]] bool isCoveredInFront(const QRect &screen, const QList<StackedWindow> &windows);

} // namespace vantry
