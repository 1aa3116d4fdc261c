#pragma once

#include <QRect>
#include <QRegion>

#include <cstdint>
#include <optional>

class QScreen;
class QWindow;

namespace vantry {

/// What the desktop allows a window that floats above the others, beyond what the toolkit knows. Main thread only;
/// nothing here waits long.
class OverlayWindows
{
public:
    using WindowID = std::uint64_t;

    virtual ~OverlayWindows() = default;

    /// Whether windows stay where the program puts them. False: an overlay is an ordinary window at best.
    [[nodiscard]] virtual bool canPlace() const = 0;
    /// Whether windows may be translucent.
    [[nodiscard]] virtual bool hasCompositor() const = 0;
    /// Whether the toolkit knows where the pointer is, also over the windows of others.
    [[nodiscard]] virtual bool seesPointer() const = 0;
    /// What bars leave of the screen.
    [[nodiscard]] virtual QRect availableArea(const QScreen &screen) const = 0;
    /// The window that has the focus, of whatever program; of those that a window manager knows, where there is one.
    [[nodiscard]] virtual std::optional<WindowID> activeWindow() const = 0;

    /// Keeps the window out of task switchers, and on all virtual desktops. Before it is shown.
    virtual void setUpOverlay(QWindow &window) = 0;
    /// Makes the rest of the window let clicks through; an empty area makes all of it do so. Where windows can't be
    /// translucent, the rest isn't drawn either. The area is the window's own, and may reach beyond it; it holds until
    /// the next one, also when a compositor comes or goes.
    virtual void setInputArea(QWindow &window, const QRegion &area) = 0;
    /// Gives the focus to a window of this program's that is shown, or about to be; also to one that the window manager
    /// knows nothing of.
    virtual void takeFocus(QWindow &window) = 0;
    /// Gives the focus to any window; nothing happens when it has gone.
    virtual void giveFocus(WindowID window) = 0;
};

} // namespace vantry
