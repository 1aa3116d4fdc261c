#pragma once

#include "platform/OverlayWindows.h"

#include <QList>
#include <QRect>
#include <QRegion>
#include <QScreen>
#include <QWindow>

namespace vantry::test {

/// A desktop that a test makes up.
class FakeOverlayWindows final : public OverlayWindows
{
public:
    [[nodiscard]] bool canPlace() const override { return places; }
    [[nodiscard]] bool hasCompositor() const override { return compositor; }
    [[nodiscard]] bool seesPointer() const override { return false; }
    [[nodiscard]] QRect availableArea(const QScreen &screen) const override { return screen.availableGeometry(); }
    [[nodiscard]] std::optional<WindowID> activeWindow() const override { return active; }
    void setUpOverlay(QWindow &) override { ++overlays; }
    void setInputArea(QWindow &, const QRegion &area) override { inputArea = area; }
    void takeFocus(QWindow &window) override { window.requestActivate(); }
    void giveFocus(WindowID window) override { focused.append(window); }

    bool places { true };
    bool compositor { false };
    std::optional<WindowID> active;
    int overlays { 0 };
    QRegion inputArea;
    QList<WindowID> focused; ///< The windows that the focus was given to.
};

} // namespace vantry::test
