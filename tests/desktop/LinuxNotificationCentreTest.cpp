#include "platform/linux/LinuxNotificationCentre.h"

#include "desktop/support/Desktop.h"

#include <QCoreApplication>
#include <QFile>

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using Presence = NotificationCentre::Server::Presence;

/// The program's notifications with a server that draws them.
class NotificationDesktopTest : public testing::Test, private NotificationCentre::Delegate
{
protected:
    void SetUp() override
    {
        // Takes the entry of the menu that the test wants.
        writeFile(u"pick.sh"_s, "#!/bin/sh\ngrep -m 1 -F \"$(cat '" + desktop.path(u"wanted"_s).toUtf8() + "')\"\n");
        QFile::setPermissions(desktop.path(u"pick.sh"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        writeFile(u"dunstrc"_s, "[global]\ndmenu = " + desktop.path(u"pick.sh"_s).toUtf8() + "\n");
        startServer();
        centre.setDelegate(this);
        centre.setCategories({ { u"ASK"_s, { { u"ALLOW"_s, u"Allow"_s }, { u"DENY"_s, u"Deny"_s } } } });
        centre.requestAuthorization([](bool, const std::optional<QString> &) {});
        ASSERT_TRUE(waitFor([this] { return centre.server().presence == Presence::Present; }));
    }
    void writeFile(const QString &name, const QByteArray &text) const
    {
        QFile file(desktop.path(name));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(text);
    }
    void startServer()
    {
        server = &desktop.start(u"dunst"_s, { u"-conf"_s, desktop.path(u"dunstrc"_s) });
        // Unlike dunstctl, this starts no other one.
        ASSERT_TRUE(waitFor([this] {
            return findNotificationServer(desktop.busAddress()).presence == Presence::Present;
        })) << "dunst did not start";
    }
    template <typename Condition>
    static bool waitFor(Condition condition)
    {
        return eventually([&] {
            QCoreApplication::processEvents();
            return condition();
        });
    }
    /// Negative while nobody shows notifications.
    [[nodiscard]] int shownCount() const
    {
        const QString count = desktop.outputOf(u"dunstctl"_s, { u"count"_s, u"displayed"_s });
        return count.isEmpty() ? -1 : count.toInt();
    }
    void show(const QString &identifier)
    {
        centre.add({ identifier, u"Permission Required"_s, u"Bash: a && b <c>"_s, u"ASK"_s },
                   [this](const QString &error) { failures.append(error); });
        ASSERT_TRUE(waitFor([this] { return shownCount() == 1; })) << failures.join(u' ').toStdString();
    }
    /// Chooses a button by its title in the server's menu.
    void press(const QString &title)
    {
        writeFile(u"wanted"_s, title.toUtf8());
        (void)desktop.outputOf(u"dunstctl"_s, { u"context"_s });
        ASSERT_TRUE(waitFor([this] { return !responses.isEmpty(); }));
        EXPECT_TRUE(waitFor([this] { return shownCount() == 0; })) << "a notification that was answered goes";
    }

    NotificationCentre::Presentation willPresent(const NotificationCentre::Request & /*request*/) override
    {
        return NotificationCentre::Presentation::BannerAndSound;
    }
    void didReceive(const NotificationCentre::Response &response) override
    {
        responses.append(response.identifier + u' ' + response.actionIdentifier);
    }
    void didClose(const QString &identifier) override { gone.append(identifier); }

    Desktop desktop { { .windowManager = true, .bus = true } };
    LinuxNotificationCentre centre { desktop.busAddress() };
    ChildProcess *server { nullptr };
    QStringList responses;
    QStringList gone;
    QStringList failures;
};

TEST_F(NotificationDesktopTest, itsButtonsAndTheClickOnItAreReported)
{
    EXPECT_TRUE(centre.server().capabilities.contains(u"actions"_s));
    show(u"1"_s);
    press(u"Allow"_s);
    EXPECT_EQ(responses, QStringList { u"1 ALLOW"_s });

    responses.clear();
    show(u"2"_s);
    press(u"Deny"_s);
    EXPECT_EQ(responses, QStringList { u"2 DENY"_s });

    show(u"3"_s);
    (void)desktop.outputOf(u"dunstctl"_s, { u"action"_s, u"0"_s });
    EXPECT_TRUE(waitFor([this] { return responses.last() == u"3 default"; }));
    EXPECT_TRUE(failures.isEmpty());
}

TEST_F(NotificationDesktopTest, goesWhenItIsTakenAwayOrDismissed)
{
    show(u"1"_s);
    // Its number may still be on the way to us; it goes all the same.
    centre.remove(u"1"_s);
    EXPECT_TRUE(waitFor([this] { return shownCount() == 0; }));

    show(u"2"_s);
    (void)desktop.outputOf(u"dunstctl"_s, { u"close"_s });
    EXPECT_TRUE(waitFor([this] { return gone == QStringList { u"2"_s }; }));
    EXPECT_TRUE(responses.isEmpty());
}

TEST_F(NotificationDesktopTest, aServerThatIsKilledAndStartedAgainShowsTheNextOnes)
{
    show(u"1"_s);
    server->killAndWait();
    ASSERT_TRUE(waitFor([this] { return gone == QStringList { u"1"_s }; }));

    startServer();
    ASSERT_TRUE(waitFor([this] { return centre.server().presence == Presence::Present; }));
    show(u"2"_s);
    press(u"Allow"_s);
    EXPECT_EQ(responses, QStringList { u"2 ALLOW"_s });
}

TEST_F(NotificationDesktopTest, theNextNotificationStartsAServerThatHasGone)
{
    server->killAndWait();
    ASSERT_TRUE(waitFor([this] { return centre.server().presence == Presence::Startable; }));
    show(u"1"_s);
    EXPECT_EQ(centre.server().presence, Presence::Present);
    (void)desktop.outputOf(u"dunstctl"_s, { u"action"_s, u"0"_s });
    EXPECT_TRUE(waitFor([this] { return responses == QStringList { u"1 default"_s }; }));
    EXPECT_TRUE(failures.isEmpty());
}

} // namespace
} // namespace vantry::test
