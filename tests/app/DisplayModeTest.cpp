#include "ShellFixture.h"

#include "DynamicNotchKit/DynamicNotchPanel.h"
#include "notch/NotchController.h"

#include <QFile>
#include <QGuiApplication>
#include <QPointer>

#include <algorithm>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class DisplayModeTest : public ShellFixture
{
protected:
    DisplayModeTest() { screens.all = { FakeScreens::notched(u"one"_s, QRect(0, 0, 800, 800)) }; }

    /// As the program starts, with this mode stored; an empty one is none.
    void launch(const QString &mode = {})
    {
        if (!mode.isEmpty())
            delegate.defaults().setString(u"displayMode"_s, mode);
        delegate.defaults().setBoolean(u"hasCompletedOnboarding"_s, true);
        mainQueue.drainAll();
        start();
        delegate.applicationDidFinishLaunching();
    }
    void setMode(const QString &mode)
    {
        delegate.defaults().setString(u"displayMode"_s, mode);
        mainQueue.drainAll();
    }
    [[nodiscard]] NotchController *notch() { return app->notch().controller(); }
    [[nodiscard]] NotchState notchState() { return notch()->stateMachine().state(); }
    [[nodiscard]] int logLinesWith(const QByteArray &text) const
    {
        QFile log(home.filePath(u"data/debug.log"_s));
        EXPECT_TRUE(log.open(QFile::ReadOnly));
        return static_cast<int>(log.readAll().count(text));
    }
    /// Moves the pointer into the notch, which it stays in.
    void expand()
    {
        scheduler.advance(1s);
        const auto windows = QGuiApplication::topLevelWindows();
        const auto found = std::ranges::find_if(
            windows, [](QWindow *window) { return window->isVisible() && qobject_cast<DynamicNotchPanel *>(window); });
        ASSERT_NE(found, windows.end());
        QTest::mouseMove(*found, QPoint((*found)->width() / 2, 10));
        scheduler.advance(150ms);
    }
    /// An event as the hook server delivers it.
    void arrive(HookEventType type, const QString &session, const QString &tool = {})
    {
        EventBuilder event(type);
        event.session(session);
        if (!tool.isEmpty())
            event.tool(tool);
        delegate.httpServer().onEventReceived(event);
        mainQueue.drainAll();
    }
};

TEST_F(DisplayModeTest, hidesTheIconHalfASecondAfterTheStartWhenTheNotchAloneIsWanted)
{
    launch(u"notch"_s);

    scheduler.advance(499ms);
    EXPECT_TRUE(item.isVisible);
    scheduler.advance(1ms);
    EXPECT_FALSE(item.isVisible);
}

TEST_F(DisplayModeTest, showsTheIconInAllOtherModes)
{
    for (const QString &mode : { u"menuBar"_s, u"both"_s, u"nonsense"_s }) {
        launch(mode);
        scheduler.advance(1s);

        EXPECT_TRUE(item.isVisible) << mode.toStdString();
        app.reset();
    }
}

TEST_F(DisplayModeTest, followsTheDisplayModeWhileItRuns)
{
    start();
    scheduler.advance(1s);

    setMode(u"notch"_s);
    EXPECT_FALSE(item.isVisible);
    setMode(u"both"_s);
    EXPECT_TRUE(item.isVisible);
}

TEST_F(DisplayModeTest, takesTheFirstChangeOfAnySettingForOneOfTheMode)
{
    start();
    scheduler.advance(1s);
    item.isVisible = false;

    delegate.defaults().setBoolean(u"something"_s, true);
    mainQueue.drainAll();
    EXPECT_TRUE(item.isVisible);

    item.isVisible = false;
    delegate.defaults().setBoolean(u"something"_s, false);
    mainQueue.drainAll();
    EXPECT_FALSE(item.isVisible);
}

TEST_F(DisplayModeTest, showsTheNotchFromTheStartWhereItIsWanted)
{
    for (const QString &mode : { u"notch"_s, u"both"_s }) {
        launch(mode);

        EXPECT_TRUE(notch()) << mode.toStdString();
        app.reset();
    }
    for (const QString &mode : { u"menuBar"_s, u"nonsense"_s }) {
        launch(mode);

        EXPECT_FALSE(notch()) << mode.toStdString();
        app.reset();
    }
}

TEST_F(DisplayModeTest, showsNoNotchBeforeTheServicesRun)
{
    delegate.defaults().setString(u"displayMode"_s, u"notch"_s);
    start();
    EXPECT_FALSE(notch());

    delegate.applicationDidFinishLaunching();
    EXPECT_TRUE(notch());
}

TEST_F(DisplayModeTest, tearsTheNotchDownAndMakesANewOne)
{
    launch(u"notch"_s);
    const QPointer<NotchController> first = notch();

    setMode(u"menuBar"_s);
    EXPECT_FALSE(notch());
    EXPECT_FALSE(first);
    EXPECT_TRUE(item.isVisible);

    setMode(u"notch"_s);
    EXPECT_TRUE(notch());
    EXPECT_FALSE(item.isVisible);
}

TEST_F(DisplayModeTest, watchesForFullScreenWindowsAndTheLockOnlyWhileANotchIsShown)
{
    launch();
    EXPECT_FALSE(fullScreens.isWatched());
    EXPECT_FALSE(sessionLock.isListenedTo());

    setMode(u"both"_s);
    EXPECT_TRUE(fullScreens.isWatched());
    EXPECT_TRUE(sessionLock.isListenedTo());

    setMode(u"menuBar"_s);
    EXPECT_FALSE(fullScreens.isWatched());
    EXPECT_FALSE(sessionLock.isListenedTo());
}

TEST_F(DisplayModeTest, keepsTheNotchWhenTheIconComesToIt)
{
    launch(u"notch"_s);
    const NotchController *first = notch();

    setMode(u"both"_s);

    EXPECT_EQ(notch(), first);
    EXPECT_TRUE(item.isVisible);
}

TEST_F(DisplayModeTest, survivesAStormOfModes)
{
    launch();
    for (int i = 0; i < 30; ++i) {
        for (const QString &mode : { u"notch"_s, u"menuBar"_s, u"both"_s, u"rubbish"_s }) {
            setMode(mode);
            EXPECT_EQ(notch() != nullptr, mode == u"notch" || mode == u"both");
        }
        scheduler.advance(100ms);
    }
}

TEST_F(DisplayModeTest, takesAModeOfAWrongTypeForNone)
{
    launch(u"notch"_s);
    delegate.defaults().setBoolean(u"displayMode"_s, true);
    mainQueue.drainAll();

    EXPECT_FALSE(notch());
    EXPECT_TRUE(item.isVisible);
}

TEST_F(DisplayModeTest, showsTheNotchWhereThereIsNoTrayUntilOneComes)
{
    launch(u"menuBar"_s);
    item.tray = false;
    item.onNoTray();
    EXPECT_TRUE(notch());
    EXPECT_EQ(logLinesWith("VantryApp: no tray"), 1);

    // The stored mode may change meanwhile.
    setMode(u"notch"_s);
    setMode(u"menuBar"_s);
    EXPECT_TRUE(notch());

    item.tray = true;
    item.onTrayFound();
    EXPECT_FALSE(notch());
}

TEST_F(DisplayModeTest, keepsTheWantedNotchWhenATrayComes)
{
    launch(u"both"_s);
    item.onNoTray();
    const NotchController *first = notch();

    item.onTrayFound();

    EXPECT_EQ(notch(), first);
}

TEST_F(DisplayModeTest, offersNoNotchWhereWindowsCannotBePlaced)
{
    overlays.places = false;
    launch(u"notch"_s);
    scheduler.advance(1s);
    setMode(u"both"_s);
    setMode(u"notch"_s);

    EXPECT_FALSE(notch());
    EXPECT_TRUE(item.isVisible) << "nothing else is there to be seen";
    EXPECT_EQ(logLinesWith("NotchPresenter: this desktop lets no program place its windows"), 1);
}

TEST_F(DisplayModeTest, tellsTheNotchOfASessionThatWaits)
{
    launch(u"notch"_s);

    arrive(HookEventType::permissionRequest, u"one"_s, u"Bash"_s);

    EXPECT_EQ(notchState(), NotchState::peeking);
    EXPECT_EQ(notch()->viewModel().attentionCount(), 1);
    scheduler.advance(5s);
    EXPECT_EQ(notchState(), NotchState::compact);
}

TEST_F(DisplayModeTest, tellsTheNotchWhenTheLastSessionHasGone)
{
    launch(u"notch"_s);
    arrive(HookEventType::permissionRequest, u"one"_s, u"Bash"_s);

    arrive(HookEventType::sessionEnd, u"one"_s);

    EXPECT_EQ(notch()->viewModel().attentionCount(), 0);
    EXPECT_EQ(notchState(), NotchState::compact);
}

TEST_F(DisplayModeTest, tellsNobodyOfSessionsWithoutANotch)
{
    launch(u"menuBar"_s);

    arrive(HookEventType::permissionRequest, u"one"_s, u"Bash"_s);
    arrive(HookEventType::sessionEnd, u"one"_s);

    EXPECT_FALSE(notch());
}

TEST_F(DisplayModeTest, hasVirtualNotchesUnlessTheyAreTurnedOff)
{
    launch(u"notch"_s);
    EXPECT_TRUE(screens.virtualNotch);

    delegate.defaults().setBoolean(u"virtual_notch"_s, false);
    mainQueue.drainAll();
    EXPECT_FALSE(screens.virtualNotch);

    delegate.defaults().setString(u"virtual_notch"_s, u"no"_s);
    mainQueue.drainAll();
    EXPECT_TRUE(screens.virtualNotch);
    app.reset();

    delegate.defaults().setBoolean(u"virtual_notch"_s, false);
    mainQueue.drainAll();
    screens.virtualNotch = true;
    launch(u"notch"_s);
    EXPECT_FALSE(screens.virtualNotch) << "from the start";
}

TEST_F(DisplayModeTest, endsWithTheNotchShown)
{
    launch(u"both"_s);
    arrive(HookEventType::permissionRequest, u"one"_s, u"Bash"_s);

    app.reset();
    arrive(HookEventType::permissionRequest, u"two"_s, u"Bash"_s);

    EXPECT_FALSE(screens.onChanged);
    EXPECT_FALSE(item.onTrayFound);
}

TEST_F(DisplayModeTest, collapsesTheNotchBeforeTheSettingsOpen)
{
    launch(u"notch"_s);
    expand();
    ASSERT_EQ(notchState(), NotchState::expanded);

    delegate.openSettings();

    EXPECT_EQ(notchState(), NotchState::compact);
    EXPECT_TRUE(app->windows().window(VantryApp::settingsWindow));
}

} // namespace
} // namespace vantry::test
