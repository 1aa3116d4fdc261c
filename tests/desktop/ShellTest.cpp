#include "desktop/support/Desktop.h"
#include "desktop/support/FakeTray.h"
#include "program/HookCall.h"

#include <QDir>
#include <QFile>
#include <QRect>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <csignal>
#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// The whole program on a desktop of the test's own, with whatever trays the test starts.
class ShellDesktopTest : public ::testing::Test
{
protected:
    void start()
    {
        vantry = &desktop.start(QStringLiteral(VANTRY_PROGRAM), {});
        ASSERT_TRUE(FakeTray::waitFor([this] { return logText().contains("HTTP hook server started"); }))
            << logText().toStdString();
    }
    [[nodiscard]] QByteArray logText() const
    {
        QFile file(desktop.path(u"home/.local/share/Vantry/debug.log"_s));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] static bool hasEnded(ChildProcess &process)
    {
        return process.waitForFinished(0) || process.state() == QProcess::NotRunning;
    }
    /// Runs `vantry WORD` to its end.
    void run(const QString &word)
    {
        ChildProcess &command = desktop.start(QStringLiteral(VANTRY_PROGRAM), { word });
        EXPECT_TRUE(FakeTray::waitFor([&] { return hasEnded(command); }));
        EXPECT_EQ(command.exitCode(), 0);
    }
    /// A shown window of the program's with this title; 0 when there is none.
    [[nodiscard]] quint64 shownWindow(const QString &title) const
    {
        const QString pattern = u'^' + QRegularExpression::escape(title) + u'$';
        const QString found = desktop.outputOf(u"xdotool"_s, { u"search"_s, u"--onlyvisible"_s, u"--name"_s, pattern });
        return found.section(u'\n', 0, 0).toULongLong();
    }
    [[nodiscard]] bool isPanelActive()
    {
        panel = shownWindow(u"Vantry"_s);
        return panel != 0 && desktop.activeWindow() == panel;
    }
    [[nodiscard]] bool waitForPanel()
    {
        return FakeTray::waitFor([this] { return isPanelActive(); });
    }
    [[nodiscard]] bool waitUntilClosed()
    {
        return FakeTray::waitFor([this] { return shownWindow(u"Vantry"_s) == 0; });
    }
    [[nodiscard]] bool waitUntilActive(quint64 window) const
    {
        return FakeTray::waitFor([&] { return desktop.activeWindow() == window; });
    }
    [[nodiscard]] quint64 openTerminal()
    {
        desktop.start(u"xterm"_s, { u"-class"_s, u"Terminal"_s, u"-geometry"_s, u"40x10+100+600"_s });
        const quint64 window = desktop.waitForWindow(u"Terminal"_s);
        EXPECT_TRUE(desktop.waitUntilActive(window));
        return window;
    }
    /// A real tray, at the bottom of the screen: the icon is drawn by the bar, which tells nobody where.
    void startXfcePanel()
    {
        const QString folder = desktop.path(u"home/.config/xfce4/xfconf/xfce-perchannel-xml"_s);
        ASSERT_TRUE(QDir().mkpath(folder));
        QFile configuration(folder + u"/xfce4-panel.xml"_s);
        ASSERT_TRUE(configuration.open(QFile::WriteOnly));
        configuration.write(R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=4;x=1860;y=1060"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="32"/>
      <property name="length" type="uint" value="20"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
)");
        configuration.close();
        desktop.start(u"xfce4-panel"_s, { u"--disable-wm-check"_s });
    }
    /// Where the only icon of that tray is; nothing as long as it has none.
    [[nodiscard]] std::optional<QPoint> iconInXfcePanel() const
    {
        // With nothing in it, the part of the bar that holds the icons is a line.
        constexpr int narrowest = 16;
        const QStringList parts =
            desktop.outputOf(u"xdotool"_s, { u"search"_s, u"--onlyvisible"_s, u"--class"_s, u"^wrapper-2.0$"_s })
                .split(u'\n', Qt::SkipEmptyParts);
        for (const QString &part : parts) {
            const QRect frame = frameOf(part.toULongLong());
            if (frame.width() >= narrowest && frame.height() >= narrowest)
                return frame.center();
        }
        return std::nullopt;
    }
    /// On the screen.
    [[nodiscard]] QRect frameOf(quint64 window) const
    {
        const QString text = desktop.outputOf(u"xwininfo"_s, { u"-id"_s, QString::number(window) });
        const auto number = [&text](const QString &name) {
            return QRegularExpression(name + u":\\s+(-?\\d+)"_s).match(text).captured(1).toInt();
        };
        return { number(u"Absolute upper-left X"_s), number(u"Absolute upper-left Y"_s), number(u"Width"_s),
                 number(u"Height"_s) };
    }
    void pressKey(const QString &key) const { (void)desktop.outputOf(u"xdotool"_s, { u"key"_s, key }); }
    void clickAt(int x, int y) const
    {
        (void)desktop.outputOf(u"xdotool"_s,
                               { u"mousemove"_s, QString::number(x), QString::number(y), u"click"_s, u"1"_s });
    }
    [[nodiscard]] QString stateOf(quint64 window, const QString &property) const
    {
        return desktop.outputOf(u"xprop"_s, { u"-id"_s, QString::number(window), property });
    }
    /// Ends the program in order, with all that its end is checked for.
    void TearDown() override
    {
        if (vantry && !hasEnded(*vantry)) {
            vantry->sendSignal(SIGTERM);
            EXPECT_TRUE(FakeTray::waitFor([this] { return hasEnded(*vantry); }));
            EXPECT_EQ(vantry->exitStatus(), QProcess::NormalExit);
            EXPECT_EQ(vantry->exitCode(), 0);
        }
    }

    Desktop desktop { { .windowManager = true, .bus = true } };
    ChildProcess *vantry { nullptr };
    quint64 panel { 0 };
};

TEST_F(ShellDesktopTest, opensAndClosesThePanelByItsIcon)
{
    FakeTray tray(desktop.busAddress());
    start();
    ASSERT_TRUE(tray.waitForIcon());
    EXPECT_EQ(tray.property(u"Id"_s).toString(), u"vantry"_s);

    tray.activate();
    ASSERT_TRUE(waitForPanel());
    EXPECT_THAT(stateOf(panel, u"_NET_WM_STATE"_s).toStdString(), ::testing::HasSubstr("_NET_WM_STATE_ABOVE"));
    EXPECT_THAT(stateOf(panel, u"_NET_WM_STATE"_s).toStdString(), ::testing::HasSubstr("_NET_WM_STATE_SKIP_TASKBAR"));

    tray.activate();
    EXPECT_TRUE(waitUntilClosed());
    tray.activate();
    EXPECT_TRUE(waitForPanel());
}

TEST_F(ShellDesktopTest, givesTheTraysThatDrawItTheMenu)
{
    FakeTray tray(desktop.busAddress());
    start();
    ASSERT_TRUE(tray.waitForIcon());

    EXPECT_EQ(tray.menu(),
              (QStringList { u"Show Vantry"_s, u"-"_s, u"(Check for Updates…)"_s, u"-"_s, u"Quit Vantry"_s }));

    tray.choose(u"Show Vantry"_s);
    EXPECT_TRUE(waitForPanel());
    tray.choose(u"Quit Vantry"_s);
    ASSERT_TRUE(FakeTray::waitFor([this] { return hasEnded(*vantry); }));
    EXPECT_EQ(vantry->exitCode(), 0);
}

TEST_F(ShellDesktopTest, givesTheFocusBackByEscape)
{
    FakeTray tray(desktop.busAddress());
    const quint64 terminal = openTerminal();
    start();
    ASSERT_TRUE(tray.waitForIcon());
    tray.activate();
    ASSERT_TRUE(waitForPanel());

    pressKey(u"Escape"_s);

    EXPECT_TRUE(waitUntilClosed());
    EXPECT_TRUE(waitUntilActive(terminal));
}

TEST_F(ShellDesktopTest, closesByAClickIntoAnotherWindow)
{
    FakeTray tray(desktop.busAddress());
    const quint64 terminal = openTerminal();
    start();
    ASSERT_TRUE(tray.waitForIcon());
    tray.activate();
    ASSERT_TRUE(waitForPanel());

    clickAt(150, 650);

    EXPECT_TRUE(waitUntilClosed());
    EXPECT_TRUE(waitUntilActive(terminal));
}

TEST_F(ShellDesktopTest, findsATrayThatComesLater)
{
    start();
    FakeTray tray(desktop.busAddress());

    ASSERT_TRUE(tray.waitForIcon());
    tray.activate();
    EXPECT_TRUE(waitForPanel());
}

TEST_F(ShellDesktopTest, comesBackWithATrayThatWasStartedAgain)
{
    FakeTray tray(desktop.busAddress());
    start();
    ASSERT_TRUE(tray.waitForIcon());

    tray.leave();
    run(u"show"_s);
    ASSERT_TRUE(waitForPanel());
    EXPECT_THAT(stateOf(panel, u"_NET_WM_STATE"_s).toStdString(),
                ::testing::Not(::testing::HasSubstr("_NET_WM_STATE_ABOVE")));
    pressKey(u"Escape"_s);
    ASSERT_TRUE(waitUntilClosed());
    tray.comeBack();

    ASSERT_TRUE(tray.waitForIcon());
    tray.activate();
    ASSERT_TRUE(waitForPanel());
    EXPECT_THAT(stateOf(panel, u"_NET_WM_STATE"_s).toStdString(), ::testing::HasSubstr("_NET_WM_STATE_ABOVE"));
}

TEST_F(ShellDesktopTest, isAWindowWhereThereIsNoTray)
{
    start();

    run(u"show"_s);
    ASSERT_TRUE(waitForPanel());
    const quint64 terminal = openTerminal();
    EXPECT_NE(shownWindow(u"Vantry"_s), 0) << "an ordinary window stays when it loses the focus";
    EXPECT_NE(terminal, 0);

    // A second start.
    ChildProcess &second = desktop.start(QStringLiteral(VANTRY_PROGRAM), {});
    EXPECT_TRUE(FakeTray::waitFor([&] { return hasEnded(second); }));
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_TRUE(waitForPanel());
    EXPECT_TRUE(FakeTray::waitFor([this] { return logText().contains("VantryApp: no tray"); }));
}

TEST_F(ShellDesktopTest, opensTheSettingsAsAWindow)
{
    start();

    run(u"settings"_s);

    ASSERT_TRUE(FakeTray::waitFor([this] { return shownWindow(u"Settings"_s) != 0; }));
    EXPECT_TRUE(waitUntilActive(shownWindow(u"Settings"_s)));
    EXPECT_THAT(stateOf(shownWindow(u"Settings"_s), u"WM_NORMAL_HINTS"_s).toStdString(),
                ::testing::HasSubstr("440 by 480"));
}

TEST_F(ShellDesktopTest, opensBesideItsIconInAnX11Tray)
{
    QFile configuration(desktop.path(u"tint2rc"_s));
    ASSERT_TRUE(configuration.open(QFile::WriteOnly));
    configuration.write("panel_items = S\npanel_position = bottom right horizontal\npanel_size = 300 32\n"
                        "systray_icon_size = 22\nstrut_policy = follow_size\n");
    configuration.close();
    desktop.start(u"tint2"_s, { u"-c"_s, configuration.fileName() });
    start();
    quint64 icon = 0;
    const auto findIcon = [this] {
        return desktop.outputOf(u"xdotool"_s, { u"search"_s, u"--onlyvisible"_s, u"--class"_s, u"^vantry$"_s })
            .section(u'\n', 0, 0)
            .toULongLong();
    };
    ASSERT_TRUE(FakeTray::waitFor([&] { return (icon = findIcon()) != 0; })) << "no icon in the tray";
    const auto clickIcon = [&] {
        (void)desktop.outputOf(u"xdotool"_s, { u"mousemove"_s, u"--window"_s, QString::number(icon), u"11"_s, u"11"_s,
                                               u"click"_s, u"1"_s });
    };

    clickIcon();
    ASSERT_TRUE(waitForPanel());
    EXPECT_EQ(frameOf(panel).bottom() + 1, 1080 - 32 - 4);

    clickIcon();
    EXPECT_TRUE(waitUntilClosed());
    clickIcon();
    EXPECT_TRUE(waitForPanel());
}

TEST_F(ShellDesktopTest, opensBesideItsIconInABarThatDoesNotTellWhereThatIs)
{
    const quint64 terminal = openTerminal();
    // Bars can't be known from the size of the desktop where there are several screens.
    (void)desktop.outputOf(u"xrandr"_s, { u"--setmonitor"_s, u"LEFT"_s, u"960/250x1080/280+0+0"_s, u"screen"_s });
    (void)desktop.outputOf(u"xrandr"_s, { u"--setmonitor"_s, u"RIGHT"_s, u"960/250x1080/280+960+0"_s, u"none"_s });
    desktop.start(u"picom"_s, { u"--backend"_s, u"xrender"_s });
    startXfcePanel();
    start();
    const QString workArea = u"= 0, 0, 1920, 1047"_s;
    ASSERT_TRUE(FakeTray::waitFor([&] {
        return desktop.outputOf(u"xprop"_s, { u"-root"_s, u"_NET_WORKAREA"_s }).contains(workArea);
    }));

    std::optional<QPoint> icon;
    // A bar that has just made room for an icon may not take clicks yet, or move it.
    ASSERT_TRUE(FakeTray::waitFor([&] {
        icon = iconInXfcePanel();
        if (!icon)
            return false;
        clickAt(icon->x(), icon->y());
        return eventually([this] { return isPanelActive(); }, std::chrono::seconds(5));
    }));
    constexpr int roomForShadow = 40;
    const QRect frame = frameOf(panel).adjusted(roomForShadow, roomForShadow, -roomForShadow, -roomForShadow);
    EXPECT_EQ(frame.bottom() + 1, 1047 - 4);
    EXPECT_LE(frame.left(), icon->x());
    EXPECT_GE(frame.right(), icon->x());

    // The icon is under the panel's shadow.
    clickAt(icon->x(), icon->y());
    EXPECT_TRUE(waitUntilClosed());
    EXPECT_TRUE(waitUntilActive(terminal));
    clickAt(icon->x(), icon->y());
    EXPECT_TRUE(waitForPanel());
}

TEST_F(ShellDesktopTest, endsInOrderWhenTheDisplayGoes)
{
    FakeTray tray(desktop.busAddress());
    start();
    ASSERT_TRUE(tray.waitForIcon());
    tray.activate();
    ASSERT_TRUE(waitForPanel());
    auto held = HookCall::post({ { "session_id", "one" },
                                 { "hook_event_name", "PermissionRequest" },
                                 { "tool_name", "Bash" },
                                 { "cwd", "/" } });
    ASSERT_TRUE(FakeTray::waitFor([this] { return logText().contains("PendingPermissionStore: added Bash"); }));

    desktop.server().kill();

    ASSERT_TRUE(FakeTray::waitFor([this] { return hasEnded(*vantry); }));
    EXPECT_EQ(vantry->exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(vantry->exitCode(), 1);
    EXPECT_EQ(held.response(), "") << "the request is let go, without an answer";
    EXPECT_THAT(logText().toStdString(), ::testing::HasSubstr("the display has gone, ending"));
    EXPECT_THAT(logText().toStdString(), ::testing::HasSubstr("HTTPHookServer: stopped"));
    EXPECT_FALSE(QFile::exists(desktop.path(u"home/.local/share/Vantry/vantry.db-wal"_s))) << "the database is closed";
    EXPECT_FALSE(isHealthy());
}

TEST_F(ShellDesktopTest, runsWithoutWindowsWhereTheDisplayDoesNotAnswer)
{
    QProcessEnvironment environment = desktop.environment();
    environment.insert(u"DISPLAY"_s, u":59999"_s);

    vantry = &desktop.start(QStringLiteral(VANTRY_PROGRAM), {}, environment);

    EXPECT_TRUE(FakeTray::waitFor([this] { return logText().contains("HTTP hook server started"); }));
}

} // namespace
} // namespace vantry::test
