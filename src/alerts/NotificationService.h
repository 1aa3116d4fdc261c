#pragma once

#include "base/Clock.h"
#include "base/StandardOutput.h"
#include "hooks/HookEvent.h"
#include "platform/NotificationCentre.h"
#include "sessions/VantrySession.h"

#include <QHash>
#include <QObject>
#include <QUuid>

#include <functional>
#include <optional>
#include <vector>

namespace vantry {

class Defaults;
class PendingPermissionStore;

/// Turns events that need the user into desktop notifications, and hands the user's click back to the application. A
/// notification goes when its session leaves the state that raised it, or when the permission request ends that its
/// buttons answer. Main thread only.
class NotificationService final : public QObject, private NotificationCentre::Delegate
{
    Q_OBJECT

public:
    /// Seconds between notifications of one session.
    static constexpr Seconds cooldownInterval { 15.0 };

    /// Takes a session's identifier; an empty one when the notification has none.
    using Callback = std::function<void(const QString &sessionID)>;
    /// Writes a line, which comes without its end, to standard output.
    using Print = std::function<void(const QString &line)>;

    /// All of these must outlive this.
    struct Services
    {
        NotificationCentre &centre;
        const PendingPermissionStore &pendingPermissions;
        const Defaults &defaults;
        const Clock &clock;
    };

    explicit NotificationService(const Services &services, Print print = printLine);
    ~NotificationService() override;

    /// Registers with the desktop. From now on clicks are routed; a callback that is unset drops them.
    void configure(Callback onNotificationClicked, Callback onAllowPermission, Callback onDenyPermission);
    /// Posts a notification for the event, unless the user doesn't want it, looks at the panel, or was told of the
    /// session a moment ago.
    void notify(const SessionPtr &session, const HookEvent &event);

    /// What becomes of notifications on this desktop. `known` is called once, later, or never when the centre ends
    /// before.
    void requestStatus(NotificationCentre::StatusKnown known) { m_services.centre.requestStatus(std::move(known)); }
    /// Asks the user for leave to show notifications; `done` is called once the user has answered.
    void requestPermission(std::function<void()> done);

    /// Whether the panel is open. Set by the application; suppresses notifications.
    bool isPopoverVisible { false };
    /// Takes the desktop's leave to bring a window forward, right before onNotificationClicked is called.
    std::function<void(const QString &token)> onActivationToken;

Q_SIGNALS:
    /// Other notifications become of it: who shows them has come, gone or changed.
    void serverChanged();

private:
    /// What a notification asks while its session waits for a permission.
    struct Asked
    {
        std::optional<QString> toolName;
        std::optional<QString> toolDetail;
        std::optional<QUuid> requestID {}; ///< The request that its buttons answer; nothing while none is held.
    };
    /// A notification that is on the screen, or about to be.
    struct Posted
    {
        QString identifier;
        SessionState state; ///< That raised it.
        std::optional<Asked> asked;
    };
    /// A session with notifications.
    struct Watched
    {
        std::weak_ptr<VantrySession> session {};
        QMetaObject::Connection changes {};
        std::vector<Posted> posted {};
    };

    [[nodiscard]] bool isWanted(const VantrySession &session, const HookEvent &event) const;
    [[nodiscard]] bool isCoolingDown(const QString &sessionID, Date now) const;
    [[nodiscard]] NotificationCentre::Request makeRequest(const VantrySession &session, const HookEvent &event,
                                                          Date now) const;
    void post(const SessionPtr &session, const HookEvent &event, const NotificationCentre::Request &request);

    [[nodiscard]] bool isStillTrue(const VantrySession &session, Posted &posted) const;
    void removeOutdated(const QString &sessionID);
    void forget(const QString &identifier);
    void unwatchIfIdle(QHash<QString, Watched>::iterator watched);

    [[nodiscard]] NotificationCentre::Presentation willPresent(const NotificationCentre::Request &request) override;
    void didReceive(const NotificationCentre::Response &response) override;
    void didClose(const QString &identifier) override;

    const Services m_services;
    const Print m_print;
    QHash<QString, Date> m_lastNotificationTime; ///< By session; of those that still count.
    QHash<QString, Watched> m_watched;           ///< By session.
    Callback m_onNotificationClicked;
    Callback m_onAllowPermission;
    Callback m_onDenyPermission;
};

} // namespace vantry
