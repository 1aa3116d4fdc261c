#pragma once

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "hooks/HookEvent.h"
#include "sessions/GitFacts.h"
#include "sessions/HeldRequestOverlay.h"
#include "sessions/LiveProcessChecker.h"
#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionActivity.h"
#include "sessions/SessionStore.h"
#include "sessions/VantrySession.h"

#include <QList>
#include <QObject>

#include <cstdint>
#include <functional>
#include <optional>

namespace vantry {

/// Owns the list of live sessions and turns the stream of hook events into their state. Every event is saved at once.
/// How held permission requests cover what the events say is told at HeldRequestOverlay. Main thread only.
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
    /// Waits for the store. A placeholder is never saved.
    void saveSession(const SessionPtr &session);

    /// After the user's answer to a permission request: the session goes to the state `next` (`working`, or `ready`
    /// when the agent was stopped) and its tool is cleared; with another request held it waits again, for that one.
    void answered(const SessionPtr &session, SessionState next);
    /// The transcript shows that the turn of a session in `working` is over, of which no event has told: it goes to
    /// `ready`.
    void turnEnded(const SessionPtr &session);
    /// After requests of the session have come or ended: shows the one that is first now.
    void heldRequestsChanged(const QString &sessionID);

    std::function<void(const SessionPtr &, const HookEvent &)> onNeedsAttention; ///< Unset: dropped.

Q_SIGNALS:
    /// The list, or anything in one of its records that is shown, may have changed.
    void sessionsChanged();

private:
    void startSession(const HookEvent &event);
    void updateSession(const HookEvent &event);

    [[nodiscard]] SessionPtr makeSession(const HookEvent &event, SessionState state);
    [[nodiscard]] SessionPtr sessionForEvent(const HookEvent &event);
    void applyCommonFields(const HookEvent &event, VantrySession &session);
    [[nodiscard]] std::optional<std::int64_t> usablePid(std::optional<std::int64_t> pid, const QString &sessionID);
    EventReaction moveState(const HookEvent &event, VantrySession &session);
    void retireDuplicates(std::int64_t pid, const QString &keepingID);
    /// Not alive and `ready`; the rest of what the end of a session sets differs from case to case.
    void finish(VantrySession &session);
    void updateSearchIndex(const VantrySession &session);
    void sampleGitDiff(const SessionPtr &session);
    void publish();

    [[nodiscard]] bool isRunning(std::optional<std::int64_t> pid, std::optional<double> startTime) const;
    [[nodiscard]] bool isStillAlive(const VantrySession &session) const;
    void resolvePidConflicts();
    void catchUpWithIndex(const QList<SessionPtr> &rows);

    SessionStoring &m_store;
    ProcessChecking &m_processChecker;
    GitFacts &m_git;
    const Clock &m_clock;
    Log &m_log;
    const Date m_launchTime;
    QList<SessionPtr> m_sessions;
    HeldRequestOverlay m_overlay;
};

} // namespace vantry
