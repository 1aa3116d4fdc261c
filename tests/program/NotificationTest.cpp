#include "Eventually.h"
#include "Vantry.h"
#include "platform/FakeNotificationServer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class Notification : public ::testing::Test
{
protected:
    /// As eventually(), with the server's bus served meanwhile.
    template <typename Condition>
    static bool waitFor(Condition condition)
    {
        return eventually([&] {
            QCoreApplication::processEvents();
            return condition();
        });
    }
    [[nodiscard]] bool waitForShown(qsizetype count)
    {
        return waitFor([&] { return server->shown.size() == count; });
    }
    void startServer()
    {
        server.emplace(vantry.busAddress(), QStringList { u"actions"_s, u"body"_s, u"body-markup"_s });
    }
    void start()
    {
        vantry.startWithWindows();
        ASSERT_TRUE(waitFor([this] { return server->asked > 0; }));
    }

    Vantry vantry;
    std::optional<FakeNotificationServer> server;
};

TEST_F(Notification, allowAnswersTheHeldConnection)
{
    startServer();
    start();
    HookCall call = HookCall::post(permissionRequest("one"));
    ASSERT_TRUE(waitForShown(1));
    const auto &shown = server->shown.constFirst();
    EXPECT_EQ(shown.summary, u"Permission Required"_s);
    EXPECT_EQ(shown.body, u"Approve Bash?"_s);
    EXPECT_EQ(shown.actions, (QStringList { u"default"_s, u"Open"_s, u"ALLOW_PERMISSION"_s, u"Allow"_s,
                                            u"DENY_PERMISSION"_s, u"Deny"_s }));
    EXPECT_TRUE(call.isWaiting());

    // As long as the program doesn't know its number, a click on it is nobody's.
    EXPECT_TRUE(waitFor([&] {
        server->press(shown.id, u"ALLOW_PERMISSION"_s);
        return !call.isWaiting();
    }));
    EXPECT_THAT(call.response(), HasSubstr("\"behavior\":\"allow\""));
    EXPECT_TRUE(waitFor([&] { return server->closed == QList<uint> { shown.id }; }));
    EXPECT_TRUE(vantry.shows("one", "state", "working"));
}

TEST_F(Notification, goesWhenTheRequestIsAnsweredOnTheCommandLine)
{
    startServer();
    start();
    HookCall call = HookCall::post(permissionRequest("one"));
    ASSERT_TRUE(waitForShown(1));

    EXPECT_EQ(vantry.run({ u"deny"_s, u"one"_s }).exitCode, 0);

    EXPECT_TRUE(waitFor([&] { return server->closed == QList<uint> { server->shown.constFirst().id }; }));
    EXPECT_THAT(call.response(), HasSubstr("\"deny\""));
}

TEST_F(Notification, withoutAServerTheRestWorksAndALaterOneIsTaken)
{
    vantry.startWithWindows();
    EXPECT_THAT(vantry.application().nextLine(), StartsWith("[Vantry] Notification auth error: "));
    const HookCall call = HookCall::post(permissionRequest("one"));
    EXPECT_THAT(vantry.application().nextLine(), StartsWith("[Vantry] Failed to deliver notification: "));
    EXPECT_TRUE(vantry.shows("one", "state", "needs_permission"));
    EXPECT_TRUE(call.isWaiting());

    startServer();
    ASSERT_TRUE(waitFor([this] { return server->asked > 0; }));
    vantry.post(event("Stop", "two"));
    EXPECT_TRUE(waitForShown(1));
    EXPECT_EQ(server->shown.constFirst().summary, u"Your Turn"_s);
}

TEST_F(Notification, aSettingTurnsThemOffWhileTheProgramRuns)
{
    const QString folder = vantry.home() + u"/config/Vantry"_s;
    ASSERT_TRUE(QDir().mkpath(folder));
    const auto set = [&](const QByteArray &text) {
        QFile file(folder + u"/settings.json"_s);
        EXPECT_TRUE(file.open(QFile::WriteOnly));
        file.write(text);
    };
    set("{\"notifications_enabled\": false, \"hasCompletedOnboarding\": true}");
    startServer();
    start();
    vantry.post(event("Stop", "off"));
    set("{\"hasCompletedOnboarding\": true}");

    // The change is taken over soon; each session has a cooldown of its own.
    int number = 0;
    EXPECT_TRUE(waitFor([&] {
        vantry.post(event("Stop", "on-" + std::to_string(++number)));
        return !server->shown.isEmpty();
    }));
    EXPECT_EQ(server->shown.constFirst().summary, u"Your Turn"_s);
}

TEST_F(Notification, withoutWindowsThereIsNone)
{
    startServer();
    vantry.start();
    HookCall call = HookCall::post(permissionRequest("one"));
    EXPECT_TRUE(vantry.shows("one", "heldPermissions", 1));
    QCoreApplication::processEvents();
    EXPECT_TRUE(server->shown.isEmpty());
    EXPECT_EQ(server->asked, 0);
}

} // namespace
} // namespace vantry::test
