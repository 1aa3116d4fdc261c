#include "platform/linux/SessionBus.h"

#include <QFileInfo>

#include <atomic>

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

bool isNobodyThere(const QDBusMessage &error)
{
    return error.errorName() == u"org.freedesktop.DBus.Error.ServiceUnknown" || error.errorName() == nameHasNoOwner;
}

QDBusMessage startableServicesCall()
{
    return QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                          u"org.freedesktop.DBus"_s, u"ListActivatableNames"_s);
}

static QString uniqueConnectionName()
{
    static std::atomic<int> counter = 0;
    return u"vantry-%1"_s.arg(++counter);
}

/// Opens the connection; an empty address gives one that isn't connected.
static QDBusConnection openConnection(const QString &address, const QString &name)
{
    // The thread of Qt's connections runs on while the process's statics are destroyed, and uses Qt's table of types.
    // What is made first is destroyed last: the table has to be there before the first connection.
    static const int firstType = qRegisterMetaType<QDBusMessage>();
    Q_UNUSED(firstType)
    return address.isEmpty() ? QDBusConnection(name) : QDBusConnection::connectToBus(address, name);
}

BusConnection::BusConnection(const QString &address)
    : m_name(uniqueConnectionName())
    , m_connection(openConnection(address, m_name))
{}

BusConnection::~BusConnection()
{
    QDBusConnection::disconnectFromBus(m_name);
}

} // namespace vantry
