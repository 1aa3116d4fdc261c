#pragma once

#include "platform/ControlEndpoint.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QMap>
#include <QVariantList>
#include <QVariantMap>

#include <cstdint>

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
    /// Tells all who wait for an outcome that there will be none. False when there were none.
    bool refuseUnanswered();

public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers)
    QString List(const QDBusMessage &call);
    void Allow(const QString &id, const QDBusMessage &call);
    void Deny(const QString &id, bool stop, const QDBusMessage &call);
    void AlwaysAllow(const QString &id, const QDBusMessage &call);
    void Answer(const QString &id, int index, const QDBusMessage &call);
    void Send(const QString &id, const QString &text, const QDBusMessage &call);
    void Focus(const QString &id, const QDBusMessage &call);
    void Kill(const QString &id, const QDBusMessage &call);
    void Launch(const QString &path, const QString &mode, const QString &session, const QString &permissionMode,
                const QDBusMessage &call);

Q_SIGNALS:
    void Changed(const QString &session);
    void Removed(const QString &id);
    void Backfill(uint done, uint total);

private:
    /// What answers the call with the outcome, whenever that comes.
    [[nodiscard]] ControlRequests::Reply replyTo(const QDBusMessage &call);
    void reply(std::uint64_t number, const ControlOutcome &outcome);

    ControlRequests &m_requests;
    QDBusConnection m_connection;
    QMap<std::uint64_t, QDBusMessage> m_unanswered; ///< By number, in the order of their coming.
    std::uint64_t m_lastNumber { 0 };
};

/// The interface org.freedesktop.Application, by which a desktop starts, shows and ends an application.
class ApplicationAdaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationAdaptor(ControlRequests &requests, const QDBusConnection &connection, QObject *parent);

public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers)
    /// Shows the panel. Succeeds without an effect where there are no windows.
    void Activate(const QVariantMap &platform_data);
    void ActivateAction(const QString &action_name, const QVariantList &parameter, const QVariantMap &platform_data,
                        const QDBusMessage &call);

private:
    ControlRequests &m_requests;
    QDBusConnection m_connection;
};

} // namespace vantry
