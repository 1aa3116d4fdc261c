#pragma once

#include "app/control/SessionJson.h"
#include "base/Clock.h"
#include "platform/ControlEndpoint.h"
#include "sessions/VantrySession.h"

#include <QObject>

#include <functional>

namespace vantry {

class HTTPHookServer;
class PendingPermissionStore;
class SessionActions;
class SessionChanges;
class SessionManager;
class TerminalBridge;

/// What other programs can see of the running application and ask of it: answers the calls of the control endpoint and
/// announces changes on it. Main thread only.
class ControlService final : public QObject, public ControlRequests
{
    Q_OBJECT

public:
    struct Services
    {
        const Clock &clock;
        const HTTPHookServer &httpServer;
        const SessionManager &sessionManager;
        const PendingPermissionStore &pendingPermissions;
        SessionActions &sessionActions;
        TerminalBridge &terminalBridge;
        const SessionChanges &changes;
        ControlEndpoint &endpoint;
    };

    /// All services must outlive this. `home` is the user's home directory.
    ControlService(Services services, QString home);

    /// Takes the name and begins to announce.
    ControlEndpoint::Publication publish();
    void withdraw();
    /// Tells how many of the old transcripts have been read.
    void announceBackfill(std::size_t done, std::size_t total);

    [[nodiscard]] bool isListening() const override;
    [[nodiscard]] QString list() const override;
    void allow(const QString &sessionID, Reply reply) override;
    void deny(const QString &sessionID, bool stop, Reply reply) override;
    void alwaysAllow(const QString &sessionID, Reply reply) override;
    void answer(const QString &sessionID, int index, Reply reply) override;
    void send(const QString &sessionID, const QString &text, Reply reply) override;
    void focus(const QString &sessionID, Reply reply) override;
    void kill(const QString &sessionID, Reply reply) override;
    void launch(const QString &path, const QString &mode, const QString &sessionID, const QString &permissionMode,
                Reply reply) override;
    bool showPanel() override;
    bool showSettings() override;
    void quit() override;

    // Unset: refused.
    std::function<void()> onShowPanel;
    std::function<void()> onShowSettings;
    std::function<void()> onQuit; ///< Unset: the request is dropped.

private:
    /// Why the user's answer to a permission request can't reach the session; done when it can.
    [[nodiscard]] ControlOutcome canAnswer(const QString &sessionID) const;
    /// Where nothing is held and nothing can be typed, only the person at the terminal can allow. Replies then.
    [[nodiscard]] bool isRefusedToAllow(const QString &sessionID, const Reply &reply);
    [[nodiscard]] Json jsonOf(const VantrySession &session) const;
    void announce(const QList<SessionPtr> &changed);

    Services m_services;
    const QString m_home;
};

} // namespace vantry
