#include "desktop/support/Desktop.h"
#include "desktop/support/FakeTray.h"
#include "program/HookCall.h"

#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QRect>
#include <QRegularExpression>
#include <QSaveFile>

#include <gmock/gmock.h>
#include <xcb/xcb.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

struct Disconnect
{
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};
using Server = std::unique_ptr<xcb_connection_t, Disconnect>;

Server connectToServer()
{
    return Server(xcb_connect(nullptr, nullptr));
}

struct Free
{
    void operator()(void *memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

/// The windows that no window manager has put a frame around.
class DesktopWindows
{
public:
    /// The one with this title that is on the screen; 0 when there is none.
    [[nodiscard]] quint64 shown(std::string_view title) const
    {
        xcb_connection_t *server = m_server.get();
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
        const Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(server, xcb_query_tree(server, root), nullptr));
        for (int index = 0; tree && index < xcb_query_tree_children_length(tree.get()); ++index) {
            const xcb_window_t window = xcb_query_tree_children(tree.get())[index];
            const auto nameCookie = xcb_get_property(server, 0, window, m_name, XCB_GET_PROPERTY_TYPE_ANY, 0, 64);
            const auto stateCookie = xcb_get_window_attributes(server, window);
            const Reply<xcb_get_property_reply_t> name(xcb_get_property_reply(server, nameCookie, nullptr));
            const Reply<xcb_get_window_attributes_reply_t> state(
                xcb_get_window_attributes_reply(server, stateCookie, nullptr));
            if (name && state && state->map_state == XCB_MAP_STATE_VIEWABLE &&
                title == std::string_view(static_cast<const char *>(xcb_get_property_value(name.get())),
                                          static_cast<std::size_t>(xcb_get_property_value_length(name.get()))))
                return window;
        }
        return 0;
    }

private:
    [[nodiscard]] xcb_atom_t nameAtom() const
    {
        constexpr std::string_view name = "_NET_WM_NAME";
        const auto cookie = xcb_intern_atom(m_server.get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
        const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_server.get(), cookie, nullptr));
        return reply ? reply->atom : xcb_atom_t { XCB_ATOM_NONE };
    }

    const Server m_server = connectToServer();
    const xcb_atom_t m_name = nameAtom();
};

/// A window that no window manager knows, over the whole screen, as lock screens have it.
class CoveringWindow
{
public:
    CoveringWindow()
    {
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(m_server.get())).data;
        const std::uint32_t overrideRedirect = 1;
        const xcb_window_t window = xcb_generate_id(m_server.get());
        xcb_create_window(m_server.get(), XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, screen->width_in_pixels,
                          screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
        xcb_map_window(m_server.get(), window);
        xcb_flush(m_server.get());
    }

private:
    const Server m_server = connectToServer();
};

/// The whole program with its notch, on a desktop of the test's own with a terminal that has the focus.
class NotchShellTest : public ::testing::Test
{
protected:
    NotchShellTest()
    {
        EXPECT_TRUE(QDir().mkpath(settingsFolder()));
        // Not the machine's own: the login manager there knows another session.
        environment = desktop.environment();
        environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, desktop.busAddress());
    }

    void start(const QString &mode)
    {
        setMode(mode);
        vantry = &desktop.start(QStringLiteral(VANTRY_PROGRAM), {}, environment);
        ASSERT_TRUE(FakeTray::waitFor([this] { return logText().contains("HTTP hook server started"); }))
            << logText().toStdString();
    }
    /// As somebody else changes the settings.
    void setMode(const QString &mode) const
    {
        QSaveFile file(settingsFolder() + u"/settings.json");
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(QByteArray(R"({"displayMode":")") + mode.toUtf8() + R"(","hasCompletedOnboarding":true})");
        ASSERT_TRUE(file.commit());
    }
    [[nodiscard]] QString settingsFolder() const { return desktop.path(u"home/.config/Vantry"_s); }
    [[nodiscard]] QByteArray logText() const
    {
        QFile file(desktop.path(u"home/.local/share/Vantry/debug.log"_s));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] quint64 notch() const { return desktopWindows.shown("Vantry Notch"); }
    [[nodiscard]] quint64 card() const { return desktopWindows.shown("Vantry Card"); }
    [[nodiscard]] bool waitForNotch() const
    {
        return FakeTray::waitFor([this] { return notch() != 0; });
    }
    [[nodiscard]] bool waitUntilHidden() const
    {
        return FakeTray::waitFor([this] { return notch() == 0; });
    }
    /// Waits until the notch's window, which is as wide as half the screen, has its top there.
    [[nodiscard]] bool waitForNotchAt(QPoint middleOfTop) const
    {
        return FakeTray::waitFor([&] {
            const quint64 window = notch();
            if (window == 0)
                return false;
            const QRect frame = frameOf(window);
            return QPoint(frame.x() + frame.width() / 2, frame.y()) == middleOfTop;
        });
    }
    [[nodiscard]] QRect frameOf(quint64 window) const
    {
        const QString text = desktop.outputOf(u"xwininfo"_s, { u"-id"_s, QString::number(window) });
        const auto number = [&text](const QString &name) {
            return QRegularExpression(name + u":\\s+(-?\\d+)"_s).match(text).captured(1).toInt();
        };
        return { number(u"Absolute upper-left X"_s), number(u"Absolute upper-left Y"_s), number(u"Width"_s),
                 number(u"Height"_s) };
    }
    /// What of the notch's window is drawn, where nothing is translucent; empty where it is all of it.
    [[nodiscard]] QRect shape() const
    {
        const QString text = desktop.outputOf(u"xwininfo"_s, { u"-shape"_s, u"-id"_s, QString::number(notch()) });
        const auto found = QRegularExpression(u"shape extents:\\s+(\\d+)x(\\d+)([+-]-?\\d+)([+-]-?\\d+)"_s).match(text);
        return { found.captured(3).toInt(), found.captured(4).toInt(), found.captured(1).toInt(),
                 found.captured(2).toInt() };
    }
    [[nodiscard]] quint64 openTerminal(const QStringList &arguments = { u"-geometry"_s, u"40x10+100+600"_s })
    {
        desktop.start(u"xterm"_s, QStringList { u"-class"_s, u"Terminal"_s } + arguments);
        const quint64 window = desktop.waitForWindow(u"Terminal"_s);
        EXPECT_TRUE(desktop.waitUntilActive(window));
        return window;
    }
    void movePointer(QPoint to) const
    {
        (void)desktop.outputOf(u"xdotool"_s, { u"mousemove"_s, QString::number(to.x()), QString::number(to.y()) });
    }
    void click() const { (void)desktop.outputOf(u"xdotool"_s, { u"click"_s, u"1"_s }); }
    /// The window that a click there would reach.
    [[nodiscard]] quint64 windowAt(QPoint place) const
    {
        movePointer(place);
        const QString text = desktop.outputOf(u"xdotool"_s, { u"getmouselocation"_s, u"--shell"_s });
        return text.section(u"WINDOW="_s, 1).section(u'\n', 0, 0).toULongLong();
    }
    /// The window that typed keys reach.
    [[nodiscard]] quint64 focusedWindow() const
    {
        return desktop.outputOf(u"xdotool"_s, { u"getwindowfocus"_s }).toULongLong();
    }
    [[nodiscard]] static HookCall ask()
    {
        return HookCall::post({ { "session_id", "one" },
                                { "hook_event_name", "PermissionRequest" },
                                { "tool_name", "Bash" },
                                { "cwd", "/" } });
    }
    void TearDown() override
    {
        if (!vantry)
            return;
        vantry->sendSignal(SIGTERM);
        EXPECT_TRUE(FakeTray::waitFor([this] { return vantry->waitForFinished(0) || hasEnded(); }));
        EXPECT_EQ(vantry->exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(vantry->exitCode(), 0);
    }
    [[nodiscard]] bool hasEnded() const { return vantry->state() == QProcess::NotRunning; }

    /// In the compact notch, which is 28 high.
    static constexpr QPoint inNotch { 960, 10 };
    /// The button at the right end of the card, which begins 4 below the notch and is 300 by 52.
    static constexpr QPoint allowButton { 1076, 58 };
    static constexpr QPoint nowhere { 30, 1050 };

    Desktop desktop { { .windowManager = true, .bus = true } };
    const DesktopWindows desktopWindows;
    QProcessEnvironment environment;
    ChildProcess *vantry { nullptr };
};

TEST_F(NotchShellTest, standsAloneInItsModeAndHidesTheIcon)
{
    FakeTray tray(desktop.busAddress());
    start(u"notch"_s);

    EXPECT_TRUE(waitForNotchAt({ 960, 0 }));
    ASSERT_TRUE(tray.waitForIcon());
    EXPECT_TRUE(FakeTray::waitFor([&] { return !tray.hasIcon(); }));
}

TEST_F(NotchShellTest, comesAndGoesWithTheSettings)
{
    FakeTray tray(desktop.busAddress());
    start(u"menuBar"_s);
    ASSERT_TRUE(tray.waitForIcon());
    EXPECT_EQ(notch(), 0);

    setMode(u"both"_s);
    EXPECT_TRUE(waitForNotch());
    EXPECT_TRUE(tray.hasIcon());
    setMode(u"menuBar"_s);
    EXPECT_TRUE(waitUntilHidden());
    setMode(u"notch"_s);
    EXPECT_TRUE(waitForNotch());
    EXPECT_TRUE(FakeTray::waitFor([&] { return !tray.hasIcon(); }));
    setMode(u"rubbish"_s);
    EXPECT_TRUE(waitUntilHidden());
    EXPECT_TRUE(FakeTray::waitFor([&] { return tray.hasIcon(); }));
}

TEST_F(NotchShellTest, standsInForTheIconUntilThereIsATray)
{
    start(u"menuBar"_s);
    EXPECT_TRUE(waitForNotch());
    EXPECT_EQ(logText().count("VantryApp: no tray"), 1);

    FakeTray tray(desktop.busAddress());
    ASSERT_TRUE(tray.waitForIcon());
    EXPECT_TRUE(waitUntilHidden());
}

TEST_F(NotchShellTest, answersAHeldRequestOnItsCard)
{
    const quint64 terminal = openTerminal();
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotch());
    HookCall held = ask();

    ASSERT_TRUE(FakeTray::waitFor([this] { return card() != 0; }));
    EXPECT_EQ(focusedWindow(), terminal);
    // It takes no click before it has faded in.
    ASSERT_TRUE(FakeTray::waitFor([&] { return windowAt(allowButton) == card(); }));
    click();

    EXPECT_THAT(held.body(), HasSubstr(R"("allow")"));
    EXPECT_TRUE(FakeTray::waitFor([this] { return card() == 0; }));
    EXPECT_EQ(focusedWindow(), terminal);
}

TEST_F(NotchShellTest, leavesTheKeysToTheTerminalWhileThePointerIsInIt)
{
    const quint64 terminal = openTerminal();
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotch());

    movePointer(inNotch);
    ASSERT_TRUE(FakeTray::waitFor([this] { return shape().height() > 400; }));
    EXPECT_EQ(focusedWindow(), terminal);
    EXPECT_EQ(desktop.activeWindow(), terminal);

    movePointer(nowhere);
    EXPECT_TRUE(FakeTray::waitFor([this] { return shape().height() < 40; }));
    EXPECT_EQ(focusedWindow(), terminal);
}

TEST_F(NotchShellTest, takesTheKeysOnceItIsClickedIntoAndGivesThemBack)
{
    const quint64 terminal = openTerminal();
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotch());
    movePointer(inNotch);
    ASSERT_TRUE(FakeTray::waitFor([this] { return shape().height() > 400; }));

    constexpr QPoint inPanel { 960, 300 };
    // Until the animation has come to its end, a click doesn't take the focus.
    ASSERT_TRUE(FakeTray::waitFor([&] {
        movePointer(inPanel);
        click();
        return focusedWindow() == notch();
    }));

    movePointer(nowhere);
    EXPECT_TRUE(FakeTray::waitFor([&] { return focusedWindow() == terminal; }));
    EXPECT_EQ(desktop.activeWindow(), terminal);
}

TEST_F(NotchShellTest, letsClicksBesideItThrough)
{
    const quint64 terminal = openTerminal({ u"-geometry"_s, u"60x10+500+0"_s });
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotch());
    desktop.start(u"picom"_s, { u"--backend"_s, u"xrender"_s });

    constexpr QPoint beside { 600, 100 };
    EXPECT_TRUE(frameOf(notch()).contains(beside)) << "the window is larger than its shape";
    EXPECT_NE(windowAt(beside), notch());
    click();
    EXPECT_TRUE(desktop.waitUntilActive(terminal));
    EXPECT_EQ(windowAt(inNotch), notch());
}

TEST_F(NotchShellTest, drawsOnlyItsShapeWithoutACompositor)
{
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotch());
    const auto isCutOut = [this] { return !shape().isEmpty(); };
    EXPECT_TRUE(FakeTray::waitFor(isCutOut));

    ChildProcess &compositor = desktop.start(u"picom"_s, { u"--backend"_s, u"xrender"_s });
    EXPECT_TRUE(FakeTray::waitFor([&] { return !isCutOut(); }));
    compositor.kill();
    EXPECT_TRUE(FakeTray::waitFor(isCutOut));
}

TEST_F(NotchShellTest, getsOutOfTheWayOfAFullScreenProgram)
{
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotch());

    ChildProcess &movie = desktop.start(u"xterm"_s, { u"-class"_s, u"Movie"_s, u"-fullscreen"_s });
    EXPECT_TRUE(waitUntilHidden());
    HookCall held = ask();
    ASSERT_TRUE(FakeTray::waitFor([this] { return logText().contains("PendingPermissionStore: added Bash"); }));
    EXPECT_EQ(card(), 0);

    movie.kill();
    EXPECT_TRUE(waitForNotch());
}

TEST_F(NotchShellTest, comesBackWhenAnotherWindowIsInFront)
{
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotch());
    desktop.start(u"xterm"_s, { u"-class"_s, u"Movie"_s, u"-fullscreen"_s });
    ASSERT_TRUE(waitUntilHidden());

    const quint64 terminal = openTerminal();
    (void)desktop.outputOf(u"xdotool"_s, { u"windowactivate"_s, QString::number(terminal) });

    EXPECT_TRUE(waitForNotch());
}

TEST_F(NotchShellTest, isNotSeenOverAScreenThatIsCoveredByNobodysWindow)
{
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotch());

    {
        const CoveringWindow lockScreen;
        EXPECT_TRUE(waitUntilHidden());
    }
    EXPECT_TRUE(waitForNotch());
}

TEST_F(NotchShellTest, isNotSeenWhileTheSessionIsLocked)
{
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotch());
    const QString service = u"org.freedesktop.ScreenSaver"_s;
    QDBusConnection bus = QDBusConnection::connectToBus(desktop.busAddress(), u"screen-saver"_s);
    ASSERT_TRUE(bus.registerService(service));
    const auto tell = [&](bool isActive) {
        auto signal = QDBusMessage::createSignal(u"/org/freedesktop/ScreenSaver"_s, service, u"ActiveChanged"_s);
        signal << isActive;
        EXPECT_TRUE(bus.send(signal));
    };

    tell(true);
    EXPECT_TRUE(waitUntilHidden());
    HookCall held = ask();
    ASSERT_TRUE(FakeTray::waitFor([this] { return logText().contains("PendingPermissionStore: added Bash"); }));
    EXPECT_EQ(card(), 0);

    tell(false);
    EXPECT_TRUE(waitForNotch());
    QDBusConnection::disconnectFromBus(u"screen-saver"_s);
}

TEST_F(NotchShellTest, isBelowABarThatComesLater)
{
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotchAt({ 960, 0 }));
    QFile configuration(desktop.path(u"tint2rc"_s));
    ASSERT_TRUE(configuration.open(QFile::WriteOnly));
    configuration.write("panel_items = C\npanel_position = top center horizontal\npanel_size = 100% 32\n"
                        "strut_policy = follow_size\ntime1_format = %H\n");
    configuration.close();

    ChildProcess &bar = desktop.start(u"tint2"_s, { u"-c"_s, configuration.fileName() });
    EXPECT_TRUE(waitForNotchAt({ 960, 32 }));
    bar.kill();
    EXPECT_TRUE(waitForNotchAt({ 960, 0 }));
}

TEST_F(NotchShellTest, followsTheScreens)
{
    start(u"notch"_s);
    ASSERT_TRUE(waitForNotchAt({ 960, 0 }));

    (void)desktop.outputOf(u"xrandr"_s, { u"--setmonitor"_s, u"LEFT"_s, u"960/250x1080/280+0+0"_s, u"screen"_s });
    (void)desktop.outputOf(u"xrandr"_s, { u"--setmonitor"_s, u"RIGHT"_s, u"960/250x1080/280+960+0"_s, u"none"_s });
    EXPECT_TRUE(waitForNotchAt({ 480, 0 }));

    (void)desktop.outputOf(u"xrandr"_s, { u"--delmonitor"_s, u"RIGHT"_s });
    (void)desktop.outputOf(u"xrandr"_s, { u"--delmonitor"_s, u"LEFT"_s });
    EXPECT_TRUE(waitForNotchAt({ 960, 0 }));
}

TEST_F(NotchShellTest, theSettingsAreChangedByTheKeyboardAlone)
{
    start(u"menuBar"_s);
    desktop.start(QStringLiteral(VANTRY_PROGRAM), { u"settings"_s }, environment);
    const auto active = [this] { return desktop.outputOf(u"xdotool"_s, { u"getactivewindow"_s, u"getwindowname"_s }); };
    ASSERT_TRUE(FakeTray::waitFor([&] { return active() == u"Settings"; }));
    const auto press = [this](const QString &keys) {
        (void)desktop.outputOf(u"xdotool"_s, QStringList { u"key"_s } + keys.split(u' '));
    };
    const auto stores = [this](const QByteArray &setting) {
        return FakeTray::waitFor([&] {
            QFile file(settingsFolder() + u"/settings.json");
            return file.open(QFile::ReadOnly) && file.readAll().simplified().contains(setting);
        });
    };

    // At first the focus is on the tabs.
    press(u"Tab space"_s);
    const QString entry = desktop.path(u"home/.config/autostart/com.vantry.app.desktop"_s);
    EXPECT_TRUE(FakeTray::waitFor([&] { return QFile::exists(entry); }));
    press(u"space"_s);
    EXPECT_TRUE(FakeTray::waitFor([&] { return !QFile::exists(entry); }));

    press(u"Tab Right"_s);
    EXPECT_TRUE(stores(R"("displayMode": "notch")"));
    press(u"Right"_s);
    EXPECT_TRUE(stores(R"("displayMode": "both")"));
    EXPECT_TRUE(waitForNotch());
    press(u"Tab space"_s);
    EXPECT_TRUE(stores(R"("virtual_notch": false)"));
    EXPECT_TRUE(FakeTray::waitFor([this] { return notch() == 0; }));

    press(u"Escape"_s);
    EXPECT_TRUE(FakeTray::waitFor([&] { return active() != u"Settings"; }));
}

} // namespace
} // namespace vantry::test
