#include "sessions/PendingPermissionStore.h"

#include "sessions/PermissionAnswer.h"

#include <QPointer>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <utility>

namespace vantry {

namespace {

constexpr std::chrono::seconds sweepInterval { 2 };
constexpr std::chrono::seconds longestHold { 600 };

QString toolOr(const HookEvent &event, const QString &replacement)
{
    return event.toolName.value_or(replacement);
}

QString toolOf(const HookEvent &event)
{
    return toolOr(event, QStringLiteral("Unknown"));
}

QString rawValue(PermissionDecision decision)
{
    return decision == PermissionDecision::allow ? QStringLiteral("allow") : QStringLiteral("deny");
}

} // namespace

PendingPermissionStore::PendingPermissionStore(const Clock &clock, Scheduler &scheduler, Log &log, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_scheduler(scheduler)
    , m_log(log)
{}

PendingPermissionStore::~PendingPermissionStore() = default;

void PendingPermissionStore::add(const HookEvent &event, HookConnectionPtr connection)
{
    const QUuid id = QUuid::createUuid();
    m_pending.append({ id, event, connection, m_clock.now() });
    if (!m_livenessTimer.isActive())
        m_livenessTimer = m_scheduler.every(sweepInterval, [this] { sweep(); });
    notifyPendingChange();
    connection->watch([store = QPointer(this), id] {
        if (store)
            store->dismiss({ id });
    });
    m_log.write(QStringLiteral("PendingPermissionStore: added %1 (pending: %2)")
                    .arg(toolOr(event, QStringLiteral("unknown")), count()));
    Q_EMIT pendingChanged(event.sessionID);
}

void PendingPermissionStore::resolve(const QUuid &id, PermissionDecision decision)
{
    const std::string body = decisionBody(rawValue(decision).toStdString());
    const auto outcome = decision == PermissionDecision::allow ? ResolutionOutcome::allowed : ResolutionOutcome::denied;
    answer(id, body, outcome, [&](const QString &tool) {
        return QStringLiteral("resolved %1 for %2 (remaining: %3)").arg(rawValue(decision), tool, count());
    });
}

void PendingPermissionStore::interrupt(const QUuid &id)
{
    answer(id, interruptBody(), ResolutionOutcome::denied,
           [&](const QString &tool) { return QStringLiteral("interrupted %1 (remaining: %2)").arg(tool, count()); });
}

void PendingPermissionStore::resolveAlwaysAllow(const QUuid &id, const std::vector<AnyCodableMap> &updatedPermissions)
{
    // The rules may be the request's own, which end with it.
    const QString rules = QString::number(updatedPermissions.size());
    answer(id, alwaysAllowBody(updatedPermissions), ResolutionOutcome::allowed, [&](const QString &tool) {
        return QStringLiteral("resolved with %1 always-allow rules for %2").arg(rules, tool);
    });
}

void PendingPermissionStore::answer(const QUuid &id, const std::string &body, ResolutionOutcome outcome,
                                    const std::function<QString(const QString &tool)> &describe)
{
    const std::optional<PendingPermission> request = take(id);
    if (!request)
        return;
    request->connection->respond("200 OK", body);
    cancelStale(request->event);
    notifyPendingChange();
    if (onResolved)
        onResolved(request->event, outcome);
    m_log.write(QStringLiteral("PendingPermissionStore: ") + describe(toolOf(request->event)));
    Q_EMIT pendingChanged(request->event.sessionID);
}

void PendingPermissionStore::cancelStale(const HookEvent &answered)
{
    for (const QUuid &id : idsWhere([&](const PendingPermission &request) {
             return request.event.sessionID == answered.sessionID && request.event.agentId == answered.agentId;
         })) {
        const std::optional<PendingPermission> stale = take(id);
        if (!stale)
            continue;
        m_log.write(QStringLiteral("PendingPermissionStore: cleaning up stale %1 for session %2")
                        .arg(toolOf(stale->event), stale->event.sessionID));
        stale->connection->cancel();
    }
}

void PendingPermissionStore::dismissAll(const QString &sessionID)
{
    dismiss(idsWhere([&](const PendingPermission &request) { return request.event.sessionID == sessionID; }));
}

void PendingPermissionStore::dismissAll(const QString &sessionID, const std::optional<QString> &agentId)
{
    dismiss(idsWhere([&](const PendingPermission &request) {
        return request.event.sessionID == sessionID && request.event.agentId == agentId;
    }));
}

void PendingPermissionStore::sweep()
{
    const Date now = m_clock.now();
    dismiss(idsWhere([&](const PendingPermission &request) {
        return request.connection->isGone() || now - request.receivedAt > longestHold;
    }));
}

void PendingPermissionStore::dismiss(const QList<QUuid> &ids)
{
    QStringList sessions;
    for (const QUuid &id : ids) {
        const std::optional<PendingPermission> request = take(id);
        if (!request)
            continue;
        notifyPendingChange();
        if (onResolved)
            onResolved(request->event, ResolutionOutcome::unknown);
        m_log.write(QStringLiteral("PendingPermissionStore: auto-dismissed %1 (remaining: %2)")
                        .arg(toolOf(request->event), count()));
        if (!sessions.contains(request->event.sessionID))
            sessions.append(request->event.sessionID);
    }
    for (const QString &sessionID : std::as_const(sessions))
        Q_EMIT pendingChanged(sessionID);
}

void PendingPermissionStore::cleanup()
{
    m_livenessTimer.cancel();
    const QList<PendingPermission> held = std::exchange(m_pending, {});
    for (const PendingPermission &request : held)
        request.connection->cancel();
}

const PendingPermission *PendingPermissionStore::firstHeld(const QString &sessionID) const
{
    const auto found = std::ranges::find_if(
        m_pending, [&](const PendingPermission &request) { return request.event.sessionID == sessionID; });
    return found == m_pending.cend() ? nullptr : &*found;
}

int PendingPermissionStore::heldCount(const QString &sessionID) const
{
    return static_cast<int>(std::ranges::count_if(
        m_pending, [&](const PendingPermission &request) { return request.event.sessionID == sessionID; }));
}

bool PendingPermissionStore::holdsRequestOfOtherAgent(const QString &sessionID,
                                                      const std::optional<QString> &agentId) const
{
    return std::ranges::any_of(m_pending, [&](const PendingPermission &request) {
        return request.event.sessionID == sessionID && request.event.agentId != agentId;
    });
}

bool PendingPermissionStore::hasAlwaysAllowSuggestions(const QString &sessionID) const
{
    const PendingPermission *first = firstHeld(sessionID);
    return first && first->event.permissionSuggestions && !first->event.permissionSuggestions->empty();
}

QList<QUuid> PendingPermissionStore::idsWhere(const std::function<bool(const PendingPermission &)> &matches) const
{
    QList<QUuid> ids;
    for (const PendingPermission &request : m_pending) {
        if (matches(request))
            ids.append(request.id);
    }
    return ids;
}

std::optional<PendingPermission> PendingPermissionStore::take(const QUuid &id)
{
    const auto found = std::ranges::find(m_pending, id, &PendingPermission::id);
    if (found == m_pending.end())
        return std::nullopt;
    std::optional<PendingPermission> request(std::move(*found));
    m_pending.erase(found);
    stopSweepWhenIdle();
    return request;
}

QString PendingPermissionStore::count() const
{
    return QString::number(m_pending.size());
}

void PendingPermissionStore::notifyPendingChange()
{
    if (onPendingChange)
        onPendingChange();
}

void PendingPermissionStore::stopSweepWhenIdle()
{
    if (m_pending.isEmpty())
        m_livenessTimer.cancel();
}

} // namespace vantry
