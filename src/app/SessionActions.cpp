#include "app/SessionActions.h"

#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionManager.h"

namespace vantry {

SessionActions::SessionActions(SessionManager &sessionManager, PendingPermissionStore &pendingPermissions)
    : m_sessionManager(sessionManager)
    , m_pendingPermissions(pendingPermissions)
{}

void SessionActions::allow(const QString &sessionID)
{
    const SessionPtr session = waitingSession(sessionID);
    const PendingPermission *request = m_pendingPermissions.firstHeld(sessionID);
    if (!session || !request)
        return;
    m_pendingPermissions.resolve(QUuid(request->id), PermissionDecision::allow);
    m_sessionManager.answered(session, SessionState::working);
}

void SessionActions::deny(const QString &sessionID, Denial denial)
{
    const SessionPtr session = waitingSession(sessionID);
    if (!session)
        return;
    const bool agentStops = denial == Denial::AgentStops;
    if (const PendingPermission *request = m_pendingPermissions.firstHeld(sessionID)) {
        const QUuid id = request->id;
        if (agentStops)
            m_pendingPermissions.interrupt(id);
        else
            m_pendingPermissions.resolve(id, PermissionDecision::deny);
    }
    m_sessionManager.answered(session, agentStops ? SessionState::ready : SessionState::working);
}

void SessionActions::alwaysAllow(const QString &sessionID)
{
    const SessionPtr session = waitingSession(sessionID);
    if (!session)
        return;
    if (!m_pendingPermissions.hasAlwaysAllowSuggestions(sessionID)) {
        allow(sessionID);
        return;
    }
    const PendingPermission *request = m_pendingPermissions.firstHeld(sessionID);
    const std::vector<AnyCodableMap> rules = *request->event.permissionSuggestions;
    m_pendingPermissions.resolveAlwaysAllow(QUuid(request->id), rules);
    m_sessionManager.answered(session, SessionState::working);
}

bool SessionActions::hasAlwaysAllowSuggestions(const QString &sessionID) const
{
    return m_pendingPermissions.hasAlwaysAllowSuggestions(sessionID);
}

void SessionActions::killSession(const QString &sessionID)
{
    if (const SessionPtr session = m_sessionManager.session(sessionID))
        m_sessionManager.killSession(session);
}

SessionPtr SessionActions::waitingSession(const QString &sessionID) const
{
    SessionPtr session = m_sessionManager.session(sessionID);
    return session && session->state() == SessionState::needsPermission ? session : nullptr;
}

} // namespace vantry
