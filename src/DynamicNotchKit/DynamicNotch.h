#pragma once

#include "DynamicNotchKit/DynamicNotchControllable.h"
#include "DynamicNotchKit/DynamicNotchHoverBehavior.h"
#include "DynamicNotchKit/DynamicNotchState.h"
#include "DynamicNotchKit/DynamicNotchStyle.h"
#include "DynamicNotchKit/DynamicNotchTransitionConfiguration.h"
#include "base/Scheduler.h"
#include "platform/OverlayWindows.h"

#include <QObject>
#include <QUrl>
#include <QVariantMap>

#include <list>
#include <memory>
#include <optional>
#include <vector>

class QQmlEngine;

namespace vantry {

class DynamicNotchPanel;
class NotchSurface;

/// A view that the surface shows: a QML file, and what its properties are at first. It is made anew with each window.
/// What it measures is its implicit size; its width and height are set by the surface.
struct DynamicNotchView
{
    QUrl source {}; ///< Empty: nothing.
    QVariantMap properties {};
};

/// A surface that looks like a part of the screen's upper edge, in a window that is far larger than it, so that it can
/// grow without the window doing so; all beside its shape lets clicks pass. There is a window as long as the surface
/// isn't hidden, and a moment longer. Main thread only.
class DynamicNotch : public QObject, public DynamicNotchControllable
{
    Q_OBJECT
    Q_PROPERTY(vantry::DynamicNotchState state READ state NOTIFY stateChanged)
    Q_PROPERTY(QSizeF notchSize READ notchSize NOTIFY notchSizeChanged)
    Q_PROPERTY(int menubarHeight READ menubarHeight NOTIFY menubarHeightChanged)
    Q_PROPERTY(bool isHovering READ isHovering NOTIFY isHoveringChanged)
    Q_PROPERTY(bool disableCompactLeading READ disableCompactLeading WRITE setDisableCompactLeading NOTIFY
                   disableCompactLeadingChanged)
    Q_PROPERTY(bool disableCompactTrailing READ disableCompactTrailing WRITE setDisableCompactTrailing NOTIFY
                   disableCompactTrailingChanged)

public:
    /// All of these must outlive this.
    struct Surroundings
    {
        QQmlEngine &engine;
        OverlayWindows &overlays;
        const Clock &clock;
        Scheduler &scheduler;
        std::function<bool()> reducedMotion {};         ///< Unset: never.
        std::function<void()> performHapticFeedback {}; ///< Unset: there is no device for it.
    };

    struct Contents
    {
        DynamicNotchView expanded {};
        DynamicNotchView compactLeading {};
        DynamicNotchView compactTrailing {};
        /// Dynamic properties that each window has before its views are made.
        QVariantMap windowProperties {};
    };

    struct Options
    {
        DynamicNotchHoverBehavior hoverBehavior {};
        DynamicNotchStyle style { DynamicNotchStyle::automatic() };
        DynamicNotchTransitionConfiguration transitionConfiguration {};
        /// Reserved for views that share parts between the compact and the expanded form.
        std::optional<QString> matchedGeometryNamespace {};
    };

    /// Shows nothing yet.
    DynamicNotch(const Surroundings &surroundings, const Contents &contents, const Options &options);
    DynamicNotch(const Surroundings &surroundings, const Contents &contents)
        : DynamicNotch(surroundings, contents, Options {})
    {}
    ~DynamicNotch() override;

    /// A surface that is expanded already stays where it is.
    void expand(const ScreenInfo &screen, Done done = {}) override;
    /// A surface that is compact already stays where it is. One that floats has no compact form, and one whose sides
    /// are both disabled none to show: they hide.
    void compact(const ScreenInfo &screen, Done done = {}) override;
    /// Done is called when the window has gone, or when another operation keeps it.
    void hide(Done done = {}) override;
    void makeKeyWindow() override;
    [[nodiscard]] bool isHovering() const override { return m_isHovering; }

    [[nodiscard]] DynamicNotchState state() const { return m_state; }
    [[nodiscard]] const DynamicNotchStyle &style() const { return m_options.style; }
    [[nodiscard]] DynamicNotchHoverBehavior hoverBehavior() const { return m_options.hoverBehavior; }
    [[nodiscard]] const DynamicNotchTransitionConfiguration &transitionConfiguration() const
    {
        return m_options.transitionConfiguration;
    }
    /// Of the screen that the window was made for.
    [[nodiscard]] QSizeF notchSize() const;
    [[nodiscard]] int menubarHeight() const { return m_menubarHeight; }
    /// The window; null when there is none.
    [[nodiscard]] DynamicNotchPanel *windowController() const { return m_panel.get(); }

    [[nodiscard]] bool disableCompactLeading() const;
    void setDisableCompactLeading(bool isDisabled);
    [[nodiscard]] bool disableCompactTrailing() const;
    void setDisableCompactTrailing(bool isDisabled);

    /// What the views are drawn from; lives as long as this.
    [[nodiscard]] NotchSurface &surface() { return *m_surface; }

Q_SIGNALS:
    void stateChanged();
    void notchSizeChanged();
    void menubarHeightChanged();
    void isHoveringChanged();
    void disableCompactLeadingChanged();
    void disableCompactTrailingChanged();

private:
    struct Waiting
    {
        ScheduledTimer timer;
        Done done;
    };

    void show(const ScreenInfo &screen, DynamicNotchState state, const SpringAnimation &animation, Done done);
    void initializeWindow(const ScreenInfo &screen);
    void fitWindow();
    void setState(DynamicNotchState state, const SpringAnimation &animation);
    void setHovering(bool isHovering);
    void pointerMoved(bool isInside);
    void callAfter(std::chrono::milliseconds delay, Done done);
    void startClosing(Done done);
    void fadeOutAndClose();
    [[nodiscard]] Done cancelClosing();
    void closeWindow();

    const Surroundings m_surroundings;
    const Contents m_contents;
    const Options m_options;
    std::unique_ptr<NotchSurface> m_surface;
    std::unique_ptr<DynamicNotchPanel> m_panel;
    /// May still be in one of its own events.
    std::vector<std::unique_ptr<DynamicNotchPanel>> m_closedPanels;
    ScheduledTimer m_closedPanelsTimer;
    std::optional<ScreenInfo> m_screen; ///< That the window stands on.
    DynamicNotchState m_state { DynamicNotchState::hidden };
    int m_menubarHeight { 0 };
    bool m_isHovering { false };
    bool m_isPointerInside { false };
    ScheduledTimer m_closePanelTask;
    Done m_closed; ///< Of who has asked for the closing that is under way.
    std::list<Waiting> m_waiting;
};

} // namespace vantry
