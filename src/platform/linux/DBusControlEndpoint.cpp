#include "platform/linux/DBusControlEndpoint.h"

#include "platform/linux/ControlAdaptors.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

#include <chrono>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

static constexpr std::chrono::milliseconds flushTimeout = 1s;

DBusControlEndpoint::DBusControlEndpoint(QString address)
    : m_address(std::move(address))
{}

DBusControlEndpoint::~DBusControlEndpoint()
{
    withdraw();
}

ControlEndpoint::Publication DBusControlEndpoint::publish(ControlRequests &requests)
{
    m_bus.emplace(m_address);
    if (!m_bus->isConnected()) {
        withdraw();
        return Publication::Unavailable;
    }
    QDBusConnection &connection = **m_bus;

    // The object comes before the name: whoever sees the name finds it.
    m_object = std::make_unique<QObject>();
    m_sessions = new SessionsAdaptor(requests, connection, m_object.get());
    new ApplicationAdaptor(requests, connection, m_object.get());
    if (!connection.registerObject(QString::fromLatin1(bus::objectPath), m_object.get())) {
        withdraw();
        return Publication::Unavailable;
    }

    const auto reply = connection.interface()->registerService(QString::fromLatin1(bus::serviceName),
                                                               QDBusConnectionInterface::DontQueueService,
                                                               QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return Publication::Published;
    withdraw();
    return reply.isValid() ? Publication::NameTaken : Publication::Unavailable;
}

void DBusControlEndpoint::withdraw()
{
    if (m_sessions && m_sessions->refuseUnanswered()) {
        // What waits to be sent would be lost with the connection; once the bus has answered, it is out.
        auto flush = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                                    QString::fromLatin1(bus::peerInterface), u"Ping"_s);
        (*m_bus)->call(flush, QDBus::Block, static_cast<int>(flushTimeout.count()));
    }
    m_sessions = nullptr;
    m_object.reset();
    m_bus.reset();
}

void DBusControlEndpoint::announceChanged(const QString &sessionJson)
{
    if (m_sessions && sessionJson.size() <= maximumTextLength)
        Q_EMIT m_sessions->Changed(sessionJson);
}

void DBusControlEndpoint::announceRemoved(const QString &sessionID)
{
    if (m_sessions && sessionID.size() <= maximumTextLength)
        Q_EMIT m_sessions->Removed(sessionID);
}

void DBusControlEndpoint::announceBackfill(std::uint32_t done, std::uint32_t total)
{
    if (m_sessions)
        Q_EMIT m_sessions->Backfill(done, total);
}

void DBusControlEndpoint::announceListening(bool listening)
{
    if (!m_sessions)
        return;
    QDBusMessage message = QDBusMessage::createSignal(
        QString::fromLatin1(bus::objectPath), QString::fromLatin1(bus::propertiesInterface), u"PropertiesChanged"_s);
    message.setArguments(
        { QString::fromLatin1(bus::sessionsInterface), QVariantMap { { u"Listening"_s, listening } }, QStringList {} });
    (*m_bus)->send(message);
}

} // namespace vantry
