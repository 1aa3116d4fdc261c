#include "platform/linux/ControlAdaptors.h"

#include "platform/linux/DBusControlEndpoint.h"
#include "platform/linux/SessionBus.h"

namespace vantry {

using namespace Qt::StringLiterals;

SessionsAdaptor::SessionsAdaptor(ControlRequests &requests, const QDBusConnection &connection, QObject *parent)
    : QDBusAbstractAdaptor(parent)
    , m_requests(requests)
    , m_connection(connection)
{}

QString SessionsAdaptor::List(const QDBusMessage &call)
{
    QString document = m_requests.list();
    if (document.size() <= DBusControlEndpoint::maximumTextLength)
        return document;
    call.setDelayedReply(true);
    m_connection.send(call.createErrorReply(QDBusError::LimitsExceeded, u"the list is too long for the bus"_s));
    return {};
}

void SessionsAdaptor::Allow(const QString &id, const QDBusMessage &call)
{
    refuseUnlessDone(m_requests.allow(id), call);
}

void SessionsAdaptor::Deny(const QString &id, bool stop, const QDBusMessage &call)
{
    refuseUnlessDone(m_requests.deny(id, stop), call);
}

void SessionsAdaptor::AlwaysAllow(const QString &id, const QDBusMessage &call)
{
    refuseUnlessDone(m_requests.alwaysAllow(id), call);
}

void SessionsAdaptor::Kill(const QString &id, const QDBusMessage &call)
{
    refuseUnlessDone(m_requests.kill(id), call);
}

void SessionsAdaptor::refuseUnlessDone(const ControlOutcome &outcome, const QDBusMessage &call)
{
    if (outcome.kind == ControlOutcome::Kind::Done)
        return;
    const auto *name = outcome.kind == ControlOutcome::Kind::NoSuchSession ? bus::noSuchSession : bus::notPossible;
    call.setDelayedReply(true);
    m_connection.send(call.createErrorReply(QString::fromLatin1(name), outcome.reason));
}

ApplicationAdaptor::ApplicationAdaptor(ControlRequests &requests, const QDBusConnection &connection, QObject *parent)
    : QDBusAbstractAdaptor(parent)
    , m_requests(requests)
    , m_connection(connection)
{}

void ApplicationAdaptor::Activate(const QVariantMap &) {}

void ApplicationAdaptor::ActivateAction(const QString &action_name, const QVariantList &, const QVariantMap &,
                                        const QDBusMessage &call)
{
    if (action_name == QLatin1StringView(bus::quitAction)) {
        m_requests.quit();
        return;
    }
    call.setDelayedReply(true);
    m_connection.send(call.createErrorReply(QDBusError::InvalidArgs, u"there is no such action"_s));
}

} // namespace vantry
