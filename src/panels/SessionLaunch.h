#pragma once

#include "base/Clock.h"
#include "base/Scheduler.h"
#include "sessions/SessionManager.h"
#include "terminal/TerminalBridge.h"

#include <QSet>
#include <QString>

#include <functional>

namespace vantry {

/// An agent that was started and hasn't reported yet: a placeholder for its session, and the search for the session
/// itself. The placeholder is never stored. Destroying this ends the search. Main thread only.
class SessionLaunch
{
public:
    struct Services
    {
        const SessionManager &sessionManager;
        const Clock &clock;
        Scheduler &scheduler;
    };
    /// One of the two is called, once, and may destroy the launch.
    struct Outcome
    {
        std::function<void(const SessionPtr &)> found;
        std::function<void()> givenUp;
    };

    /// What is alive now counts as known; so make this before the agent is started.
    SessionLaunch(Services services, const QString &path, TerminalBridge::LaunchMode mode, Outcome outcome);

    [[nodiscard]] const SessionPtr &placeholder() const { return m_placeholder; }

    /// Searches at once, and then again and again, for half a minute from the launch on.
    void startPolling();
    /// While nobody sees the placeholder.
    void stopPolling() { m_timer.cancel(); }

private:
    void poll();
    [[nodiscard]] SessionPtr launchedSession() const;

    const Services m_services;
    const QString m_path; ///< Standardised.
    const TerminalBridge::LaunchMode m_mode;
    const Outcome m_outcome;
    const MonotonicTime m_startedAt;
    const SessionPtr m_placeholder;
    QSet<QString> m_known; ///< Sessions that were alive before.
    ScheduledTimer m_timer;
};

} // namespace vantry
