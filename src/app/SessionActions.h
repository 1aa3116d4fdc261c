#pragma once

#include "base/Scheduler.h"
#include "sessions/VantrySession.h"
#include "terminal/TerminalBridge.h"

#include <QString>

#include <cstdint>
#include <map>

namespace vantry {

class Log;
class PendingPermissionStore;
class SessionManager;

/// What the user can do to a session. The only road from the user's choice to the agent, wherever the choice was made.
/// An identifier that no session has means that nothing happens. Main thread only.
class SessionActions
{
public:
    enum class Denial { AgentGoesOn, AgentStops };

    /// How an action ended: nothing when it was done, else why not, as one line for a person. Called once, at once or
    /// when the terminal has done its part; not called after this object has gone.
    using Completion = TerminalBridge::Completion;

    /// All of these must outlive this.
    struct Services
    {
        SessionManager &sessionManager;
        PendingPermissionStore &pendingPermissions;
        TerminalBridge &terminalBridge;
        Scheduler &scheduler;
        Log &log;
    };

    explicit SessionActions(Services services);

    void focusSession(const QString &sessionID, const Completion &done = {});
    /// Answers the session's first held request. While none is held, the question stands in the terminal alone, and the
    /// approval is typed there.
    void allow(const QString &sessionID, const Completion &done = {});
    /// With no held request the session's state changes all the same, and nothing is typed.
    void deny(const QString &sessionID, Denial denial, const Completion &done = {});
    /// Allows, with the rules that the agent suggests; without any it behaves as allow().
    void alwaysAllow(const QString &sessionID, const Completion &done = {});
    [[nodiscard]] bool hasAlwaysAllowSuggestions(const QString &sessionID) const;
    /// Types a line into the session's terminal.
    void sendText(const QString &sessionID, const QString &text, const Completion &done = {});
    /// Chooses an option (from 0) of the question that the session asks.
    void answerQuestion(const QString &sessionID, int index, const Completion &done = {});
    /// Closes the session's tab and ends the agent. Done once the agent has been told, whatever becomes of the tab.
    void killSession(const QString &sessionID, const Completion &done = {});
    /// Starts an agent in a new window or tab.
    void launch(const QString &projectPath, const TerminalBridge::LaunchMode &mode, const AgentLaunchFlags &flags,
                const Completion &done = {});

private:
    /// The session, if it is in needsPermission; else null.
    [[nodiscard]] SessionPtr waitingSession(const QString &sessionID) const;
    void approveInTerminal(const SessionPtr &session, const Completion &done);
    void approvePlanSoon(const SessionPtr &session, const Completion &done);

    Services m_services;
    std::map<std::uint64_t, ScheduledTimer> m_planApprovals; ///< Those that wait to be typed, by number.
    std::uint64_t m_lastPlanApproval { 0 };
};

} // namespace vantry
