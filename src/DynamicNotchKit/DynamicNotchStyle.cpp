#include "DynamicNotchKit/DynamicNotchStyle.h"

namespace vantry {

DynamicNotchStyle::DynamicNotchStyle(Kind kind, double topCornerRadius, double bottomCornerRadius)
    : m_kind(kind)
    , m_topCornerRadius(topCornerRadius)
    , m_bottomCornerRadius(bottomCornerRadius)
{}

DynamicNotchStyle DynamicNotchStyle::notch(double topCornerRadius, double bottomCornerRadius)
{
    return { Kind::Notch, topCornerRadius, bottomCornerRadius };
}

DynamicNotchStyle DynamicNotchStyle::floating(double cornerRadius)
{
    return { Kind::Floating, 0, cornerRadius };
}

DynamicNotchStyle DynamicNotchStyle::automatic()
{
    return { Kind::Automatic, 0, 0 };
}

DynamicNotchStyle DynamicNotchStyle::resolved(const ScreenInfo &screen) const
{
    if (m_kind != Kind::Automatic)
        return *this;
    const bool hasNotch = !screen.topLeftArea.isEmpty() && !screen.topRightArea.isEmpty();
    return hasNotch ? notch() : floating();
}

} // namespace vantry
