#pragma once

#include "base/Scheduler.h"
#include "platform/FullScreenWatch.h"
#include "platform/linux/WindowStack.h"
#include "platform/linux/X11Connection.h"

#include <QObject>
#include <QSet>

#include <array>
#include <memory>
#include <unordered_set>
#include <vector>

class QScreen;
class QSocketNotifier;

namespace vantry {

/// Windows that the window manager has made full-screen, those without a frame that cover a screen by themselves, and
/// those that it doesn't know, as lock screens are: the one that is in front on a screen counts. The X server tells of
/// changes, over a connection of this port's own: what is asked of other programs' windows must not get mixed up with
/// what the toolkit asks of its own. Where the toolkit doesn't draw by X11 there is nothing to watch, nor are Wayland's
/// own windows seen. Main thread only.
class LinuxFullScreenWatch final : public QObject, public FullScreenWatch
{
    Q_OBJECT

public:
    /// Changes that come together are looked at once.
    static constexpr std::chrono::milliseconds settling { 50 };

    /// After the application object. The scheduler must outlive this.
    explicit LinuxFullScreenWatch(Scheduler &scheduler);
    ~LinuxFullScreenWatch() override;

    [[nodiscard]] bool isFullScreen(const QString &screenName) const override { return m_covered.contains(screenName); }

private:
    enum AtomIndex {
        ClientListStacking,
        ActiveWindow,
        CurrentDesktop,
        WindowDesktop,
        State,
        StateHidden,
        StateFullScreen,
        StateAbove,
        StateMaximizedAcross,
        StateMaximizedUp,
        WindowType,
        TypeNormal,
        MotifHints,
        ClassicState,
        AtomCount
    };
    struct Client;

    struct Disconnect
    {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };

    [[nodiscard]] xcb_atom_t atom(AtomIndex index) const { return m_atoms[index]; }
    void makeAtoms();
    void watchScreen(const QScreen *screen);
    void readEvents();
    [[nodiscard]] bool isOfInterest(const xcb_generic_event_t &event);
    void refreshSoon();
    void refresh();
    [[nodiscard]] QList<StackedWindow> clients();
    void watch(const std::vector<xcb_window_t> &clients);
    [[nodiscard]] StackedWindow stacked(const Client &client) const;
    [[nodiscard]] QList<StackedWindow> unmanagedWindows() const;
    [[nodiscard]] bool isUnmanagedProgram(xcb_window_t window, int depth = 2) const;
    [[nodiscard]] bool takesInput(xcb_window_t window) const;
    [[nodiscard]] std::vector<std::uint32_t> values(xcb_get_property_cookie_t cookie) const;
    [[nodiscard]] xcb_get_property_cookie_t ask(xcb_window_t window, xcb_atom_t property) const;

    Scheduler &m_scheduler;
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection; ///< Null without X11.
    xcb_window_t m_root { XCB_NONE };
    std::uint8_t m_shapeEvent { 0 }; ///< Number of the server's events about shapes; 0 where there are none.
    std::array<xcb_atom_t, AtomCount> m_atoms {};
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::unordered_set<xcb_window_t> m_watched; ///< Clients whose properties the server tells of.
    QSet<QString> m_covered;                    ///< Names of screens.
    ScheduledTimer m_refresh;
};

} // namespace vantry
