#pragma once

#include "panels/PanelServices.h"
#include "panels/SessionCallbacks.h"
#include "sessions/PendingPermissionStore.h"
#include "support/EventBuilder.h"
#include "support/FakeHookConnection.h"
#include "support/FakeProcessChecker.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace vantry::test {

using namespace Qt::StringLiterals;

/// What the view models of the panel work with, over a real store in a scratch folder, without git. What they have the
/// application do is kept in `calls`; answers to permission requests are carried out as the application does it.
class PanelFixture : public ::testing::Test
{
protected:
    PanelFixture()
    {
        QObject::connect(&held, &PendingPermissionStore::pendingChanged, &changes, [this](const QString &sessionID) {
            manager.heldRequestsChanged(sessionID);
            changes.touch(sessionID);
        });
        store.queue().sync([this] { store.open(); });
    }

    [[nodiscard]] PanelServices services()
    {
        return { manager, changes, store, git, workers, mainQueue, clock, scheduler, defaults, log, home.path() };
    }
    [[nodiscard]] SessionCallbacks callbacks()
    {
        SessionCallbacks given;
        given.onFocusSession = [this](const SessionPtr &s) { calls.append(u"focus "_s + s->id()); };
        given.onAllowSession = [this](const SessionPtr &s) { answerPermission(s, u"allow "_s); };
        given.onDenySession = [this](const SessionPtr &s, bool stop) {
            answerPermission(s, stop ? u"stop "_s : u"deny "_s);
        };
        given.onAlwaysAllowSession = [this](const SessionPtr &s) { answerPermission(s, u"always "_s); };
        given.hasAlwaysAllowSuggestions = [this](const SessionPtr &s) {
            return held.hasAlwaysAllowSuggestions(s->id());
        };
        given.heldRequestID = [this](const SessionPtr &s) {
            const PendingPermission *request = held.firstHeld(s->id());
            return request ? request->id.toString() : QString();
        };
        given.onAnswerQuestion = [this](const SessionPtr &s, int index) {
            calls.append(u"answer %1 %2"_s.arg(s->id()).arg(index));
        };
        given.onKillSession = [this](const SessionPtr &s) { calls.append(u"kill "_s + s->id()); };
        given.onLaunchClaude = [this](const QString &path, const TerminalBridge::LaunchMode &mode,
                                      const AgentLaunchFlags &flags) {
            QString how = u"fresh"_s;
            if (const auto *resume = std::get_if<TerminalBridge::Resume>(&mode))
                how = u"resume "_s + resume->sessionID;
            else if (std::holds_alternative<TerminalBridge::ContinueLatest>(mode))
                how = u"continue"_s;
            calls.append(u"launch %1 %2 %3"_s.arg(path, how, rawValue(flags.permissionMode)));
        };
        given.refusalOfAnswer = [this](const SessionPtr &, int) { return answerRefusal; };
        given.openSettingsWindow = [this] { calls.append(u"settings"_s); };
        given.quit = [this] { calls.append(u"quit"_s); };
        return given;
    }

    /// A session that the agent has started.
    SessionPtr start(const QString &id, const QString &directory = u"/home/u/app"_s)
    {
        manager.handleEvent(EventBuilder(HookEventType::sessionStart).session(id).projectDir(directory));
        gitWorkers.waitForDone(); // The sample of its diff is back, and changes nothing later.
        turn();
        return manager.session(id);
    }
    SessionPtr startIn(SessionState state, const QString &id)
    {
        SessionPtr session = start(id);
        session->setState(state);
        turn();
        return session;
    }
    /// The agent asks whether it may use a tool, and waits for the answer.
    std::shared_ptr<FakeHookConnection> request(const QString &id, const QString &tool = u"Bash"_s,
                                                const QString &detail = u"make"_s)
    {
        EventBuilder event(HookEventType::permissionRequest);
        event.session(id).tool(tool).detail(detail);
        auto connection = std::make_shared<FakeHookConnection>();
        held.add(event, connection);
        manager.handleEvent(event);
        turn();
        return connection;
    }
    /// An ended session that the store remembers, to be found by these words.
    void remember(const QString &id, const QString &prompts, const QString &directory = u"/home/u/old"_s,
                  const QString &branch = {})
    {
        VantrySession::Init init;
        init.id = id;
        init.state = SessionState::ready;
        init.cwd = directory;
        init.projectName = directory.section(u'/', -1);
        init.lastUpdated = init.startedAt = clock.now();
        VantrySession session(std::move(init));
        session.setGitBranch(branch.isEmpty() ? std::nullopt : std::optional(branch));
        session.setEndedAt(clock.now());
        store.queue().sync([&] { store.save(session); });
        store.updateSearchIndex(id, prompts, std::nullopt, prompts);
    }

    /// One turn of the event loop, and those that follow from it.
    void turn() { mainQueue.drainAll(); }
    /// Lets what runs elsewhere end, and takes it.
    void settle()
    {
        do {
            gitWorkers.waitForDone();
            workers.waitForDone();
            store.queue().sync([] {});
        } while (mainQueue.drainAll() > 0);
    }
    void wait(double seconds)
    {
        scheduler.advance(Seconds { seconds });
        turn();
    }

    QTemporaryDir home;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    RecordingLog log;
    SessionStore store { home.filePath(u"vantry.db"_s), clock, log };
    FakeProcessChecker processes;
    WorkerPool gitWorkers;
    GitFacts git { mainQueue, gitWorkers, u"/nonexistent/git"_s };
    WorkerPool workers;
    PendingPermissionStore held { clock, scheduler, log };
    SessionManager manager { store, processes, git, held, clock, log };
    SessionChanges changes { manager, mainQueue };
    Defaults defaults { home.filePath(u"config.json"_s), mainQueue, log };

    QStringList calls;
    std::optional<QString> answerRefusal;

private:
    void answerPermission(const SessionPtr &session, const QString &call)
    {
        calls.append(call + session->id());
        if (const PendingPermission *request = held.firstHeld(session->id()))
            held.resolve(QUuid(request->id), PermissionDecision::allow);
        manager.answered(session, SessionState::working);
    }
};

} // namespace vantry::test
