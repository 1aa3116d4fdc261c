#pragma once

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "hooks/HookEvent.h"
#include "sessions/GitFacts.h"
#include "sessions/LiveProcessChecker.h"
#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionStore.h"
#include "sessions/VantrySession.h"

#include <QList>
#include <QObject>

#include <functional>

namespace vantry {

/// Owns the list of live sessions and turns the stream of hook events into their state. Every event is saved at once.
/// Main thread only.
class SessionManager final : public QObject
{
    Q_OBJECT

public:
    /// Everything given must outlive the manager. `held` is only asked, never changed.
    SessionManager(SessionStoring &store, ProcessChecking &processChecker, GitFacts &git,
                   const PendingPermissionStore &held, const Clock &clock, Log &log, QObject *parent = nullptr);
    ~SessionManager() override;

    /// In order of arrival; restored sessions first, newest first.
    [[nodiscard]] const QList<SessionPtr> &sessions() const { return m_sessions; }
    [[nodiscard]] SessionPtr session(const QString &id) const;
    /// The alive session of this directory with the greatest `lastUpdated`; null when there is none.
    [[nodiscard]] SessionPtr latestAliveSession(const QString &directory) const;
    [[nodiscard]] Date launchTime() const { return m_launchTime; }

    /// Brings back the sessions whose process still runs, and catches up with the search index. Once, at start.
    void restoreSessions();
    void handleEvent(const HookEvent &event);
    void checkLiveness();
    void cleanUpSessions();
    void killSession(const SessionPtr &session);
    void markEnded(const SessionPtr &session);
    void saveSession(const SessionPtr &session);

    /// After the user's answer, or after a held request has ended by itself: shows the request that is first now, and
    /// with one held after an answer the session waits again.
    void heldRequestsChanged(const QString &sessionID);

    std::function<void(const SessionPtr &, const HookEvent &)> onNeedsAttention; ///< Unset: dropped.

Q_SIGNALS:
    /// The list, or anything in one of its records that is shown, may have changed.
    void sessionsChanged();

private:
    const Date m_launchTime;
    QList<SessionPtr> m_sessions;
};

} // namespace vantry
