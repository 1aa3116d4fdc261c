#include "app/SessionActions.h"

#include "base/DebugLog.h"
#include "base/Text.h"
#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionManager.h"

#include <chrono>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How long the agent gets to take the answer from its hook before its dialog is typed into.
constexpr std::chrono::milliseconds dialogSettles = 300ms;

void finish(const SessionActions::Completion &done, const std::optional<QString> &failure = std::nullopt)
{
    if (done)
        done(failure);
}

QString noSession()
{
    return u"there is no such session"_s;
}

bool asksForPlan(const std::optional<QString> &toolName)
{
    return toolName == u"ExitPlanMode"_s;
}

/// Whether the dialog of this request is the plan of the agent in the terminal; a background agent's is not shown yet.
bool showsPlan(const PendingPermission &request)
{
    return asksForPlan(request.event.toolName) && !request.event.agentId;
}

} // namespace

SessionActions::SessionActions(Services services)
    : m_services(services)
{}

void SessionActions::focusSession(const QString &sessionID, const Completion &done)
{
    if (const SessionPtr session = m_services.sessionManager.session(sessionID))
        m_services.terminalBridge.focusTerminal(*session, done);
    else
        finish(done, noSession());
}

void SessionActions::allow(const QString &sessionID, const Completion &done)
{
    const SessionPtr session = waitingSession(sessionID);
    if (!session) {
        finish(done, u"the session asks for no permission"_s);
        return;
    }
    const PendingPermission *request = m_services.pendingPermissions.firstHeld(sessionID);
    if (!request) {
        approveInTerminal(session, done);
        m_services.sessionManager.answered(session, SessionState::working);
        return;
    }
    const bool isPlan = showsPlan(*request);
    m_services.pendingPermissions.resolve(QUuid(request->id), PermissionDecision::allow);
    m_services.sessionManager.answered(session, SessionState::working);
    // The agent does not take the approval of a plan from its hook: the dialog stays.
    if (isPlan)
        approvePlanSoon(session, done);
    else
        finish(done);
}

void SessionActions::deny(const QString &sessionID, Denial denial, const Completion &done)
{
    const SessionPtr session = waitingSession(sessionID);
    if (!session) {
        finish(done, u"the session asks for no permission"_s);
        return;
    }
    const bool agentStops = denial == Denial::AgentStops;
    if (const PendingPermission *request = m_services.pendingPermissions.firstHeld(sessionID)) {
        const QUuid id = request->id;
        if (agentStops)
            m_services.pendingPermissions.interrupt(id);
        else
            m_services.pendingPermissions.resolve(id, PermissionDecision::deny);
    }
    m_services.sessionManager.answered(session, agentStops ? SessionState::ready : SessionState::working);
    finish(done);
}

void SessionActions::alwaysAllow(const QString &sessionID, const Completion &done)
{
    const SessionPtr session = waitingSession(sessionID);
    if (!session || !m_services.pendingPermissions.hasAlwaysAllowSuggestions(sessionID)) {
        allow(sessionID, done);
        return;
    }
    const PendingPermission *request = m_services.pendingPermissions.firstHeld(sessionID);
    const std::vector<AnyCodableMap> rules = *request->event.permissionSuggestions;
    m_services.pendingPermissions.resolveAlwaysAllow(QUuid(request->id), rules);
    m_services.sessionManager.answered(session, SessionState::working);
    finish(done);
}

bool SessionActions::hasAlwaysAllowSuggestions(const QString &sessionID) const
{
    return m_services.pendingPermissions.hasAlwaysAllowSuggestions(sessionID);
}

void SessionActions::sendText(const QString &sessionID, const QString &text, const Completion &done)
{
    Log &log = m_services.log;
    log.write(u"sendTextToSession called: id=%1 text=%2"_s.arg(sessionID, text));
    const SessionPtr session = m_services.sessionManager.session(sessionID);
    if (!session) {
        log.write(u"sendTextToSession: session not found"_s);
        finish(done, noSession());
        return;
    }
    if (!session->isAlive()) {
        log.write(u"sendTextToSession: session not alive"_s);
        finish(done, u"the session has finished already"_s);
        return;
    }
    const QString trimmed = trimmedWhitespace(text).toString();
    if (trimmed.isEmpty()) {
        log.write(u"sendTextToSession: text empty after trim"_s);
        finish(done, u"there is no text to send"_s);
        return;
    }
    log.write(u"sendTextToSession: calling terminalBridge.sendText"_s);
    m_services.terminalBridge.sendText(*session, trimmed, done);
}

void SessionActions::answerQuestion(const QString &sessionID, int index, const Completion &done)
{
    const SessionPtr session = m_services.sessionManager.session(sessionID);
    if (session && session->state() == SessionState::hasQuestion)
        m_services.terminalBridge.answerQuestion(*session, index, done);
    else
        finish(done, u"the session asks no question"_s);
}

void SessionActions::killSession(const QString &sessionID, const Completion &done)
{
    const SessionPtr session = m_services.sessionManager.session(sessionID);
    if (!session) {
        finish(done, noSession());
        return;
    }
    m_services.terminalBridge.closeTab(*session);
    m_services.sessionManager.killSession(session);
    finish(done);
}

void SessionActions::launch(const QString &projectPath, const TerminalBridge::LaunchMode &mode,
                            const AgentLaunchFlags &flags, const Completion &done)
{
    m_services.terminalBridge.launchClaude(projectPath, mode, flags, std::nullopt, done);
}

SessionPtr SessionActions::waitingSession(const QString &sessionID) const
{
    SessionPtr session = m_services.sessionManager.session(sessionID);
    return session && session->state() == SessionState::needsPermission ? session : nullptr;
}

void SessionActions::approveInTerminal(const SessionPtr &session, const Completion &done)
{
    TerminalBridge &bridge = m_services.terminalBridge;
    // A bare Return would take the plan's first choice, by which edits are no longer asked for.
    if (asksForPlan(session->toolName()) && bridge.canType(*session))
        bridge.approvePlan(*session, done);
    else
        bridge.pressReturn(*session, done);
}

void SessionActions::approvePlanSoon(const SessionPtr &session, const Completion &done)
{
    TerminalBridge &bridge = m_services.terminalBridge;
    if (!bridge.canType(*session)) {
        // The request has been answered all the same; the user finds the plan's dialog in front.
        m_services.log.write(u"SessionActions: the plan of session "_s + session->id() +
                             u" has to be approved in its terminal, too"_s);
        bridge.focusTerminal(*session);
        finish(done);
        return;
    }
    const std::uint64_t number = ++m_lastPlanApproval;
    const Date answeredAt = session->lastUpdated();
    m_planApprovals[number] = m_services.scheduler.after(dialogSettles, [this, number, session, answeredAt, done] {
        m_planApprovals.erase(number);
        // Any event may mean that the dialog has been answered, and what is typed then goes elsewhere.
        if (session->isAlive() && session->lastUpdated() == answeredAt)
            m_services.terminalBridge.approvePlan(*session, done);
        else
            finish(done);
    });
}

} // namespace vantry
