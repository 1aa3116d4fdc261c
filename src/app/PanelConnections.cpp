#include "app/PanelConnections.h"

#include "app/SessionActions.h"
#include "sessions/PendingPermissionStore.h"
#include "terminal/TerminalBridge.h"

namespace vantry {

SessionCallbacks sessionCallbacks(SessionActions &actions, const TerminalBridge &bridge,
                                  const PendingPermissionStore &held)
{
    SessionCallbacks callbacks;
    callbacks.onFocusSession = [&actions](const SessionPtr &session) { actions.focusSession(session->id()); };
    callbacks.onAllowSession = [&actions](const SessionPtr &session) { actions.allow(session->id()); };
    callbacks.onDenySession = [&actions](const SessionPtr &session, bool stop) {
        using Denial = SessionActions::Denial;
        actions.deny(session->id(), stop ? Denial::AgentStops : Denial::AgentGoesOn);
    };
    callbacks.onAlwaysAllowSession = [&actions](const SessionPtr &session) { actions.alwaysAllow(session->id()); };
    callbacks.hasAlwaysAllowSuggestions = [&actions](const SessionPtr &session) {
        return actions.hasAlwaysAllowSuggestions(session->id());
    };
    callbacks.heldRequestID = [&held](const SessionPtr &session) {
        const PendingPermission *request = held.firstHeld(session->id());
        return request ? request->id.toString() : QString();
    };
    callbacks.onSendText = [&actions](const SessionPtr &session, const QString &text) {
        actions.sendText(session->id(), text);
    };
    callbacks.onAnswerQuestion = [&actions](const SessionPtr &session, int index) {
        actions.answerQuestion(session->id(), index);
    };
    callbacks.onKillSession = [&actions](const SessionPtr &session) { actions.killSession(session->id()); };
    callbacks.onLaunchClaude = [&actions](const QString &path, const TerminalBridge::LaunchMode &mode,
                                          const AgentLaunchFlags &flags) { actions.launch(path, mode, flags); };
    callbacks.canType = [&bridge](const SessionPtr &session) { return bridge.canType(*session); };
    callbacks.refusalOfText = [&bridge](const SessionPtr &session) { return bridge.refusalOfText(*session); };
    callbacks.refusalOfAnswer = [&bridge](const SessionPtr &session, int index) {
        return bridge.refusalOfAnswer(*session, index);
    };
    callbacks.terminalName = [&bridge](const SessionPtr &session) {
        return bridge.terminalName(*session).value_or(QString());
    };
    return callbacks;
}

} // namespace vantry
