#include "platform/linux/ControlAdaptors.h"

#include "platform/linux/DBusControlEndpoint.h"
#include "platform/linux/SessionBus.h"

#include <QPointer>

#include <utility>

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
    m_requests.allow(id, replyTo(call));
}

void SessionsAdaptor::Deny(const QString &id, bool stop, const QDBusMessage &call)
{
    m_requests.deny(id, stop, replyTo(call));
}

void SessionsAdaptor::AlwaysAllow(const QString &id, const QDBusMessage &call)
{
    m_requests.alwaysAllow(id, replyTo(call));
}

void SessionsAdaptor::Answer(const QString &id, int index, const QDBusMessage &call)
{
    m_requests.answer(id, index, replyTo(call));
}

void SessionsAdaptor::Send(const QString &id, const QString &text, const QDBusMessage &call)
{
    m_requests.send(id, text, replyTo(call));
}

void SessionsAdaptor::Focus(const QString &id, const QDBusMessage &call)
{
    m_requests.focus(id, replyTo(call));
}

void SessionsAdaptor::Kill(const QString &id, const QDBusMessage &call)
{
    m_requests.kill(id, replyTo(call));
}

void SessionsAdaptor::Launch(const QString &path, const QString &mode, const QString &session,
                             const QString &permissionMode, const QDBusMessage &call)
{
    m_requests.launch(path, mode, session, permissionMode, replyTo(call));
}

ControlRequests::Reply SessionsAdaptor::replyTo(const QDBusMessage &call)
{
    call.setDelayedReply(true);
    const std::uint64_t number = ++m_lastNumber;
    m_unanswered.insert(number, call);
    return [adaptor = QPointer(this), number](const ControlOutcome &outcome) {
        if (adaptor)
            adaptor->reply(number, outcome);
    };
}

void SessionsAdaptor::reply(std::uint64_t number, const ControlOutcome &outcome)
{
    const auto found = m_unanswered.find(number);
    if (found == m_unanswered.end())
        return;
    const QDBusMessage call = *found;
    m_unanswered.erase(found);
    if (outcome.kind == ControlOutcome::Kind::Done) {
        m_connection.send(call.createReply());
        return;
    }
    const auto *name = outcome.kind == ControlOutcome::Kind::NoSuchSession ? bus::noSuchSession : bus::notPossible;
    m_connection.send(call.createErrorReply(QString::fromLatin1(name), outcome.reason));
}

bool SessionsAdaptor::refuseUnanswered()
{
    const auto calls = std::exchange(m_unanswered, {});
    for (const QDBusMessage &call : calls)
        m_connection.send(call.createErrorReply(QDBusError::Failed, u"Vantry has ended before this was done"_s));
    return !calls.isEmpty();
}

ApplicationAdaptor::ApplicationAdaptor(ControlRequests &requests, const QDBusConnection &connection, QObject *parent)
    : QDBusAbstractAdaptor(parent)
    , m_requests(requests)
    , m_connection(connection)
{}

void ApplicationAdaptor::Activate(const QVariantMap &)
{
    m_requests.showPanel();
}

void ApplicationAdaptor::ActivateAction(const QString &action_name, const QVariantList &, const QVariantMap &,
                                        const QDBusMessage &call)
{
    const auto is = [&action_name](const char *name) { return action_name == QLatin1StringView(name); };
    const auto refuse = [&](const QString &error, const QString &reason) {
        call.setDelayedReply(true);
        m_connection.send(call.createErrorReply(error, reason));
    };
    bool isPossible = true;
    if (is(bus::quitAction))
        m_requests.quit();
    else if (is(bus::showAction))
        isPossible = m_requests.showPanel();
    else if (is(bus::settingsAction))
        isPossible = m_requests.showSettings();
    else
        refuse(QDBusError::errorString(QDBusError::InvalidArgs), u"there is no such action"_s);
    if (!isPossible)
        refuse(QString::fromLatin1(bus::notPossible), u"the running Vantry has no windows"_s);
}

} // namespace vantry
