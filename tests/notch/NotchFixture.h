#pragma once

#include "notch/NotchController.h"
#include "sessions/PendingPermissionStore.h"
#include "support/EventBuilder.h"
#include "support/FakeFullScreenWatch.h"
#include "support/FakeHookConnection.h"
#include "support/FakeNotch.h"
#include "support/FakeProcessChecker.h"
#include "support/FakeScreens.h"
#include "support/FakeSessionLock.h"
#include "support/FakeSessionStore.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace vantry::test {

using namespace Qt::StringLiterals;

/// A session that nobody manages, which needs a permission.
inline SessionPtr looseSession(const QString &id, const std::optional<QString> &projectName = std::nullopt)
{
    VantrySession::Init init;
    init.id = id;
    init.state = SessionState::needsPermission;
    init.projectName = projectName;
    return std::make_shared<VantrySession>(std::move(init));
}

/// A peek panel without a window.
class FakePeekPanel final : public PeekPanel
{
public:
    explicit FakePeekPanel(QStringList &journal)
        : m_journal(journal)
    {}

    void open(const std::shared_ptr<NotchPeekCardModel> &card, const ScreenInfo &screen) override
    {
        m_journal.append(u"open %1 %2"_s.arg(card->session()->id(), screen.name));
        shown = card;
        fading.reset();
    }
    void close(Closing closing) override
    {
        if (!shown)
            return;
        m_journal.append(closing == Closing::AtOnce ? u"close at once"_s : u"close"_s);
        // A card that fades out is still there.
        fading = std::exchange(shown, nullptr);
    }

    std::shared_ptr<NotchPeekCardModel> shown;
    std::shared_ptr<NotchPeekCardModel> fading;

private:
    QStringList &m_journal;
};

/// Notches without windows. What is told to them and to the panel stands in one journal.
class FakeSurfaces final : public NotchSurfaces
{
public:
    [[nodiscard]] std::unique_ptr<DynamicNotchControllable>
    makeNotch(const std::shared_ptr<NotchViewModel> & /*viewModel*/) override
    {
        ++made;
        auto notch = std::make_unique<FakeNotch>(journal);
        current = notch.get();
        return notch;
    }
    void retire(std::unique_ptr<DynamicNotchControllable> notch,
                const std::shared_ptr<NotchViewModel> & /*viewModel*/) override
    {
        notch->hide();
        retired.push_back(std::move(notch));
        current = nullptr;
    }
    [[nodiscard]] PeekPanel &peekPanel() override { return panel; }

    QStringList journal;
    FakePeekPanel panel { journal };
    FakeNotch *current { nullptr }; ///< The one that isn't retired.
    int made { 0 };
    std::vector<std::unique_ptr<DynamicNotchControllable>> retired;
};

/// A controller over real sessions, without a window.
class NotchFixture : public ::testing::Test
{
protected:
    NotchFixture()
    {
        screens.all = { FakeScreens::notched(u"one"_s, QRect(0, 0, 1920, 1080)) };
        QObject::connect(&held, &PendingPermissionStore::pendingChanged, &changes, [this](const QString &sessionID) {
            manager.heldRequestsChanged(sessionID);
            changes.touch(sessionID);
        });
        manager.onNeedsAttention = [this](const SessionPtr &session, const HookEvent &) {
            if (controller)
                controller->sessionNeedsAttention(session);
        };
    }

    [[nodiscard]] NotchController::Surroundings surroundings()
    {
        return { manager, changes, screens, fullScreens.maker(), sessionLock.maker(), mainQueue, scheduler, surfaces };
    }
    [[nodiscard]] SessionCallbacks callbacks()
    {
        SessionCallbacks given;
        given.onFocusSession = [this](const SessionPtr &session) {
            surfaces.journal.append(u"focus "_s + session->id());
            if (onAnswer)
                onAnswer();
        };
        given.onAllowSession = [this](const SessionPtr &session) {
            surfaces.journal.append(u"allow "_s + session->id());
            if (const PendingPermission *request = held.firstHeld(session->id()))
                held.resolve(QUuid(request->id), PermissionDecision::allow);
            manager.answered(session, SessionState::working);
            if (onAnswer)
                onAnswer();
        };
        given.heldRequestID = [this](const SessionPtr &session) {
            const PendingPermission *request = held.firstHeld(session->id());
            return request ? request->id.toString() : QString();
        };
        return given;
    }
    void make() { controller = std::make_unique<NotchController>(surroundings(), callbacks(), nullptr); }
    /// A controller whose notch is compact, and whose first animation has ended.
    void start()
    {
        make();
        controller->start();
        surfaces.current->finish();
        takeJournal();
    }

    /// What was done since the last call.
    QStringList takeJournal() { return std::exchange(surfaces.journal, {}); }
    [[nodiscard]] NotchState state() const { return controller->stateMachine().state(); }
    [[nodiscard]] NotchViewModel &viewModel() { return controller->viewModel(); }
    [[nodiscard]] FakeNotch &notch() { return *surfaces.current; }

    /// An event, as the application takes it.
    void send(const HookEvent &event)
    {
        manager.handleEvent(event);
        if (controller)
            controller->sessionsDidChange();
    }
    SessionPtr begin(const QString &id, const QString &directory = u"/home/u/app"_s)
    {
        send(EventBuilder(HookEventType::sessionStart).session(id).projectDir(directory));
        turn();
        return manager.session(id);
    }
    /// The agent asks whether it may use a tool, and waits for the answer.
    SessionPtr request(const QString &id, const QString &tool = u"Bash"_s, const QString &agent = {})
    {
        EventBuilder event(HookEventType::permissionRequest);
        event.session(id).tool(tool).detail(u"make"_s);
        if (!agent.isEmpty())
            event.agent(agent);
        connections.push_back(std::make_shared<FakeHookConnection>());
        held.add(event, connections.back());
        send(event);
        turn();
        return manager.session(id);
    }
    /// The pointer goes in or out, and stays for so long.
    void hover(bool isHovering, double seconds = 0.15)
    {
        notch().hover(isHovering);
        wait(seconds);
    }
    void turn() { mainQueue.drainAll(); }
    void wait(double seconds)
    {
        scheduler.advance(Seconds { seconds });
        turn();
    }

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
    SessionChanges changes { manager, mainQueue };
    FakeScreens screens;
    FakeFullScreenWatch fullScreens;
    FakeSessionLock sessionLock;
    FakeSurfaces surfaces;
    std::vector<std::shared_ptr<FakeHookConnection>> connections;
    std::function<void()> onAnswer; ///< What else happens while an answer of the user's is carried out.
    std::unique_ptr<NotchController> controller;
};

} // namespace vantry::test
