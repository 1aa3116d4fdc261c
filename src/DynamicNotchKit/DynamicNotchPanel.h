#pragma once

#include "base/Clock.h"
#include "platform/OverlayWindows.h"
#include "platform/Screens.h"

#include <QQuickView>
#include <QRegion>

#include <optional>

namespace vantry {

class NotchSurface;

/// The window of a surface: it has no frame, stands above all others on every desktop, and takes the pointer only where
/// the shape is. It takes no focus by itself. Main thread only.
class DynamicNotchPanel final : public QQuickView
{
    Q_OBJECT

public:
    /// All of these must outlive this. Shows nothing.
    DynamicNotchPanel(QQmlEngine &engine, NotchSurface &surface, OverlayWindows &overlays, const Clock &clock);
    ~DynamicNotchPanel() override;

    /// Makes the views. The properties are the window's own dynamic ones.
    void load(const QVariantMap &properties);
    /// Takes its place on the screen, large enough for the surface.
    void fit(const ScreenInfo &screen);
    void orderFrontRegardless();
    /// Drops what is typed until then.
    void dropKeysUntil(MonotonicTime time) { m_keysDroppedUntil = time; }
    /// The next click into the window takes the focus.
    void makeKeyWindow();
    /// Takes the focus no longer; gives it back to the window that had it.
    void resignKeyWindow();
    [[nodiscard]] bool canBecomeKeyWindow() const { return true; }
    /// What the pointer is taken of.
    [[nodiscard]] const QRegion &inputArea() const { return m_inputArea; }

Q_SIGNALS:
    void pointerMoved(bool isInside);

protected:
    bool event(QEvent *event) override;

private:
    void surfaceChanged();
    void followPointer(const QEvent &event);
    void takeFocus();

    NotchSurface &m_surface;
    OverlayWindows &m_overlays;
    const Clock &m_clock;
    QRegion m_inputArea;
    std::optional<QPointF> m_pointer; ///< In the window; unset while it is outside.
    bool m_hasPressedButton { false };
    bool m_isPointerInside { false };
    bool m_takesFocus { false };
    MonotonicTime m_keysDroppedUntil {};
    std::optional<OverlayWindows::WindowID> m_windowBefore; ///< Which had the focus before this.
};

} // namespace vantry
