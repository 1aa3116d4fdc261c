#include "platform/linux/ToolkitX11.h"

#include <QGuiApplication>
#include <QScreen>
#include <QtGui/qguiapplication_platform.h>

namespace vantry::toolkitX11 {

xcb_connection_t *connection()
{
    const auto *native = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return native ? native->connection() : nullptr;
}

xcb_atom_t atom(std::string_view name)
{
    xcb_connection_t *server = connection();
    if (!server)
        return XCB_ATOM_NONE;
    const auto cookie = xcb_intern_atom(server, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const X11Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(server, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t { XCB_ATOM_NONE };
}

xcb_window_t ownerOf(xcb_atom_t selection)
{
    xcb_connection_t *server = selection == XCB_ATOM_NONE ? nullptr : connection();
    if (!server)
        return XCB_NONE;
    const X11Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(server, xcb_get_selection_owner(server, selection), nullptr));
    return reply ? reply->owner : xcb_window_t { XCB_NONE };
}

std::uint8_t kindOf(const xcb_generic_event_t &event)
{
    constexpr unsigned sentByClient = 0x80;
    return static_cast<std::uint8_t>(event.response_type & ~sentByClient);
}

QRect pixelsOf(const QScreen &screen)
{
    // The toolkit scales what is on a screen, not where that begins.
    return { screen.geometry().topLeft(), (QSizeF(screen.size()) * screen.devicePixelRatio()).toSize() };
}

} // namespace vantry::toolkitX11
