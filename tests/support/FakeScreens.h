#pragma once

#include "platform/Screens.h"

namespace vantry::test {

/// Screens that a test makes up.
class FakeScreens final : public Screens
{
public:
    [[nodiscard]] QList<ScreenInfo> screens() const override { return all; }
    void setHasVirtualNotch(bool hasVirtualNotch) override { virtualNotch = hasVirtualNotch; }

    void set(const QList<ScreenInfo> &screens)
    {
        all = screens;
        if (onChanged)
            onChanged();
    }

    /// One with a virtual notch in its middle.
    [[nodiscard]] static ScreenInfo notched(const QString &name, const QRect &frame)
    {
        const QSize notch = virtualNotchSize;
        const int side = (frame.width() - notch.width()) / 2;
        ScreenInfo screen;
        screen.name = name;
        screen.frame = frame;
        screen.available = frame.adjusted(0, notch.height(), 0, 0);
        screen.topInset = notch.height();
        screen.topLeftArea = QRect(frame.topLeft(), QSize(side, notch.height()));
        screen.topRightArea = QRect(frame.x() + side + notch.width(), frame.y(), side, notch.height());
        return screen;
    }
    [[nodiscard]] static ScreenInfo plain(const QString &name, const QRect &frame)
    {
        ScreenInfo screen;
        screen.name = name;
        screen.frame = screen.available = frame;
        return screen;
    }

    QList<ScreenInfo> all;
    bool virtualNotch { true };
};

} // namespace vantry::test
