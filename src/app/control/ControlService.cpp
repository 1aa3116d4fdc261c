#include "app/control/ControlService.h"

#include "app/SessionActions.h"
#include "hooks/HTTPHookServer.h"
#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionChanges.h"
#include "sessions/SessionManager.h"
#include "terminal/TerminalBridge.h"

#include <algorithm>
#include <limits>

namespace vantry {

using namespace Qt::StringLiterals;
using Kind = ControlOutcome::Kind;

namespace {

ControlOutcome noSuchSession()
{
    return { Kind::NoSuchSession, u"there is no such session"_s };
}

ControlOutcome notPossible(const QString &reason)
{
    return { Kind::NotPossible, reason };
}

ControlOutcome hasFinished()
{
    return notPossible(u"the session has finished already"_s);
}

/// Turns the end of an action into the reply.
SessionActions::Completion tell(ControlRequests::Reply reply)
{
    return [reply = std::move(reply)](const std::optional<QString> &failure) {
        reply(failure ? notPossible(*failure) : ControlOutcome {});
    };
}

std::optional<TerminalBridge::LaunchMode> launchMode(const QString &mode, const QString &sessionID)
{
    if (mode == u"fresh")
        return TerminalBridge::Fresh {};
    if (mode == u"continueLatest")
        return TerminalBridge::ContinueLatest {};
    // One that begins with a dash would be an option to the agent.
    if (mode == u"resume" && !sessionID.isEmpty() && !sessionID.startsWith(u'-'))
        return TerminalBridge::Resume { sessionID };
    return std::nullopt;
}

} // namespace

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

void ControlService::announceBackfill(std::size_t done, std::size_t total)
{
    constexpr std::size_t most = std::numeric_limits<std::uint32_t>::max();
    m_services.endpoint.announceBackfill(static_cast<std::uint32_t>(std::min(done, most)),
                                         static_cast<std::uint32_t>(std::min(total, most)));
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

void ControlService::allow(const QString &sessionID, Reply reply)
{
    if (!isRefusedToAllow(sessionID, reply))
        m_services.sessionActions.allow(sessionID, tell(std::move(reply)));
}

void ControlService::deny(const QString &sessionID, bool stop, Reply reply)
{
    using Denial = SessionActions::Denial;
    const ControlOutcome outcome = canAnswer(sessionID);
    if (outcome.kind == Kind::Done)
        m_services.sessionActions.deny(sessionID, stop ? Denial::AgentStops : Denial::AgentGoesOn,
                                       tell(std::move(reply)));
    else
        reply(outcome);
}

void ControlService::alwaysAllow(const QString &sessionID, Reply reply)
{
    if (!isRefusedToAllow(sessionID, reply))
        m_services.sessionActions.alwaysAllow(sessionID, tell(std::move(reply)));
}

void ControlService::answer(const QString &sessionID, int index, Reply reply)
{
    const SessionPtr session = m_services.sessionManager.session(sessionID);
    if (!session)
        reply(noSuchSession());
    else if (!session->isAlive())
        reply(hasFinished());
    else
        m_services.sessionActions.answerQuestion(sessionID, index, tell(std::move(reply)));
}

void ControlService::send(const QString &sessionID, const QString &text, Reply reply)
{
    // The action is called for an unknown session, too, and writes that to the log.
    const bool isKnown = m_services.sessionManager.session(sessionID) != nullptr;
    m_services.sessionActions.sendText(
        sessionID, text, isKnown ? tell(std::move(reply)) : [reply = std::move(reply)](const std::optional<QString> &) {
            reply(noSuchSession());
        });
}

void ControlService::focus(const QString &sessionID, Reply reply)
{
    if (m_services.sessionManager.session(sessionID))
        m_services.sessionActions.focusSession(sessionID, tell(std::move(reply)));
    else
        reply(noSuchSession());
}

void ControlService::kill(const QString &sessionID, Reply reply)
{
    const SessionPtr session = m_services.sessionManager.session(sessionID);
    if (!session)
        reply(noSuchSession());
    else if (!session->isAlive())
        reply(hasFinished());
    else
        m_services.sessionActions.killSession(sessionID, tell(std::move(reply)));
}

void ControlService::launch(const QString &path, const QString &mode, const QString &sessionID,
                            const QString &permissionMode, Reply reply)
{
    const auto how = launchMode(mode, sessionID);
    const auto permissions = agentPermissionModeFromRawValue(permissionMode);
    if (!how)
        reply(notPossible(u"an agent can't be started in this way: \"%1\" \"%2\""_s.arg(mode, sessionID)));
    else if (!permissions)
        reply(notPossible(u"there is no permission mode \"%1\""_s.arg(permissionMode)));
    else if (!path.startsWith(u'/'))
        reply(notPossible(u"the project's path has to be an absolute one"_s));
    else
        m_services.sessionActions.launch(path, *how, { *permissions }, tell(std::move(reply)));
}

bool ControlService::showPanel()
{
    if (onShowPanel)
        onShowPanel();
    return static_cast<bool>(onShowPanel);
}

bool ControlService::showSettings()
{
    if (onShowSettings)
        onShowSettings();
    return static_cast<bool>(onShowSettings);
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
    return notPossible(u"the session asks for no permission"_s);
}

bool ControlService::isRefusedToAllow(const QString &sessionID, const Reply &reply)
{
    const ControlOutcome outcome = canAnswer(sessionID);
    if (outcome.kind != Kind::Done) {
        reply(outcome);
        return true;
    }
    const SessionPtr session = m_services.sessionManager.session(sessionID);
    if (m_services.pendingPermissions.firstHeld(sessionID) || m_services.terminalBridge.canType(*session))
        return false;
    m_services.sessionActions.focusSession(sessionID, [reply](const std::optional<QString> &failure) {
        reply(notPossible(failure ? u"the question is open in the session's terminal only; answer it there"_s
                                  : u"the question is open in the session's terminal only, which is in front now"_s));
    });
    return true;
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
