#include "platform/linux/SessionBus.h"

#include <QFileInfo>

namespace vantry {

using namespace Qt::StringLiterals;

QString sessionBusAddress()
{
    const QString named = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!named.isEmpty())
        return named;
    const QString runtimeFolder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString socket = runtimeFolder + u"/bus"_s;
    if (!runtimeFolder.isEmpty() && QFileInfo::exists(socket))
        return u"unix:path="_s + socket;
    return {};
}

static QString uniqueConnectionName()
{
    static int counter = 0;
    return u"vantry-%1"_s.arg(++counter);
}

BusConnection::BusConnection(const QString &address)
    : m_name(uniqueConnectionName())
    , m_connection(address.isEmpty() ? QDBusConnection(m_name) : QDBusConnection::connectToBus(address, m_name))
{}

BusConnection::~BusConnection()
{
    QDBusConnection::disconnectFromBus(m_name);
}

} // namespace vantry
