#include "platform/linux/TrayHosts.h"

#include "platform/linux/X11Connection.h"

#include <QDBusReply>
#include <QDBusVariant>

#include <string_view>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// A desktop that hangs is none.
constexpr int patience = 1'000;

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

QDBusMessage trayHostQuestion()
{
    const QString watcher = QString::fromLatin1(statusNotifierWatcher);
    auto question = QDBusMessage::createMethodCall(watcher, QString::fromLatin1(statusNotifierWatcherPath),
                                                   QString::fromLatin1(bus::propertiesInterface), u"Get"_s);
    question.setAutoStartService(false);
    question.setArguments({ watcher, u"IsStatusNotifierHostRegistered"_s });
    return question;
}

bool hasTray(const QString &busAddress)
{
    BusConnection bus(busAddress);
    if (bus.isConnected()) {
        const QDBusReply<QDBusVariant> reply = bus->call(trayHostQuestion(), QDBus::Block, patience);
        if (reply.isValid() && reply.value().variant().toBool())
            return true;
    }
    return hasX11Tray();
}

} // namespace vantry
