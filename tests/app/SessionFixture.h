#pragma once

#include "app/SessionActions.h"
#include "base/WorkerPool.h"
#include "sessions/SessionManager.h"
#include "support/EventBuilder.h"
#include "support/FakeApplications.h"
#include "support/FakeHookConnection.h"
#include "support/FakeProcessChecker.h"
#include "support/FakeSessionStore.h"
#include "support/FakeTerminalDriver.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"
#include "support/RecordingScriptHost.h"

#include <gtest/gtest.h>

namespace vantry::test {

using namespace Qt::StringLiterals;

/// A manager and held requests over fakes, and what acts on them.
class SessionFixture : public ::testing::Test
{
protected:
    std::shared_ptr<FakeHookConnection> hold(EventBuilder event)
    {
        auto connection = std::make_shared<FakeHookConnection>();
        held.add(event, connection);
        manager.handleEvent(event);
        return connection;
    }
    [[nodiscard]] static EventBuilder request(const QString &tool = u"Bash"_s)
    {
        EventBuilder event(HookEventType::permissionRequest);
        event.tool(tool);
        return event;
    }
    /// The terminal asks: the session waits and no request is held.
    void askInTerminal() { manager.handleEvent(request()); }
    /// The session "s" runs in a terminal of this type.
    void runIn(const QString &terminalType, const QString &terminalSessionID = u"7"_s)
    {
        manager.handleEvent(EventBuilder(HookEventType::sessionStart).terminal(terminalType, terminalSessionID));
    }
    /// Lets terminals work and time pass until the condition holds; false when it does not.
    template <typename Condition>
    [[nodiscard]] bool eventually(Condition condition)
    {
        for (int turn = 0; turn < 10'000 && !condition(); ++turn) {
            scheduler.advance(Seconds { 0.1 });
            mainQueue.drainWhenPosted(std::chrono::milliseconds { 1 });
        }
        return condition();
    }
    [[nodiscard]] SessionPtr session() const { return manager.session(u"s"_s); }

    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    RecordingLog log;
    FakeSessionStore store;
    FakeProcessChecker processes;
    WorkerPool workers;
    GitFacts git { mainQueue, workers, u"/nonexistent/git"_s };
    PendingPermissionStore held { clock, scheduler, log };
    SessionManager manager { store, processes, git, held, clock, log };
    RecordingScriptHost scripts;
    FakeApplications applications;
    FakeTerminalDriver terminal;
    TerminalBridge bridge { { .mainQueue = mainQueue,
                              .scheduler = scheduler,
                              .log = log,
                              .scripts = scripts,
                              .applications = applications,
                              .drivers = { &terminal },
                              .liveSessions = [this] { return manager.sessions(); } },
                            u"/usr/bin/python3"_s };
    SessionActions actions { { manager, held, bridge, scheduler, log } };
};

} // namespace vantry::test
