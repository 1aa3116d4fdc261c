#include "platform/linux/TrayHosts.h"

#include "platform/linux/X11Connection.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

#include <string_view>

namespace vantry {

namespace {

bool hasX11Tray()
{
    const auto connection = X11Connection::open();
    if (!connection)
        return false;
    const std::string_view name = x11TraySelection;
    const X11Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection->get(), xcb_intern_atom(connection->get(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    if (!atom)
        return false;
    const X11Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection->get(), xcb_get_selection_owner(connection->get(), atom->atom), nullptr));
    return owner && owner->owner != XCB_NONE;
}

} // namespace

bool hasTray(const QString &busAddress)
{
    BusConnection bus(busAddress);
    if (bus.isConnected() && bus->interface()->isServiceRegistered(QString::fromLatin1(statusNotifierWatcher)).value())
        return true;
    return hasX11Tray();
}

} // namespace vantry
