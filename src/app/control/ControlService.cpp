#include "app/control/ControlService.h"

#include "app/SessionActions.h"
#include "hooks/HTTPHookServer.h"
#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionChanges.h"
#include "sessions/SessionManager.h"

namespace vantry {

using namespace Qt::StringLiterals;
using Kind = ControlOutcome::Kind;

static ControlOutcome noSuchSession()
{
    return { Kind::NoSuchSession, u"there is no such session"_s };
}

ControlService::ControlService(Services services, QString home)
    : m_services(services)
    , m_home(std::move(home))
{}

ControlEndpoint::Publication ControlService::publish()
{
    const auto publication = m_services.endpoint.publish(*this);
    if (publication == ControlEndpoint::Publication::Published) {
        connect(&m_services.changes, &SessionChanges::changed, this, &ControlService::announce);
        connect(&m_services.changes, &SessionChanges::removed, this, [this](const QStringList &removed) {
            for (const QString &sessionID : removed)
                m_services.endpoint.announceRemoved(sessionID);
        });
        connect(&m_services.httpServer, &HTTPHookServer::runningChanged, this,
                [this](bool running) { m_services.endpoint.announceListening(running); });
    }
    return publication;
}

void ControlService::withdraw()
{
    m_services.changes.disconnect(this);
    m_services.httpServer.disconnect(this);
    m_services.endpoint.withdraw();
}

bool ControlService::isListening() const
{
    return m_services.httpServer.isRunning();
}

QString ControlService::list() const
{
    Json::array_t sessions;
    for (const SessionPtr &session : m_services.sessionManager.sessions())
        sessions.push_back(jsonOf(*session));
    return QString::fromStdString(
        jsonLine(statusJson(true, isListening(), m_services.httpServer.port(), std::move(sessions))));
}

ControlOutcome ControlService::allow(const QString &sessionID)
{
    ControlOutcome outcome = canAllow(sessionID);
    if (outcome.kind == Kind::Done)
        m_services.sessionActions.allow(sessionID);
    return outcome;
}

ControlOutcome ControlService::deny(const QString &sessionID, bool stop)
{
    ControlOutcome outcome = canAnswer(sessionID);
    if (outcome.kind == Kind::Done) {
        using Denial = SessionActions::Denial;
        m_services.sessionActions.deny(sessionID, stop ? Denial::AgentStops : Denial::AgentGoesOn);
    }
    return outcome;
}

ControlOutcome ControlService::alwaysAllow(const QString &sessionID)
{
    ControlOutcome outcome = canAllow(sessionID);
    if (outcome.kind == Kind::Done)
        m_services.sessionActions.alwaysAllow(sessionID);
    return outcome;
}

ControlOutcome ControlService::kill(const QString &sessionID)
{
    const SessionPtr session = m_services.sessionManager.session(sessionID);
    if (!session)
        return noSuchSession();
    if (!session->isAlive())
        return { Kind::NotPossible, u"the session has finished already"_s };
    m_services.sessionActions.killSession(sessionID);
    return {};
}

void ControlService::quit()
{
    if (onQuit)
        onQuit();
}

ControlOutcome ControlService::canAnswer(const QString &sessionID) const
{
    const SessionPtr session = m_services.sessionManager.session(sessionID);
    if (!session)
        return noSuchSession();
    if (session->state() == SessionState::needsPermission && session->isAlive())
        return {};
    return { Kind::NotPossible, u"the session asks for no permission"_s };
}

ControlOutcome ControlService::canAllow(const QString &sessionID) const
{
    ControlOutcome outcome = canAnswer(sessionID);
    if (outcome.kind == Kind::Done && !m_services.pendingPermissions.firstHeld(sessionID))
        return { Kind::NotPossible, u"the question is open in the session's terminal only; answer it there"_s };
    return outcome;
}

Json ControlService::jsonOf(const VantrySession &session) const
{
    const PendingPermissionStore &held = m_services.pendingPermissions;
    return sessionJson(session, { .now = m_services.clock.now(),
                                  .home = m_home,
                                  .heldPermissions = held.heldCount(session.id()),
                                  .hasAlwaysAllowSuggestions = held.hasAlwaysAllowSuggestions(session.id()) });
}

void ControlService::announce(const QList<SessionPtr> &changed)
{
    for (const SessionPtr &session : changed)
        m_services.endpoint.announceChanged(QString::fromStdString(jsonLine(jsonOf(*session))));
}

} // namespace vantry
