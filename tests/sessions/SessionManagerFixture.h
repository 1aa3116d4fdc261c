#pragma once

#include "hooks/HookEvent.h"
#include "sessions/GitFacts.h"
#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionManager.h"
#include "support/EventBuilder.h"
#include "support/FakeHookConnection.h"
#include "support/FakeProcessChecker.h"
#include "support/FakeSessionStore.h"
#include "support/ManualClock.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>

namespace vantry {

inline void PrintTo(SessionState state, std::ostream *out)
{
    *out << statusString(state).toStdString();
}

} // namespace vantry

namespace vantry::test {

/// A session manager over fakes, with git missing from the machine. The store's journal also notes "publish" and
/// "attention ID".
class SessionManagerFixture : public ::testing::Test
{
protected:
    SessionManagerFixture()
    {
        QObject::connect(&manager, &SessionManager::sessionsChanged, &manager,
                         [this] { store.journal.append(QStringLiteral("publish")); });
        manager.onNeedsAttention = [this](const SessionPtr &session, const HookEvent &event) {
            store.journal.append(QStringLiteral("attention ") + session->id());
            attentionStates.append(session->state());
            EXPECT_EQ(session->id(), event.sessionID);
        };
    }

    void handle(const HookEvent &event) { manager.handleEvent(event); }
    [[nodiscard]] SessionPtr session(const QString &id = QStringLiteral("s")) const { return manager.session(id); }

    /// A live session "s" in this state, with nothing in the journal.
    SessionPtr sessionIn(SessionState state)
    {
        handle(EventBuilder(HookEventType::sessionStart));
        session()->setState(state);
        store.journal.clear();
        return session();
    }
    /// What `ps` would call a live process.
    void startProcess(std::int64_t pid, double startTime = 1'000.25) { processes.processes[pid] = startTime; }
    /// Lets the sampling of diffs that has been started come back. A session in a directory without git gets zeros.
    void finishSampling()
    {
        workers.waitForDone();
        mainQueue.drainAll();
    }
    [[nodiscard]] qsizetype attentionCalls() const { return attentionStates.size(); }

    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    RecordingLog log;
    WorkerPool workers;
    FakeProcessChecker processes;
    FakeSessionStore store;
    GitFacts git { mainQueue, workers, QStringLiteral("/nonexistent/git") };
    PendingPermissionStore held { clock, scheduler, log };
    SessionManager manager { store, processes, git, held, clock, log };
    QList<SessionState> attentionStates; ///< The session's state at each call of onNeedsAttention.
};

} // namespace vantry::test
