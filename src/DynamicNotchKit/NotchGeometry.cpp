#include "DynamicNotchKit/NotchGeometry.h"

#include <QtMath>

#include <algorithm>

namespace vantry {

namespace {

double midX(const ScreenInfo &screen)
{
    return screen.frame.x() + screen.frame.width() / 2.0;
}

} // namespace

int menubarHeight(const ScreenInfo &screen)
{
    return std::max(0, screen.available.top() - screen.frame.top());
}

QRectF notchGeometry(const ScreenInfo &screen)
{
    constexpr double widthWithoutNotch = 300;
    double width = widthWithoutNotch;
    double height = menubarHeight(screen);
    if (screen.topInset > 0 && !screen.topLeftArea.isEmpty() && !screen.topRightArea.isEmpty()) {
        width = std::max(0, screen.frame.width() - screen.topLeftArea.width() - screen.topRightArea.width());
        height = screen.topInset;
    }
    return { midX(screen) - width / 2, double(screen.frame.top()), width, height };
}

QRect notchWindowGeometry(const ScreenInfo &screen, const QSizeF &needed)
{
    // What the toolkit and the window system can take.
    constexpr int largest = 16'384;
    int width = std::clamp(qCeil(std::max(screen.frame.width() / 2.0, needed.width())), 1, largest);
    const int height = std::clamp(qCeil(std::max(screen.frame.height() / 2.0, needed.height())), 1, largest);
    // The middle of the window has to be that of the screen, also where this is between two pixels.
    if ((screen.frame.width() - width) % 2 != 0)
        ++width;
    return { screen.frame.x() + (screen.frame.width() - width) / 2, screen.frame.y(), width, height };
}

} // namespace vantry
