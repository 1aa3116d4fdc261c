#pragma once

#include "platform/Screens.h"

#include <QRectF>

namespace vantry {

/// Height of what stands at the top of the screen, beside the notch.
[[nodiscard]] int menubarHeight(const ScreenInfo &screen);

/// Where the notch is on the desktop: the screen's own, or one as high as the menu bar.
[[nodiscard]] QRectF notchGeometry(const ScreenInfo &screen);

/// Where the window is that the surface moves in: at the top centre of the screen, half as wide and high, and at least
/// as large as what it has to hold.
[[nodiscard]] QRect notchWindowGeometry(const ScreenInfo &screen, const QSizeF &needed);

} // namespace vantry
