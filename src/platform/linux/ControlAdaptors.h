#pragma once

#include "platform/ControlEndpoint.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantList>
#include <QVariantMap>

namespace vantry {

/// The interface com.vantry.Sessions: turns calls from the bus into ControlRequests. Slots and signals carry the names
/// that the bus shows. Main thread only.
class SessionsAdaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.vantry.Sessions")
    Q_PROPERTY(bool Listening READ isListening)

public:
    SessionsAdaptor(ControlRequests &requests, const QDBusConnection &connection, QObject *parent);

    [[nodiscard]] bool isListening() const { return m_requests.isListening(); }

public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers)
    QString List(const QDBusMessage &call);
    void Allow(const QString &id, const QDBusMessage &call);
    void Deny(const QString &id, bool stop, const QDBusMessage &call);
    void AlwaysAllow(const QString &id, const QDBusMessage &call);
    void Kill(const QString &id, const QDBusMessage &call);

Q_SIGNALS:
    void Changed(const QString &session);
    void Removed(const QString &id);

private:
    void refuseUnlessDone(const ControlOutcome &outcome, const QDBusMessage &call);

    ControlRequests &m_requests;
    QDBusConnection m_connection;
};

/// The interface org.freedesktop.Application, by which a desktop starts, shows and ends an application.
class ApplicationAdaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationAdaptor(ControlRequests &requests, const QDBusConnection &connection, QObject *parent);

public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers)
    /// Succeeds without an effect: this application shows no window.
    void Activate(const QVariantMap &platform_data);
    void ActivateAction(const QString &action_name, const QVariantList &parameter, const QVariantMap &platform_data,
                        const QDBusMessage &call);

private:
    ControlRequests &m_requests;
    QDBusConnection m_connection;
};

} // namespace vantry
