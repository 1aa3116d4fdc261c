#include "platform/linux/TmuxDriver.h"

#include "desktop/support/Desktop.h"
#include "platform/TmuxServer.h"
#include "platform/linux/LinuxApplications.h"
#include "platform/linux/LinuxProcessTable.h"

namespace vantry::test {
namespace {

/// Windows in which tmux is attached.
class TmuxDriverDesktopTest : public ::testing::Test
{
protected:
    quint64 open(const QString &windowClass, const QStringList &program)
    {
        desktop.start(u"xterm"_s, QStringList { u"-class"_s, windowClass, u"-e"_s } + program);
        const quint64 window = desktop.waitForWindow(windowClass);
        EXPECT_TRUE(desktop.waitUntilActive(window));
        return window;
    }
    static QStringList attached(const TmuxServer &server)
    {
        return { u"tmux"_s, u"-S"_s, server.socket(), u"attach"_s };
    }
    static bool isShown(const TmuxServer &server)
    {
        return eventually([&] { return !server.run({ u"list-clients"_s }).isEmpty(); });
    }
    /// A pane that isn't the current one.
    static TerminalTarget hiddenPane(const TmuxServer &server)
    {
        const QString pane = server.openWindow({ u"sleep"_s, u"1000000"_s });
        server.run({ u"select-window"_s, u"-t"_s, u":0"_s });
        return { u"tmux-pane"_s, QString(server.socket() + u',' + pane) };
    }

    Desktop desktop;
    TmuxServer server;
    LinuxProcessTable processes { desktop.path(u"data"_s) };
    LinuxApplications applications { processes };
    TmuxDriver driver { applications, processes };
};

TEST_F(TmuxDriverDesktopTest, raisesTheWindowInWhichTmuxIsAttached)
{
    const TerminalTarget pane = hiddenPane(server);
    const quint64 window = open(u"Attached"_s, attached(server));
    ASSERT_TRUE(isShown(server));
    open(u"Other"_s, { u"sleep"_s, u"1000000"_s });

    EXPECT_EQ(driver.focus(pane), std::nullopt);

    EXPECT_TRUE(desktop.waitUntilActive(window));
    EXPECT_TRUE(pane.sessionID.endsWith(server.run({ u"display-message"_s, u"-p"_s, u"#{pane_id}"_s })));
}

TEST_F(TmuxDriverDesktopTest, raisesTheWindowThroughTmuxInTmux)
{
    const TerminalTarget pane = hiddenPane(server);
    const TmuxServer outer;
    outer.openWindow({ u"sh"_s, u"-c"_s, QString(u"TMUX= " + attached(server).join(u' ') + u"; sleep 1000000") });
    ASSERT_TRUE(isShown(server));
    const quint64 window = open(u"Attached"_s, attached(outer));
    ASSERT_TRUE(isShown(outer));
    open(u"Other"_s, { u"sleep"_s, u"1000000"_s });

    EXPECT_EQ(driver.focus(pane), std::nullopt);

    EXPECT_TRUE(desktop.waitUntilActive(window));
}

TEST_F(TmuxDriverDesktopTest, opensAWindowInFrontOfTheUser)
{
    const TerminalTarget pane = hiddenPane(server);
    const quint64 window = open(u"Attached"_s, attached(server));
    ASSERT_TRUE(isShown(server));
    open(u"Other"_s, { u"sleep"_s, u"1000000"_s });

    EXPECT_EQ(driver.open(pane, { desktop.path({}), u"touch 'it ran'"_s }), std::nullopt);

    EXPECT_TRUE(desktop.waitUntilActive(window));
    EXPECT_TRUE(eventually([&] { return QFile::exists(desktop.path(u"it ran"_s)); }));
}

} // namespace
} // namespace vantry::test
