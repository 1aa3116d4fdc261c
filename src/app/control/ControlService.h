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
        const SessionChanges &changes;
        ControlEndpoint &endpoint;
    };

    /// All services must outlive this. `home` is the user's home directory.
    ControlService(Services services, QString home);

    /// Takes the name and begins to announce.
    ControlEndpoint::Publication publish();
    void withdraw();

    [[nodiscard]] bool isListening() const override;
    [[nodiscard]] QString list() const override;
    ControlOutcome allow(const QString &sessionID) override;
    ControlOutcome deny(const QString &sessionID, bool stop) override;
    ControlOutcome alwaysAllow(const QString &sessionID) override;
    ControlOutcome kill(const QString &sessionID) override;
    void quit() override;

    std::function<void()> onQuit; ///< Unset: the request is dropped.

private:
    /// Why the user's answer can't reach the session; done when it can.
    [[nodiscard]] ControlOutcome canAnswer(const QString &sessionID) const;
    [[nodiscard]] ControlOutcome canAllow(const QString &sessionID) const;
    [[nodiscard]] Json jsonOf(const VantrySession &session) const;
    void announce(const QList<SessionPtr> &changed);

    Services m_services;
    const QString m_home;
};

} // namespace vantry
