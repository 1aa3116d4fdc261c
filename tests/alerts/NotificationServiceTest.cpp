#include "alerts/NotificationService.h"

#include "base/Defaults.h"
#include "sessions/PendingPermissionStore.h"
#include "support/EventBuilder.h"
#include "support/FakeHookConnection.h"
#include "support/FakeNotificationCentre.h"
#include "support/ManualClock.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using Type = NotificationType;
using State = SessionState;
using Urgency = NotificationCentre::Urgency;

class NotificationServiceTest : public ::testing::Test
{
protected:
    NotificationServiceTest()
    {
        service.emplace(NotificationService::Services { centre, held, defaults, clock },
                        [this](const QString &line) { printed.append(line); });
        service->configure([this](const QString &id) { calls.append(u"focus "_s + id); },
                           [this](const QString &id) { calls.append(u"allow "_s + id); },
                           [this](const QString &id) { calls.append(u"deny "_s + id); });
    }

    static SessionPtr makeSession(State state, const QString &id = u"s"_s)
    {
        VantrySession::Init init;
        init.id = id;
        init.state = state;
        return std::make_shared<VantrySession>(std::move(init));
    }
    static EventBuilder typed(Type type)
    {
        EventBuilder event(HookEventType::notification);
        event.notification(type);
        return event;
    }
    /// The text that an event of a fresh session in this state gives; empty when there is none.
    QString textOf(const SessionPtr &session, const HookEvent &event)
    {
        centre.requests.clear();
        clock.advance(NotificationService::cooldownInterval);
        service->notify(session, event);
        if (centre.requests.isEmpty())
            return {};
        return centre.requests.last().title + u" | "_s + centre.requests.last().body;
    }
    /// Whether the event makes a notification now.
    bool notifies(const SessionPtr &session, const HookEvent &event)
    {
        const auto before = centre.requests.size();
        service->notify(session, event);
        return centre.requests.size() > before;
    }
    std::shared_ptr<FakeHookConnection> hold(const HookEvent &event)
    {
        auto connection = std::make_shared<FakeHookConnection>();
        held.add(event, connection);
        return connection;
    }
    static EventBuilder request(const QString &tool = u"Bash"_s)
    {
        EventBuilder event(HookEventType::permissionRequest);
        event.tool(tool);
        return event;
    }

    QTemporaryDir folder;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    RecordingLog log;
    Defaults defaults { folder.filePath(u"settings.json"_s), mainQueue, log };
    PendingPermissionStore held { clock, scheduler, log };
    FakeNotificationCentre centre;
    QStringList printed;
    QStringList calls;
    std::optional<NotificationService> service;
};

TEST_F(NotificationServiceTest, registersItsTwoCategories)
{
    using Options = NotificationCentre::Action::Options;
    ASSERT_EQ(centre.categories.size(), 2);
    const auto &session = centre.categories[0];
    EXPECT_EQ(session.identifier, u"VANTRY_SESSION_ACTION"_s);
    ASSERT_EQ(session.actions.size(), 1);
    EXPECT_EQ(session.actions[0].identifier, u"FOCUS_SESSION"_s);
    EXPECT_EQ(session.actions[0].title, u"Focus Session"_s);
    EXPECT_EQ(session.actions[0].options, Options::Foreground);
    const auto &permission = centre.categories[1];
    EXPECT_EQ(permission.identifier, u"VANTRY_PERMISSION_ACTION"_s);
    ASSERT_EQ(permission.actions.size(), 2);
    EXPECT_EQ(permission.actions[0].identifier, u"ALLOW_PERMISSION"_s);
    EXPECT_EQ(permission.actions[0].title, u"Allow"_s);
    EXPECT_EQ(permission.actions[0].options, Options::None);
    EXPECT_EQ(permission.actions[1].identifier, u"DENY_PERMISSION"_s);
    EXPECT_EQ(permission.actions[1].title, u"Deny"_s);
    EXPECT_EQ(permission.actions[1].options, Options::Destructive);
}

TEST_F(NotificationServiceTest, printsWhyItMayNotShowAnything)
{
    ASSERT_EQ(centre.authorizing.size(), 1U);
    const auto &done = centre.authorizing.front();
    done(true, std::nullopt);
    EXPECT_TRUE(printed.isEmpty());
    done(false, u"no server"_s);
    done(false, std::nullopt);
    EXPECT_EQ(printed, (QStringList { u"[Vantry] Notification auth error: no server"_s,
                                      u"[Vantry] Notification permission not granted"_s }));
    EXPECT_TRUE(notifies(makeSession(State::ready), EventBuilder(HookEventType::stop)));
}

TEST_F(NotificationServiceTest, printsThatADeliveryFailedAndCountsItAllTheSame)
{
    const auto session = makeSession(State::ready);
    ASSERT_TRUE(notifies(session, EventBuilder(HookEventType::stop)));
    centre.failures.front()(u"no room"_s);
    EXPECT_EQ(printed, QStringList { u"[Vantry] Failed to deliver notification: no room"_s });
    EXPECT_FALSE(notifies(session, EventBuilder(HookEventType::stop)));
    session->setState(State::working);
    EXPECT_TRUE(centre.removed.isEmpty()) << "there is nothing to take away";
}

// Titles and bodies

TEST_F(NotificationServiceTest, aPermissionPromptPrefersWhatTheSessionSays)
{
    const auto session = makeSession(State::needsPermission);
    session->setToolName(u"Bash"_s);
    session->setToolDetail(u"make install"_s);
    const EventBuilder event = typed(Type::permissionPrompt).tool(u"Write"_s).message(u"Claude needs you"_s);
    EXPECT_EQ(textOf(session, event), u"Permission Required | Bash: make install"_s);
    session->setToolDetail(std::nullopt);
    EXPECT_EQ(textOf(session, event), u"Permission Required | Approve Bash?"_s);
    session->setToolName(std::nullopt);
    EXPECT_EQ(textOf(session, event), u"Permission Required | Approve Write?"_s);
    session->setToolDetail(u"/etc/hosts"_s);
    EXPECT_EQ(textOf(session, event), u"Permission Required | Write: /etc/hosts"_s);
    EXPECT_EQ(textOf(session, typed(Type::permissionPrompt).message(u"Claude needs you"_s)),
              u"Permission Required | Claude needs you"_s);
    EXPECT_EQ(textOf(session, typed(Type::permissionPrompt)),
              u"Permission Required | Claude Code needs your approval"_s);
}

TEST_F(NotificationServiceTest, eachTypeHasItsTitleAndItsWordsForNoMessage)
{
    const auto session = makeSession(State::ready);
    EXPECT_EQ(textOf(session, typed(Type::idlePrompt)), u"Waiting for Input | Claude Code is waiting for your input"_s);
    EXPECT_EQ(textOf(session, typed(Type::taskComplete)), u"Task Complete | Claude Code finished the task"_s);
    EXPECT_EQ(textOf(session, typed(Type::elicitationDialog)), u"Question | Claude Code is asking you a question"_s);
    EXPECT_EQ(textOf(session, typed(Type::authSuccess)), u"Authenticated | Authentication completed"_s);
    for (const Type type : { Type::idlePrompt, Type::taskComplete, Type::elicitationDialog, Type::authSuccess })
        EXPECT_TRUE(textOf(session, typed(type).message(u"Well, well"_s)).endsWith(u" | Well, well"));
    EXPECT_EQ(textOf(session, typed(Type::taskComplete).message(u""_s)), u"Task Complete | "_s)
        << "an empty message is one";
}

TEST_F(NotificationServiceTest, anUntypedPermissionIsAskedForWithoutDetailAndMessage)
{
    const auto session = makeSession(State::needsPermission);
    session->setToolName(u"Bash"_s);
    session->setToolDetail(u"make install"_s);
    EXPECT_EQ(textOf(session, request(u"Write"_s).message(u"Please"_s)), u"Permission Required | Approve Bash?"_s);
    session->setToolName(std::nullopt);
    EXPECT_EQ(textOf(session, request(u"Write"_s)), u"Permission Required | Approve Write?"_s);
    EXPECT_EQ(textOf(session, EventBuilder(HookEventType::stop).message(u"Please"_s)),
              u"Permission Required | Claude Code needs your approval"_s);
}

TEST_F(NotificationServiceTest, anUntypedEventTellsOfATurnOrOfAttention)
{
    const auto session = makeSession(State::ready);
    EXPECT_EQ(textOf(session, EventBuilder(HookEventType::stop)),
              u"Your Turn | Claude Code is waiting for your input"_s);
    EXPECT_EQ(textOf(session, EventBuilder(HookEventType::legacyStop).message(u"Done."_s)), u"Your Turn | Done."_s);
    EXPECT_EQ(textOf(session, EventBuilder(HookEventType::preToolUse)), u"Claude Code | Needs attention"_s);
    EXPECT_EQ(textOf(session, EventBuilder(HookEventType::preToolUse).message(u"Look"_s)), u"Claude Code | Look"_s);
}

// What a request holds

TEST_F(NotificationServiceTest, aRequestNamesItsSessionAndItsTime)
{
    clock.setWallClock(Date { std::chrono::seconds { 1'700'000'000 } });
    service->notify(makeSession(State::ready, u"abc"_s), EventBuilder(HookEventType::stop));
    clock.setWallClock(Date { std::chrono::seconds { 1'700'000'100 } });
    service->notify(makeSession(State::ready, u"abc"_s), EventBuilder(HookEventType::stop));
    ASSERT_EQ(centre.requests.size(), 2);
    EXPECT_EQ(centre.requests[0].identifier, u"vantry-abc-1700000000.0"_s);
    EXPECT_EQ(centre.requests[1].identifier, u"vantry-abc-1700000100.0"_s);
    EXPECT_EQ(centre.requests[0].userInfo, (QVariantMap { { u"session_id"_s, u"abc"_s } }));
}

TEST_F(NotificationServiceTest, allowAndDenyAreOfferedForPermissionsAlone)
{
    service->notify(makeSession(State::ready, u"a"_s), typed(Type::permissionPrompt));
    service->notify(makeSession(State::needsPermission, u"b"_s), EventBuilder(HookEventType::stop));
    service->notify(makeSession(State::ready, u"c"_s), EventBuilder(HookEventType::stop));
    service->notify(makeSession(State::hasQuestion, u"d"_s), typed(Type::elicitationDialog));
    service->notify(makeSession(State::ready, u"e"_s), typed(Type::authSuccess));
    ASSERT_EQ(centre.requests.size(), 5);
    const QString session = u"VANTRY_SESSION_ACTION"_s;
    const QString permission = u"VANTRY_PERMISSION_ACTION"_s;
    EXPECT_EQ(centre.requests[0].categoryIdentifier, permission);
    EXPECT_EQ(centre.requests[1].categoryIdentifier, permission);
    EXPECT_EQ(centre.requests[2].categoryIdentifier, session);
    EXPECT_EQ(centre.requests[3].categoryIdentifier, session);
    EXPECT_EQ(centre.requests[0].urgency, Urgency::Critical);
    EXPECT_EQ(centre.requests[1].urgency, Urgency::Critical);
    EXPECT_EQ(centre.requests[2].urgency, Urgency::Normal);
    EXPECT_EQ(centre.requests[3].urgency, Urgency::Normal);
    EXPECT_EQ(centre.requests[4].urgency, Urgency::Low);
}

TEST_F(NotificationServiceTest, theDesktopIsSilentWhileOurOwnSoundsRing)
{
    const auto session = makeSession(State::ready);
    textOf(session, EventBuilder(HookEventType::stop));
    EXPECT_TRUE(centre.requests.last().isSilent);
    defaults.setBoolean(u"sounds_enabled"_s, false);
    textOf(session, EventBuilder(HookEventType::stop));
    EXPECT_FALSE(centre.requests.last().isSilent);
}

// What becomes a notification

TEST_F(NotificationServiceTest, nothingIsShownWhileNotificationsAreOff)
{
    defaults.setBoolean(u"notifications_enabled"_s, false);
    const auto session = makeSession(State::ready);
    EXPECT_FALSE(notifies(session, EventBuilder(HookEventType::stop)));
    defaults.setBoolean(u"notifications_enabled"_s, true);
    EXPECT_TRUE(notifies(session, EventBuilder(HookEventType::stop))) << "nothing was recorded";
}

TEST_F(NotificationServiceTest, aSettingOfAnotherTypeCountsAsOn)
{
    for (const auto &key : { u"notifications_enabled"_s, u"notify_permission"_s })
        defaults.setString(key, u"false"_s);
    EXPECT_TRUE(notifies(makeSession(State::ready), typed(Type::permissionPrompt)));
}

TEST_F(NotificationServiceTest, nothingIsShownWhileThePanelIsOpen)
{
    const auto session = makeSession(State::ready);
    service->isPopoverVisible = true;
    EXPECT_FALSE(notifies(session, EventBuilder(HookEventType::stop)));
    service->isPopoverVisible = false;
    EXPECT_TRUE(notifies(session, EventBuilder(HookEventType::stop)));
}

TEST_F(NotificationServiceTest, eachKeySilencesItsTypeAlone)
{
    const QList<std::pair<QString, Type>> keys { { u"notify_question"_s, Type::elicitationDialog },
                                                 { u"notify_taskComplete"_s, Type::taskComplete },
                                                 { u"notify_permission"_s, Type::permissionPrompt } };
    const QList<Type> all { Type::permissionPrompt, Type::idlePrompt, Type::taskComplete, Type::elicitationDialog,
                            Type::authSuccess };
    int number = 0;
    for (const auto &[key, silenced] : keys) {
        defaults.setBoolean(key, false);
        for (const Type type : all)
            EXPECT_EQ(notifies(makeSession(State::ready, QString::number(++number)), typed(type)), type != silenced)
                << key.toStdString();
        defaults.remove(key);
    }
}

TEST_F(NotificationServiceTest, withoutQuestionsAStopWithOneIsSilentAndAnyOtherIsNot)
{
    defaults.setBoolean(u"notify_question"_s, false);
    EXPECT_EQ(textOf(makeSession(State::hasQuestion), EventBuilder(HookEventType::stop)), QString());
    EXPECT_EQ(textOf(makeSession(State::hasQuestion), EventBuilder(HookEventType::legacyStop)), QString());
    EXPECT_EQ(textOf(makeSession(State::ready), EventBuilder(HookEventType::stop)),
              u"Your Turn | Claude Code is waiting for your input"_s);
    EXPECT_NE(textOf(makeSession(State::hasQuestion), EventBuilder(HookEventType::preToolUse)), QString())
        << "no stop, no key";
}

TEST_F(NotificationServiceTest, withoutPermissionsTheUntypedOneIsShownAllTheSame)
{
    defaults.setBoolean(u"notify_permission"_s, false);
    EXPECT_EQ(textOf(makeSession(State::needsPermission), request()), u"Permission Required | Approve Bash?"_s);
}

// The cooldown

TEST_F(NotificationServiceTest, twoPromptsWithin15SecondsGiveOneForASessionAndTwoForTwo)
{
    const auto one = makeSession(State::needsPermission, u"1"_s);
    const auto other = makeSession(State::needsPermission, u"2"_s);
    EXPECT_TRUE(notifies(one, typed(Type::permissionPrompt)));
    clock.advance(Seconds { 14 });
    EXPECT_FALSE(notifies(one, typed(Type::permissionPrompt)));
    EXPECT_TRUE(notifies(other, typed(Type::permissionPrompt)));
}

TEST_F(NotificationServiceTest, allKindsShareASessionsCooldown)
{
    const auto session = makeSession(State::needsPermission);
    EXPECT_TRUE(notifies(session, typed(Type::permissionPrompt)));
    clock.advance(Seconds { 5 });
    EXPECT_FALSE(notifies(session, typed(Type::taskComplete)));
}

TEST_F(NotificationServiceTest, atExactly15SecondsTheNextOneGoesOut)
{
    const auto session = makeSession(State::ready);
    EXPECT_TRUE(notifies(session, EventBuilder(HookEventType::stop)));
    clock.advance(Seconds { 14.999 });
    EXPECT_FALSE(notifies(session, EventBuilder(HookEventType::stop)));
    clock.advance(Seconds { 0.001 });
    EXPECT_TRUE(notifies(session, EventBuilder(HookEventType::stop))) << "what was suppressed moved nothing";
}

TEST_F(NotificationServiceTest, aClockThatIsSetBackSilencesNobody)
{
    const auto session = makeSession(State::ready);
    EXPECT_TRUE(notifies(session, EventBuilder(HookEventType::stop)));
    clock.setWallClock(clock.now() - std::chrono::hours { 1 });
    EXPECT_TRUE(notifies(session, EventBuilder(HookEventType::stop)));
    EXPECT_FALSE(notifies(session, EventBuilder(HookEventType::stop)));
}

// Clicks

TEST_F(NotificationServiceTest, clicksGoWhereTheyBelong)
{
    const auto session = makeSession(State::needsPermission, u"abc"_s);
    for (const QString &action :
         { u"ALLOW_PERMISSION"_s, u"DENY_PERMISSION"_s, u"FOCUS_SESSION"_s, u"default"_s, u"anything"_s, u""_s }) {
        textOf(session, request());
        centre.respond(centre.requests.last(), action);
    }
    EXPECT_EQ(calls, (QStringList { u"allow abc"_s, u"deny abc"_s, u"focus abc"_s, u"focus abc"_s, u"focus abc"_s,
                                    u"focus abc"_s }));
}

TEST_F(NotificationServiceTest, aClickWithoutASessionCallsBackAllTheSame)
{
    centre.delegate->didReceive({ u"x"_s, u"default"_s, {}, {} });
    centre.delegate->didReceive({ u"x"_s, u"ALLOW_PERMISSION"_s, { { u"session_id"_s, 7 } }, {} });
    EXPECT_EQ(calls, (QStringList { u"focus "_s, u"allow "_s }));
}

TEST_F(NotificationServiceTest, callbacksThatAreNotSetDropClicks)
{
    service->configure({}, {}, {});
    for (const QString &action : { u"ALLOW_PERMISSION"_s, u"DENY_PERMISSION"_s, u"default"_s })
        centre.delegate->didReceive({ u"x"_s, action, {}, {} });
    EXPECT_TRUE(calls.isEmpty());
}

TEST_F(NotificationServiceTest, theTokenOfAClickComesBeforeItsCallback)
{
    service->onActivationToken = [this](const QString &token) { calls.append(u"token "_s + token); };
    service->notify(makeSession(State::ready), EventBuilder(HookEventType::stop));
    centre.respond(centre.requests.last(), u"FOCUS_SESSION"_s, u"leave-1"_s);
    centre.respond(centre.requests.last(), u"FOCUS_SESSION"_s);
    centre.respond(centre.requests.last(), u"ALLOW_PERMISSION"_s, u"leave-2"_s);
    EXPECT_EQ(calls, (QStringList { u"token leave-1"_s, u"focus s"_s, u"focus s"_s, u"allow s"_s }))
        << "what brings nothing forward needs no leave";
}

TEST_F(NotificationServiceTest, whatIsPresentedFollowsThePanel)
{
    using Presentation = NotificationCentre::Presentation;
    EXPECT_EQ(centre.delegate->willPresent({}), Presentation::BannerAndSound);
    EXPECT_EQ(static_cast<int>(Presentation::BannerAndSound), 18);
    service->isPopoverVisible = true;
    EXPECT_EQ(centre.delegate->willPresent({}), Presentation::Nothing);
}

// What is taken away

TEST_F(NotificationServiceTest, aNotificationGoesWhenItsSessionLeavesTheState)
{
    for (const State state : { State::needsPermission, State::hasQuestion, State::ready }) {
        const auto session = makeSession(state);
        textOf(session, EventBuilder(HookEventType::stop));
        session->setLastMessage(u"Something else"_s);
        EXPECT_EQ(centre.shown().size(), 1);
        session->setState(State::working);
        EXPECT_TRUE(centre.shown().isEmpty());
        session->setState(state);
        session->setState(State::working);
        EXPECT_EQ(centre.removed.count(centre.requests.last().identifier), 1);
    }
}

TEST_F(NotificationServiceTest, otherSessionsKeepTheirs)
{
    const auto one = makeSession(State::ready, u"1"_s);
    const auto other = makeSession(State::ready, u"2"_s);
    service->notify(one, EventBuilder(HookEventType::stop));
    service->notify(other, EventBuilder(HookEventType::stop));
    one->setState(State::working);
    EXPECT_EQ(centre.removed, QStringList { centre.requests[0].identifier });
}

TEST_F(NotificationServiceTest, aNotificationGoesWhenItsRequestEnds)
{
    const auto session = makeSession(State::needsPermission);
    const auto connection = hold(request());
    service->notify(session, request());
    hold(request(u"Write"_s).agent(u"helper"_s));
    EXPECT_EQ(centre.shown().size(), 1) << "it is still the first";
    connection->closeFromPeer();
    EXPECT_TRUE(centre.shown().isEmpty()) << "Allow would answer the other request";
}

TEST_F(NotificationServiceTest, theNotificationOfAPlanStaysWhenItsRequestFollows)
{
    const auto session = makeSession(State::needsPermission);
    session->setToolName(u"ExitPlanMode"_s);
    session->setToolDetail(u"Plan review"_s);
    const auto plan = [](HookEventType type) {
        EventBuilder event(type);
        return event.tool(u"ExitPlanMode"_s).detail(u"Mend the shop"_s);
    };
    service->notify(session, plan(HookEventType::preToolUse));
    const auto connection = hold(plan(HookEventType::permissionRequest));
    EXPECT_EQ(centre.shown().size(), 1);
    connection->closeFromPeer();
    EXPECT_TRUE(centre.shown().isEmpty());
}

TEST_F(NotificationServiceTest, aPromptOfTheTerminalGoesWhenAnotherCallIsHeld)
{
    const auto session = makeSession(State::needsPermission);
    session->setToolName(u"Bash"_s);
    session->setToolDetail(u"make"_s);
    textOf(session, typed(Type::permissionPrompt));
    hold(request(u"Write"_s));
    EXPECT_TRUE(centre.shown().isEmpty());
    held.dismissAll(u"s"_s);

    textOf(session, typed(Type::permissionPrompt));
    hold(request().detail(u"rm -r /"_s));
    EXPECT_TRUE(centre.shown().isEmpty());
}

TEST_F(NotificationServiceTest, whatTheUserHasAnsweredOrDismissedIsNotTakenAwayAgain)
{
    const auto session = makeSession(State::ready);
    textOf(session, EventBuilder(HookEventType::stop));
    centre.respond(centre.requests.last(), u"default"_s);
    textOf(session, EventBuilder(HookEventType::stop));
    centre.delegate->didClose(centre.requests.last().identifier);
    session->setState(State::working);
    EXPECT_TRUE(centre.removed.isEmpty());
}

TEST_F(NotificationServiceTest, anAnswerMayChangeTheSessionAtOnce)
{
    const auto session = makeSession(State::needsPermission);
    service->configure({}, [&](const QString &) { session->setState(State::working); }, {});
    service->notify(session, request());
    clock.advance(NotificationService::cooldownInterval);
    service->notify(session, request());
    centre.respond(centre.requests.last(), u"ALLOW_PERMISSION"_s);
    EXPECT_EQ(centre.removed, QStringList { centre.requests.first().identifier });
}

TEST_F(NotificationServiceTest, outlivesItsSessionsAndIsOutlivedByThem)
{
    auto session = makeSession(State::ready);
    service->notify(session, EventBuilder(HookEventType::stop));
    session.reset();
    held.dismissAll(u"s"_s);
    const auto other = makeSession(State::ready, u"2"_s);
    service->notify(other, EventBuilder(HookEventType::stop));
    const auto failed = centre.failures.back();
    service.reset();
    EXPECT_EQ(centre.delegate, nullptr);
    other->setState(State::working);
    failed(u"too late"_s);
    EXPECT_EQ(printed.size(), 1);
}

TEST_F(NotificationServiceTest, handsOnWhatBecomesOfNotifications)
{
    using Presence = NotificationCentre::Server::Presence;
    std::vector<NotificationCentre::Status> known;
    int changes = 0;
    QObject::connect(&*service, &NotificationService::serverChanged, [&changes] { ++changes; });
    service->requestStatus([&known](const NotificationCentre::Status &status) { known.push_back(status); });
    EXPECT_TRUE(known.empty());

    centre.setServer({ Presence::Present, { u"actions"_s } });
    centre.tellStatus();

    EXPECT_EQ(changes, 1);
    ASSERT_EQ(known.size(), 1U);
    EXPECT_EQ(known.front().authorization, NotificationCentre::Authorization::Authorized);
    EXPECT_EQ(known.front().server.capabilities, QStringList { u"actions"_s });

    bool isAnswered = false;
    service->requestPermission([&isAnswered] { isAnswered = true; });
    centre.authorizing.back()(false, std::nullopt);
    EXPECT_TRUE(isAnswered);

    service.reset();
    centre.setServer({});
    EXPECT_EQ(changes, 1);
}

} // namespace
} // namespace vantry::test
