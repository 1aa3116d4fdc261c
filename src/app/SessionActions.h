#pragma once

#include "sessions/VantrySession.h"

#include <QString>

namespace vantry {

class PendingPermissionStore;
class SessionManager;

/// What the user can do to a session. The only road from the user's choice to the agent, wherever the choice was made.
/// An identifier that no session has means that nothing happens. Main thread only.
class SessionActions
{
public:
    enum class Denial { AgentGoesOn, AgentStops };

    /// Both must outlive this.
    SessionActions(SessionManager &sessionManager, PendingPermissionStore &pendingPermissions);

    /// Answers the session's first held request. Does nothing while none is held: the question then stands in the
    /// terminal alone.
    void allow(const QString &sessionID);
    /// With no held request the session's state changes all the same, and nothing is typed.
    void deny(const QString &sessionID, Denial denial);
    /// Allows, with the rules that the agent suggests; without any it behaves as allow().
    void alwaysAllow(const QString &sessionID);
    [[nodiscard]] bool hasAlwaysAllowSuggestions(const QString &sessionID) const;
    void killSession(const QString &sessionID);

private:
    /// The session, if it is in needsPermission; else null.
    [[nodiscard]] SessionPtr waitingSession(const QString &sessionID) const;

    SessionManager &m_sessionManager;
    PendingPermissionStore &m_pendingPermissions;
};

} // namespace vantry
