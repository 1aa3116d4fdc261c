#pragma once

#include "platform/linux/X11Connection.h"

#include <QList>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>

namespace vantry {

/// The windows of other programs, as the window manager lists them. Where none does that runs by the desktop's rules
/// (EWMH), they are found by looking through all windows. One operation, one thread; the connection outlives it.
class X11Windows
{
public:
    /// A window that a program shows: one in a frame of the window manager's, or one that could be.
    struct Client
    {
        xcb_window_t window { XCB_NONE };
        QString windowClass;             ///< The second word of WM_CLASS; may be empty.
        std::optional<std::int64_t> pid; ///< Where it runs on this machine and says so.
        bool isHidden { false };         ///< Iconified.
        bool isDesktopPart { false };    ///< A panel, or the desktop itself.
    };

    explicit X11Windows(X11Connection &connection);

    /// From the one at the bottom to the one on top.
    [[nodiscard]] QList<Client> clients() const;
    /// The client that the window is, or is inside of; nothing when there is no such window.
    [[nodiscard]] std::optional<xcb_window_t> clientAround(xcb_window_t window) const;
    /// Shows the client above others, on its virtual desktop, and gives it the focus. `userTime` is the server's time
    /// of the user's act that asks for it; 0 where it isn't known. False when the connection was lost.
    bool bringForward(xcb_window_t client, xcb_timestamp_t userTime = XCB_CURRENT_TIME) const;

private:
    enum AtomIndex {
        Supported,
        SupportingCheck,
        ClientList,
        ClientListStacking,
        ActiveWindow,
        CurrentDesktop,
        WindowDesktop,
        ProcessId,
        State,
        StateHidden,
        WindowType,
        TypeDock,
        TypeDesktop,
        ClassicState,
        AtomCount
    };

    [[nodiscard]] xcb_atom_t atom(AtomIndex index) const { return m_atoms[index]; }
    [[nodiscard]] bool hasManager() const;
    /// Asks the window manager for something.
    void send(xcb_window_t window, xcb_atom_t message, std::uint32_t first, std::uint32_t second = 0) const;
    void goToDesktopOf(xcb_window_t client) const;
    [[nodiscard]] QList<xcb_window_t> clientWindows() const;
    [[nodiscard]] QList<xcb_window_t> unmanagedWindows() const;
    [[nodiscard]] std::optional<xcb_window_t> withState(xcb_window_t window, int depth) const;
    [[nodiscard]] bool isShownProgram(xcb_window_t window) const;
    [[nodiscard]] QList<xcb_window_t> children(xcb_window_t window) const;
    /// A property's 32-bit values; empty when it is absent or of another form.
    [[nodiscard]] QList<std::uint32_t> values(xcb_window_t window, xcb_atom_t property) const;

    X11Connection &m_connection;
    std::array<xcb_atom_t, AtomCount> m_atoms {}; ///< XCB_NONE where nobody has made that atom yet.
    bool m_hasManager;
};

} // namespace vantry
