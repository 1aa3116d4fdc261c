#include "app/AppDelegate.h"

#include "support/EventBuilder.h"
#include "support/FakeApplications.h"
#include "support/FakeControlEndpoint.h"
#include "support/FakeHookConnection.h"
#include "support/FakeNotificationCentre.h"
#include "support/FakePeerIdentity.h"
#include "support/FakeProcessTable.h"
#include "support/FakeSecretStore.h"
#include "support/FakeSoundPlayer.h"
#include "support/FakeTerminalDriver.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingScriptHost.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <thread>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using test::EventBuilder;
using test::FakeHookConnection;
using ::testing::HasSubstr;

/// The whole application over fakes of the system, with a database and a log of its own. Its listener gets a port that
/// nothing else uses, and is started by the tests that need it alone.
class AppDelegateTest : public ::testing::Test
{
protected:
    static constexpr std::uint16_t port = 47'391;

    AppDelegateTest() { delegate.emplace(paths(), ports(), port); }

    [[nodiscard]] Paths paths() const
    {
        return { .home = home.path(),
                 .dataFolder = home.filePath(u"data"_s),
                 .configFile = home.filePath(u"settings.json"_s),
                 .runtimeFolder = {} };
    }
    [[nodiscard]] AppDelegate::Ports ports()
    {
        AppDelegate::Ports ports { clock,    scheduler,    mainQueue, processes,     peers,
                                   endpoint, applications, scripts,   notifications, { &terminal } };
        ports.sounds = &sounds;
        ports.secrets = &secrets;
        ports.useActivationToken = [this](const QString &token) { activationTokens.append(token); };
        ports.openUrl = [this](const QUrl &url) { return openUrl(url); };
        return ports;
    }

    void launch()
    {
        ASSERT_EQ(delegate->publishControl(), ControlEndpoint::Publication::Published);
        delegate->applicationDidFinishLaunching();
        mainQueue.drainAll();
    }
    void deliver(const HookEvent &event)
    {
        delegate->httpServer().onEventReceived(event);
        mainQueue.drainAll();
    }
    /// As the server delivers a request that is to be held.
    std::shared_ptr<FakeHookConnection> hold(const HookEvent &event)
    {
        auto connection = std::make_shared<FakeHookConnection>();
        delegate->httpServer().onPermissionRequest(event, connection);
        deliver(event);
        return connection;
    }
    [[nodiscard]] static EventBuilder request(const QString &tool = u"Bash"_s)
    {
        EventBuilder event(HookEventType::permissionRequest);
        event.tool(tool);
        return event;
    }

    /// As an agent left it before Vantry was there.
    void leaveTranscript() const
    {
        const QString folder = home.filePath(u".claude/projects/-tmp-shop"_s);
        ASSERT_TRUE(QDir().mkpath(folder));
        QFile file(folder + u"/old.jsonl"_s);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write("{\"type\":\"user\",\"message\":{\"content\":\"Mend it\"}}\n");
    }

    [[nodiscard]] SessionPtr session(const QString &id = u"s"_s) { return delegate->sessionManager().session(id); }
    [[nodiscard]] qsizetype heldRequests() { return delegate->pendingPermissions().pending().size(); }
    [[nodiscard]] std::string logText() const
    {
        QFile file(paths().debugLog());
        return file.open(QFile::ReadOnly) ? file.readAll().toStdString() : std::string();
    }
    /// Where the line stands in the log; fails when it isn't there.
    std::size_t positionInLog(const std::string &line) const
    {
        const auto position = logText().find(line);
        EXPECT_NE(position, std::string::npos) << line << " is missing in\n" << logText();
        return position;
    }

    std::function<std::optional<QString>(const QUrl &)> openUrl { [](const QUrl &) { return std::nullopt; } };
    QTemporaryDir home;
    test::ManualClock clock;
    test::ManualScheduler scheduler { clock };
    test::ManualMainQueue mainQueue;
    test::FakeProcessTable processes;
    test::FakePeerIdentity peers;
    test::FakeControlEndpoint endpoint;
    test::FakeApplications applications;
    test::RecordingScriptHost scripts;
    test::FakeNotificationCentre notifications;
    test::FakeSoundPlayer sounds;
    test::FakeSecretStore secrets;
    QStringList activationTokens;
    test::FakeTerminalDriver terminal;
    std::optional<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, startsInItsOrder)
{
    launch();

    EXPECT_LT(positionInLog("] applicationDidFinishLaunching started\n"), positionInLog("SessionManager: loaded 0"));
    EXPECT_LT(positionInLog("SessionManager: loaded 0"), positionInLog("] HTTP hook server started on port: 47391\n"));
}

TEST_F(AppDelegateTest, goesOnWhenTheListenerCannotStart)
{
    delegate.reset();
    delegate.emplace(paths(), ports(), std::uint16_t { 0 });

    launch();
    deliver(EventBuilder(HookEventType::sessionStart));

    positionInLog("] FAILED to start HTTP hook server: Invalid port number\n");
    EXPECT_TRUE(session());
}

TEST_F(AppDelegateTest, saysOnceThatItCannotBeControlled)
{
    endpoint.publication = ControlEndpoint::Publication::Unavailable;

    EXPECT_EQ(delegate->publishControl(), ControlEndpoint::Publication::Unavailable);
    delegate->applicationDidFinishLaunching();

    positionInLog("can't be controlled from outside\n");
}

TEST_F(AppDelegateTest, touchesNothingBeforeItHasTheName)
{
    endpoint.publication = ControlEndpoint::Publication::NameTaken;

    EXPECT_EQ(delegate->publishControl(), ControlEndpoint::Publication::NameTaken);

    EXPECT_FALSE(QFile::exists(paths().database()));
    EXPECT_EQ(logText(), "");
}

TEST_F(AppDelegateTest, logsEachEventBeforeTheSessionSeesIt)
{
    launch();

    deliver(EventBuilder(HookEventType::legacyStop).session(u"abc"_s));

    EXPECT_LT(positionInLog("+0000] onEvent fired: Stop session=abc\n"),
              positionInLog("Z] SessionManager.handleEvent: type=Stop session=abc\n"));
}

TEST_F(AppDelegateTest, holdsAPermissionRequest)
{
    launch();

    const auto connection = hold(request());

    EXPECT_EQ(heldRequests(), 1);
    EXPECT_EQ(session()->state(), SessionState::needsPermission);
    EXPECT_FALSE(connection->status);
}

TEST_F(AppDelegateTest, dismissesAllRequestsOfASessionThatEnds)
{
    launch();
    const auto first = hold(request());
    const auto second = hold(request().agent(u"helper"_s));
    const auto other = hold(request().session(u"other"_s));

    deliver(EventBuilder(HookEventType::sessionEnd));

    EXPECT_EQ(heldRequests(), 1);
    EXPECT_FALSE(first->status || second->status || first->cancelled || second->cancelled);
    EXPECT_FALSE(other->cancelled);
}

TEST_F(AppDelegateTest, dismissesAllRequestsOfASessionWhoseTaskIsCompleted)
{
    launch();
    hold(request());
    hold(request().agent(u"helper"_s));

    deliver(EventBuilder(HookEventType::taskCompleted));

    EXPECT_EQ(heldRequests(), 0);
}

TEST_F(AppDelegateTest, dismissesTheRequestOfTheAgentThatWasInterrupted)
{
    launch();
    hold(request());
    hold(request(u"Write"_s).agent(u"helper"_s));

    deliver(EventBuilder(HookEventType::postToolUseFailure).interrupt(true));

    ASSERT_EQ(heldRequests(), 1);
    EXPECT_EQ(delegate->pendingPermissions().pending().first().event.agentId, u"helper"_s);
}

TEST_F(AppDelegateTest, dismissesNothingWhenASessionThatDidNotWaitIsInterrupted)
{
    launch();
    hold(request());
    session()->setState(SessionState::working);

    deliver(EventBuilder(HookEventType::postToolUseFailure).interrupt(true));

    EXPECT_EQ(heldRequests(), 1);
}

TEST_F(AppDelegateTest, dismissesNothingForAnEventWithoutAnInterrupt)
{
    launch();
    hold(request());

    deliver(EventBuilder(HookEventType::notification).interrupt(false));

    EXPECT_EQ(heldRequests(), 1);
}

TEST_F(AppDelegateTest, announcesTheChangesOfATurnOnce)
{
    launch();

    delegate->httpServer().onEventReceived(EventBuilder(HookEventType::sessionStart));
    delegate->httpServer().onEventReceived(EventBuilder(HookEventType::userPromptSubmit).prompt(u"Hello"_s));
    mainQueue.drainAll();

    ASSERT_EQ(endpoint.changed.size(), 1);
    EXPECT_TRUE(endpoint.changed.first().contains(u"\"state\":\"working\""));
}

TEST_F(AppDelegateTest, announcesThatARequestHasEndedByItself)
{
    launch();
    const auto connection = hold(request());
    endpoint.changed.clear();

    connection->closeFromPeer();
    mainQueue.drainAll();

    ASSERT_EQ(endpoint.changed.size(), 1);
    EXPECT_TRUE(endpoint.changed.first().contains(u"\"heldPermissions\":0"));
}

TEST_F(AppDelegateTest, announcesWhatLeavesTheList)
{
    launch();
    deliver(EventBuilder(HookEventType::sessionStart));
    deliver(EventBuilder(HookEventType::sessionEnd));

    scheduler.advance(Seconds { 600 });
    mainQueue.drainAll();

    EXPECT_EQ(endpoint.removed, QStringList { u"s"_s });
}

TEST_F(AppDelegateTest, checksEveryTenSecondsWhetherAgentsStillLive)
{
    processes.processes.insert(4711, { .startTime = 1000, .parent = 1, .commandName = {} });
    launch();
    deliver(EventBuilder(HookEventType::sessionStart).pid(4711));
    processes.processes.clear();

    scheduler.advance(Seconds { 9.9 });
    EXPECT_TRUE(session()->isAlive());
    scheduler.advance(Seconds { 0.1 });
    EXPECT_FALSE(session()->isAlive());
}

TEST_F(AppDelegateTest, readsOldTranscriptsAndTellsHowFarItIs)
{
    leaveTranscript();

    launch();

    const auto isComplete = [this] {
        const Defaults &defaults = delegate->defaults();
        return defaults.boolean(u"transcriptIndexer.reindexV2"_s, false) &&
               !defaults.boolean(u"transcriptIndexer.rebuilding"_s, false);
    };
    while (!isComplete())
        ASSERT_TRUE(mainQueue.drainWhenPosted());
    EXPECT_EQ(endpoint.backfill.last(), (std::pair { 1U, 1U }));
    EXPECT_LT(positionInLog("SessionManager: loaded 0"), positionInLog("TranscriptIndexer: backfilled 1 sessions"));
}

TEST_F(AppDelegateTest, endsWhileOldTranscriptsAreRead)
{
    leaveTranscript();

    delegate->applicationDidFinishLaunching();
    delegate->applicationWillTerminate();
    delegate.reset();
    mainQueue.drainAll();

    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(AppDelegateTest, looksAtTheTranscriptsOfLiveSessionsEvery15Seconds)
{
    const auto looks = [this] {
        return QByteArray::fromStdString(logText()).count("TranscriptReader: checking 0 alive sessions");
    };
    launch();
    EXPECT_EQ(looks(), 1);
    EXPECT_LT(positionInLog("HTTP hook server started on port"), positionInLog("TranscriptReader: checking"));

    scheduler.advance(Seconds { 14.9 });
    EXPECT_EQ(looks(), 1);
    scheduler.advance(Seconds { 0.2 });
    EXPECT_EQ(looks(), 2);
}

TEST_F(AppDelegateTest, endsInItsOrder)
{
    launch();
    const auto connection = hold(request());

    delegate->applicationWillTerminate();

    positionInLog("HTTPHookServer: stopped\n");
    EXPECT_TRUE(connection->cancelled);
    EXPECT_FALSE(connection->status) << "no answer is invented";
    EXPECT_EQ(heldRequests(), 0);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    EXPECT_EQ(endpoint.withdrawals, 1);
}

TEST_F(AppDelegateTest, telegramBeginsEachStartWithoutItsSettings)
{
    EXPECT_EQ(secrets.calls, (QStringList { u"telegram_bot_token="_s, u"telegram_chat_id="_s }));
    EXPECT_FALSE(delegate->defaults().boolean(u"telegram_paused"_s, true));
    EXPECT_FALSE(delegate->telegramService().isConfigured());
}

TEST_F(AppDelegateTest, telegramHasNoCallbacks)
{
    launch();
    const TelegramService &telegram = delegate->telegramService();
    EXPECT_FALSE(telegram.onReply || telegram.onAllow || telegram.onAnswerQuestion || telegram.onNewSession ||
                 telegram.onTopicCreated || telegram.sessionProvider);
    EXPECT_EQ(delegate->panelServices().telegramService, &telegram);
}

TEST_F(AppDelegateTest, telegramIsPausedAndPollsUntilTheEnd)
{
    launch();
    TelegramService &telegram = delegate->telegramService();
    telegram.setBotToken(u"1 2"_s); // Which makes no address.
    telegram.setChatID(u"7"_s);
    EXPECT_TRUE(telegram.isPolling());
    delegate->toggleTelegramPause();
    EXPECT_TRUE(telegram.isPaused());
    EXPECT_FALSE(telegram.isPolling());
    EXPECT_TRUE(delegate->defaults().boolean(u"telegram_paused"_s, false));
    delegate->toggleTelegramPause();
    EXPECT_TRUE(telegram.isPolling());
    mainQueue.drainAll(); // It waits for its next poll.

    delegate->applicationWillTerminate();

    EXPECT_FALSE(telegram.isPolling());
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    EXPECT_EQ(telegram.botToken(), u"1 2"_s);
}

TEST_F(AppDelegateTest, bringsLiveSessionsBackAtTheNextStart)
{
    processes.processes.insert(4711, { .startTime = 1000, .parent = 1, .commandName = {} });
    launch();
    deliver(EventBuilder(HookEventType::userPromptSubmit).pid(4711).prompt(u"Go on"_s));
    deliver(EventBuilder(HookEventType::userPromptSubmit).session(u"gone"_s));
    delegate->applicationWillTerminate();

    delegate.reset();
    delegate.emplace(paths(), ports(), port);
    launch();

    ASSERT_EQ(delegate->sessionManager().sessions().size(), 1);
    EXPECT_EQ(session()->lastPrompt(), u"Go on"_s);
}

TEST_F(AppDelegateTest, thePanelAnswersRequests)
{
    launch();
    const auto connection = hold(request());
    const SessionCallbacks callbacks = delegate->sessionCallbacks();
    EXPECT_FALSE(callbacks.heldRequestID(session()).isEmpty());
    callbacks.onAllowSession(session());

    EXPECT_TRUE(connection->status);
    EXPECT_EQ(heldRequests(), 0);
    EXPECT_EQ(&delegate->panelServices().sessionManager, &delegate->sessionManager());
    EXPECT_EQ(delegate->panelServices().home, home.path());
}

TEST_F(AppDelegateTest, soundsFollowTheStateThatTheEventItselfBrings)
{
    launch();
    EventBuilder prompt(HookEventType::notification);
    prompt.notification(NotificationType::permissionPrompt).message(u"Claude needs your permission to use Bash"_s);

    deliver(prompt);

    ASSERT_TRUE(session());
    ASSERT_EQ(session()->state(), SessionState::needsPermission);
    EXPECT_EQ(sounds.played, QStringList { u"named Blow"_s });
    positionInLog("SoundService: playing permissionPrompt\n");
}

TEST_F(AppDelegateTest, withoutAPlayerThereAreNoSounds)
{
    delegate.reset();
    AppDelegate::Ports silent = ports();
    silent.sounds = nullptr;
    delegate.emplace(paths(), silent, port);
    launch();

    deliver(EventBuilder(HookEventType::notification).notification(NotificationType::taskComplete));

    EXPECT_TRUE(sounds.played.isEmpty());
}

TEST_F(AppDelegateTest, anEventThatNeedsTheUserMakesANotification)
{
    launch();
    ASSERT_EQ(notifications.categories.size(), 2);
    deliver(EventBuilder(HookEventType::preToolUse).tool(u"Bash"_s));
    EXPECT_TRUE(notifications.requests.isEmpty());
    hold(request());
    EXPECT_EQ(notifications.shown(), QStringList { u"Permission Required"_s });
}

TEST_F(AppDelegateTest, aNotificationAnswersItsRequest)
{
    launch();
    const auto allowed = hold(request());
    notifications.respond(notifications.requests.last(), u"ALLOW_PERMISSION"_s);
    EXPECT_THAT(allowed->body, HasSubstr("\"allow\""));
    EXPECT_EQ(session()->state(), SessionState::working);

    clock.advance(NotificationService::cooldownInterval);
    const auto denied = hold(request());
    notifications.respond(notifications.requests.last(), u"DENY_PERMISSION"_s);
    EXPECT_THAT(denied->body, HasSubstr("\"deny\""));
    EXPECT_EQ(session()->state(), SessionState::working) << "the agent goes on";
    EXPECT_EQ(notifications.requests.size(), 2);
}

TEST_F(AppDelegateTest, aClickOnANotificationBringsTheTerminalForward)
{
    launch();
    deliver(EventBuilder(HookEventType::stop).terminal(u"fake"_s, u"1"_s));
    notifications.respond(notifications.requests.last(), u"default"_s, u"leave_TIME7"_s);
    positionInLog("TerminalBridge");
    EXPECT_EQ(activationTokens, QStringList { u"leave_TIME7"_s });
}

TEST_F(AppDelegateTest, aNotificationGoesWhenItsRequestWasAnsweredElsewhere)
{
    launch();
    hold(request());
    delegate->sessionActions().allow(u"s"_s);
    EXPECT_TRUE(notifications.shown().isEmpty());
}

TEST_F(AppDelegateTest, aNotificationGoesWhenTheAgentHasGone)
{
    launch();
    const auto connection = hold(request());
    connection->closeFromPeer();
    EXPECT_TRUE(notifications.shown().isEmpty());
    deliver(EventBuilder(HookEventType::stop));
    scheduler.advance(Seconds { 15 });
    deliver(EventBuilder(HookEventType::stop));
    deliver(EventBuilder(HookEventType::sessionEnd));
    EXPECT_EQ(notifications.shown(), QStringList { u"Your Turn"_s }) << "what was done stays to be read";
}

TEST_F(AppDelegateTest, aLinkIsOpenedWithoutTheMainThreadWaiting)
{
    std::thread::id opener;
    openUrl = [&opener](const QUrl &url) {
        opener = std::this_thread::get_id();
        return std::optional<QString>(u"no program for "_s + url.toString());
    };
    delegate->sessionCallbacks().openUrl(QUrl(u"https://example.com"_s));
    delegate->panelServices().workers.waitForDone();

    EXPECT_NE(opener, std::thread::id());
    EXPECT_NE(opener, std::this_thread::get_id());
    EXPECT_THAT(logText(), HasSubstr("AppDelegate: a link can't be opened: no program for https://example.com\n"));
}

} // namespace
} // namespace vantry
