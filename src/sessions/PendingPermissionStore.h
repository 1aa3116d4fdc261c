#pragma once

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "base/Scheduler.h"
#include "hooks/HookConnection.h"
#include "hooks/HookEvent.h"

#include <QList>
#include <QObject>
#include <QUuid>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vantry {

/// A permission request while the agent waits for its answer.
struct PendingPermission
{
    QUuid id; ///< The only handle for resolving it.
    HookEvent event;
    HookConnectionPtr connection;
    Date receivedAt;
};

enum class PermissionDecision { allow, deny };

/// How a held request ended. `expired` is reserved: a request that ends by itself counts as `unknown`.
enum class ResolutionOutcome { allowed, denied, expired, unknown };

/// Who can end held requests with the user's choice.
class PermissionResolving
{
public:
    virtual ~PermissionResolving() = default;

    virtual void resolve(const QUuid &id, PermissionDecision decision) = 0;
    /// Denies, and makes the agent stop.
    virtual void interrupt(const QUuid &id) = 0;
    /// Allows, and installs the given rules, which go out as they came in.
    virtual void resolveAlwaysAllow(const QUuid &id, const std::vector<AnyCodableMap> &updatedPermissions) = 0;
};

/// Holds permission requests while agents wait on their open connections. Each ends exactly once: answered, cleaned up
/// as stale, dismissed, or by cleanup(). An unknown identifier is ignored. A request is dismissed when its connection
/// has gone or after 600 seconds. Dismissing one gives up the handle of its connection, which stays open as the intake
/// keeps it: the agent's hook waits on until it gives up by itself. Main thread only.
///
/// What is called back, and what observes pendingChanged(), may call the store again.
class PendingPermissionStore final : public QObject, public PermissionResolving
{
    Q_OBJECT

public:
    PendingPermissionStore(const Clock &clock, Scheduler &scheduler, Log &log, QObject *parent = nullptr);
    ~PendingPermissionStore() override;

    void add(const HookEvent &event, HookConnectionPtr connection);
    void resolve(const QUuid &id, PermissionDecision decision) override;
    void interrupt(const QUuid &id) override;
    void resolveAlwaysAllow(const QUuid &id, const std::vector<AnyCodableMap> &updatedPermissions) override;
    /// Gives up all requests of a session without answering; their connections stay open.
    void dismissAll(const QString &sessionID);
    /// The same for the requests of one agent of the session (nothing: its main agent).
    void dismissAll(const QString &sessionID, const std::optional<QString> &agentId);
    /// For the end of the program: closes every held connection without an answer. Calls back to nobody.
    void cleanup();

    /// In order of arrival.
    [[nodiscard]] const QList<PendingPermission> &pending() const { return m_pending; }
    /// The request that the user's answer goes to: the session's first. Null when none is held. Valid until the list
    /// changes.
    [[nodiscard]] const PendingPermission *firstHeld(const QString &sessionID) const;
    [[nodiscard]] int heldCount(const QString &sessionID) const;
    /// Whether a request of the session is held that another agent of it made than this one (nothing: the main agent).
    [[nodiscard]] bool holdsRequestOfOtherAgent(const QString &sessionID, const std::optional<QString> &agentId) const;
    /// Whether the session's first request came with rules.
    [[nodiscard]] bool hasAlwaysAllowSuggestions(const QString &sessionID) const;

    std::function<void(const HookEvent &, ResolutionOutcome)> onResolved; ///< Unset: dropped.
    std::function<void()> onPendingChange;                                ///< Unset: dropped.

Q_SIGNALS:
    /// After the session's held requests have changed: once for each operation, at its end.
    void pendingChanged(const QString &sessionID);

private:
    /// Takes the request out of the list: from then on nothing else can end it.
    [[nodiscard]] std::optional<PendingPermission> take(const QUuid &id);
    void answer(const QUuid &id, const std::string &body, ResolutionOutcome outcome,
                const std::function<QString(const QString &tool)> &describe);
    /// One agent waits for one request at a time: once one is answered, its others are leftovers.
    void cancelStale(const HookEvent &answered);
    [[nodiscard]] QList<QUuid> idsWhere(const std::function<bool(const PendingPermission &)> &matches) const;
    void dismiss(const QList<QUuid> &ids);
    void sweep();
    [[nodiscard]] QString count() const; ///< Of what is held, for the log.
    void notifyPendingChange();
    void stopSweepWhenIdle();

    const Clock &m_clock;
    Scheduler &m_scheduler;
    Log &m_log;
    QList<PendingPermission> m_pending;
    ScheduledTimer m_livenessTimer; ///< The sweep; runs while something is held.
};

} // namespace vantry
