#include "sessions/SessionChanges.h"

#include "sessions/SessionManager.h"

#include <QPointer>

#include <utility>

namespace vantry {

namespace {

QStringList idsOf(const QList<SessionPtr> &sessions)
{
    QStringList ids;
    ids.reserve(sessions.size());
    for (const SessionPtr &session : sessions)
        ids.append(session->id());
    return ids;
}

} // namespace

SessionChanges::SessionChanges(SessionManager &manager, MainQueue &mainQueue, QObject *parent)
    : QObject(parent)
    , m_manager(manager)
    , m_mainQueue(mainQueue)
{
    observeList();
    m_changed.clear();
    m_known = idsOf(m_observed);
    connect(&manager, &SessionManager::sessionsChanged, this, [this] {
        observeList();
        if (!m_changed.isEmpty() || idsOf(m_observed) != m_known)
            schedule();
    });
}

SessionChanges::~SessionChanges() = default;

void SessionChanges::touch(const QString &sessionID)
{
    m_changed.insert(sessionID);
    schedule();
}

void SessionChanges::observeList()
{
    const QList<SessionPtr> &sessions = m_manager.sessions();
    if (sessions == m_observed)
        return;
    const QSet<SessionPtr> before(m_observed.cbegin(), m_observed.cend());
    const QSet<SessionPtr> now(sessions.cbegin(), sessions.cend());
    for (const SessionPtr &session : before - now)
        session->disconnect(this);
    for (const SessionPtr &session : now - before) {
        connect(session.get(), &VantrySession::changed, this, [this, id = session->id()] { touch(id); });
        // Also a new record of a known session: what is shown of it may be another now.
        m_changed.insert(session->id());
    }
    m_observed = sessions;
}

void SessionChanges::schedule()
{
    if (std::exchange(m_scheduled, true))
        return;
    m_mainQueue.post([self = QPointer(this)] {
        if (self)
            self->deliver();
    });
}

void SessionChanges::deliver()
{
    m_scheduled = false;
    const QSet<QString> touched = std::exchange(m_changed, {});
    const QStringList known = std::exchange(m_known, idsOf(m_observed));

    QList<SessionPtr> changedSessions;
    for (const SessionPtr &session : std::as_const(m_observed)) {
        if (touched.contains(session->id()))
            changedSessions.append(session);
    }
    QStringList removedIds;
    for (const QString &id : known) {
        if (!m_known.contains(id))
            removedIds.append(id);
    }
    if (!removedIds.isEmpty())
        Q_EMIT removed(removedIds);
    if (!changedSessions.isEmpty())
        Q_EMIT changed(changedSessions);
}

} // namespace vantry
