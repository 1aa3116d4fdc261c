#include "platform/linux/DBusControlClient.h"

#include <QDBusError>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

ControlFailure failureFrom(const QDBusMessage &reply)
{
    using Kind = ControlFailure::Kind;
    const QString name = reply.errorName();
    if (name == QLatin1StringView(bus::noSuchSession))
        return { Kind::NoSuchSession, reply.errorMessage() };
    if (name == QLatin1StringView(bus::notPossible))
        return { Kind::NotPossible, reply.errorMessage() };
    // The bus says it in this way when it was asked not to start the service.
    if (name == u"org.freedesktop.DBus.Error.NameHasNoOwner")
        return { Kind::NotRunning, u"no Vantry is running"_s };
    switch (QDBusError(reply).type()) {
    case QDBusError::ServiceUnknown:
        return { Kind::NotRunning, u"no Vantry is running"_s };
    case QDBusError::Disconnected:
        return { Kind::NotRunning, u"there is no session bus to reach a running Vantry over"_s };
    case QDBusError::NoReply:
    case QDBusError::TimedOut:
    case QDBusError::Timeout:
        return { Kind::Unanswered, u"the running Vantry did not answer"_s };
    default:
        return { Kind::Unanswered, reply.errorMessage().isEmpty() ? name : reply.errorMessage() };
    }
}

} // namespace

DBusControlClient::DBusControlClient(const QString &address, std::chrono::milliseconds patience)
    : m_bus(address)
    , m_patience(patience)
{}

std::variant<QString, ControlFailure> DBusControlClient::list()
{
    const QDBusMessage reply = call(bus::sessionsInterface, "List", {});
    if (reply.type() != QDBusMessage::ReplyMessage)
        return failureFrom(reply);
    return reply.arguments().value(0).toString();
}

std::optional<ControlFailure> DBusControlClient::allow(const QString &sessionID)
{
    return command(bus::sessionsInterface, "Allow", { sessionID });
}

std::optional<ControlFailure> DBusControlClient::deny(const QString &sessionID, bool stop)
{
    return command(bus::sessionsInterface, "Deny", { sessionID, stop });
}

std::optional<ControlFailure> DBusControlClient::alwaysAllow(const QString &sessionID)
{
    return command(bus::sessionsInterface, "AlwaysAllow", { sessionID });
}

std::optional<ControlFailure> DBusControlClient::answer(const QString &sessionID, int index)
{
    return command(bus::sessionsInterface, "Answer", { sessionID, index });
}

std::optional<ControlFailure> DBusControlClient::send(const QString &sessionID, const QString &text)
{
    return command(bus::sessionsInterface, "Send", { sessionID, text });
}

std::optional<ControlFailure> DBusControlClient::focus(const QString &sessionID)
{
    return command(bus::sessionsInterface, "Focus", { sessionID });
}

std::optional<ControlFailure> DBusControlClient::launch(const QString &path, const QString &mode,
                                                        const QString &sessionID, const QString &permissionMode)
{
    return command(bus::sessionsInterface, "Launch", { path, mode, sessionID, permissionMode });
}

std::optional<ControlFailure> DBusControlClient::kill(const QString &sessionID)
{
    return command(bus::sessionsInterface, "Kill", { sessionID });
}

std::optional<ControlFailure> DBusControlClient::activate()
{
    return command(bus::applicationInterface, "Activate", { QVariantMap {} });
}

std::optional<ControlFailure> DBusControlClient::showPanel()
{
    return action(bus::showAction);
}

std::optional<ControlFailure> DBusControlClient::showSettings()
{
    return action(bus::settingsAction);
}

std::optional<ControlFailure> DBusControlClient::quit()
{
    return action(bus::quitAction);
}

void DBusControlClient::follow(Listener listener)
{
    m_listener = std::move(listener);
    const QString service = QString::fromLatin1(bus::serviceName);
    const QString path = QString::fromLatin1(bus::objectPath);
    const QString sessions = QString::fromLatin1(bus::sessionsInterface);
    m_bus->connect(service, path, sessions, u"Changed"_s, this, SLOT(changed(QString)));
    m_bus->connect(service, path, sessions, u"Removed"_s, this, SLOT(removed(QString)));
    m_bus->connect(service, path, sessions, u"Backfill"_s, this, SLOT(backfill(uint, uint)));
    m_bus->connect(service, path, QString::fromLatin1(bus::propertiesInterface), u"PropertiesChanged"_s, this,
                   SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    m_bus->connect(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s,
                   u"NameOwnerChanged"_s, { service }, {}, this, SLOT(ownerChanged(QString, QString, QString)));
    m_bus->connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s, u"Disconnected"_s, this,
                   SLOT(disconnected()));
}

void DBusControlClient::changed(const QString &sessionJson)
{
    if (m_listener.onChanged)
        m_listener.onChanged(sessionJson);
}

void DBusControlClient::removed(const QString &sessionID)
{
    if (m_listener.onRemoved)
        m_listener.onRemoved(sessionID);
}

void DBusControlClient::backfill(uint done, uint total)
{
    if (m_listener.onBackfill)
        m_listener.onBackfill(done, total);
}

void DBusControlClient::propertiesChanged(const QString &interface, const QVariantMap &values, const QStringList &)
{
    const auto listening = values.constFind(u"Listening"_s);
    if (interface == QLatin1StringView(bus::sessionsInterface) && listening != values.cend() && m_listener.onListening)
        m_listener.onListening(listening->toBool());
}

void DBusControlClient::ownerChanged(const QString &, const QString &oldOwner, const QString &)
{
    if (!oldOwner.isEmpty())
        disconnected();
}

void DBusControlClient::disconnected()
{
    if (m_listener.onGone)
        m_listener.onGone();
}

QDBusMessage DBusControlClient::call(const char *interface, const char *method, const QVariantList &arguments)
{
    if (!m_bus.isConnected())
        return QDBusMessage::createError(QDBusError::Disconnected, {});
    QDBusMessage message =
        QDBusMessage::createMethodCall(QString::fromLatin1(bus::serviceName), QString::fromLatin1(bus::objectPath),
                                       QString::fromLatin1(interface), QString::fromLatin1(method));
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return m_bus->call(message, QDBus::Block, static_cast<int>(m_patience.count()));
}

std::optional<ControlFailure> DBusControlClient::action(const char *name)
{
    return command(bus::applicationInterface, "ActivateAction",
                   { QString::fromLatin1(name), QVariantList {}, QVariantMap {} });
}

std::optional<ControlFailure> DBusControlClient::command(const char *interface, const char *method,
                                                         const QVariantList &arguments)
{
    const QDBusMessage reply = call(interface, method, arguments);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return std::nullopt;
    return failureFrom(reply);
}

} // namespace vantry
