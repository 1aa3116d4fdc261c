#include "ShellFixture.h"

#include "app/onboarding/OnboardingViewModel.h"

#include <QQuickItem>
#include <QScreen>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using ::testing::ElementsAre;

class VantryAppTest : public ShellFixture
{
protected:
    VantryAppTest() { item.place = QRect(600, 0, 24, 24); }

    void clickAndWait()
    {
        click();
        ASSERT_TRUE(isOpen());
        ASSERT_TRUE(waitUntilActive());
    }
    void setTextScale(double scale)
    {
        DesktopPreferences::Values values;
        values.textScale = scale;
        preferences.set(values);
    }
    /// The user clicks into a window of another program.
    void takeFocusAway()
    {
        elsewhere.show();
        elsewhere.requestActivate();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&elsewhere));
    }

    void launch()
    {
        start();
        delegate.applicationDidFinishLaunching();
        mainQueue.drainAll();
    }
    [[nodiscard]] QQuickView *setUp() { return app->windows().window(VantryApp::onboardingWindow); }
    void waitUntilSetUpHasGone()
    {
        ASSERT_TRUE(QTest::qWaitFor([this] { return !setUp(); }));
    }
    [[nodiscard]] int stepOfSetUp()
    {
        return setUp()->rootObject()->property("viewModel").value<OnboardingViewModel *>()->stepIndex();
    }
    [[nodiscard]] bool isSetUpDone() { return delegate.defaults().boolean(u"hasCompletedOnboarding"_s, false); }
    void finishSetUp()
    {
        Q_EMIT setUp()->rootObject()->property("viewModel").value<OnboardingViewModel *>()->completed();
    }

    QWindow elsewhere;
};

TEST_F(VantryAppTest, loadsNoViewBeforeTheFirstOpening)
{
    start();
    ask(u"one"_s);
    scheduler.advance(10s);

    EXPECT_EQ(panelsMade, 0);
    EXPECT_EQ(app->panel(), nullptr);
}

TEST_F(VantryAppTest, opensThePanelBesideTheIcon)
{
    start();

    clickAndWait();

    EXPECT_TRUE(app->panel()->isPopover());
    EXPECT_EQ(panelGeometry().top(), 24 + panelGap);
    EXPECT_LE(panelGeometry().left(), 600);
    EXPECT_GE(panelGeometry().right(), 624);
    EXPECT_EQ(overlays.overlays, 1);
    EXPECT_TRUE(model->isVisible());
    EXPECT_TRUE(app->isPopoverVisible());
}

TEST_F(VantryAppTest, closesThePanelByTheNextClickAndGivesTheFocusBack)
{
    overlays.active = 77;
    start();
    clickAndWait();

    click();

    EXPECT_FALSE(isOpen());
    EXPECT_FALSE(model->isVisible());
    EXPECT_FALSE(app->isPopoverVisible());
    EXPECT_THAT(overlays.focused, ElementsAre(77));
}

TEST_F(VantryAppTest, makesThePanelOnce)
{
    start();
    for (int i = 0; i < 3; ++i) {
        clickAndWait();
        click();
    }

    EXPECT_EQ(panelsMade, 1);
}

TEST_F(VantryAppTest, closesWhenItLosesTheFocusAndLeavesItWhereItIs)
{
    overlays.active = 77;
    start();
    clickAndWait();
    QList<bool> told;
    QObject::connect(&*app, &VantryApp::popoverVisibleChanged, [&](bool visible) { told.append(visible); });

    takeFocusAway();

    EXPECT_TRUE(QTest::qWaitFor([this] { return !isOpen(); }));
    EXPECT_THAT(overlays.focused, ElementsAre());
    EXPECT_THAT(told, ElementsAre(false));
}

TEST_F(VantryAppTest, doesNotOpenAgainByTheClickThatClosedIt)
{
    start();
    clickAndWait();
    takeFocusAway();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !isOpen(); }));

    click();
    EXPECT_FALSE(isOpen());

    clock.advance(250ms);
    click();
    EXPECT_TRUE(isOpen());
}

TEST_F(VantryAppTest, opensByTheMenuAlsoRightAfterItHasClosed)
{
    start();
    clickAndWait();
    takeFocusAway();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !isOpen(); }));

    item.choose(u"Show Vantry"_s);

    EXPECT_TRUE(isOpen());
}

TEST_F(VantryAppTest, goesBackByEscapeAndClosesAtTheRoot)
{
    overlays.active = 77;
    start();
    clickAndWait();
    model->openSessionBrowser(true);
    ASSERT_EQ(model->screen(), MenuBarViewModel::SessionBrowser);

    press(Qt::Key_Escape);
    EXPECT_EQ(model->screen(), MenuBarViewModel::SessionList);
    EXPECT_TRUE(isOpen());

    press(Qt::Key_Escape);
    EXPECT_FALSE(isOpen());
    EXPECT_THAT(overlays.focused, ElementsAre(77));
}

TEST_F(VantryAppTest, neverOpensByItself)
{
    start();
    ask(u"one"_s);
    scheduler.advance(5s);
    item.onNoTray();

    EXPECT_FALSE(isOpen());
}

TEST_F(VantryAppTest, isAnOrdinaryWindowWhereThereIsNoTray)
{
    item.tray = false;
    start();

    EXPECT_TRUE(endpoint.requests->showPanel());
    ASSERT_TRUE(waitUntilActive());

    EXPECT_FALSE(app->panel()->isPopover());
    EXPECT_EQ(view().title(), u"Vantry"_s);
    EXPECT_EQ(view().flags() & Qt::WindowType_Mask, Qt::Window);
    EXPECT_EQ(overlays.overlays, 0);
    takeFocusAway();
    EXPECT_TRUE(isOpen());
    EXPECT_FALSE(app->isPopoverVisible());
}

TEST_F(VantryAppTest, isAnOrdinaryWindowWhereWindowsCannotBePlaced)
{
    overlays.places = false;
    start();

    click();

    EXPECT_FALSE(app->panel()->isPopover());
}

TEST_F(VantryAppTest, becomesAPopoverWhenATrayHasCome)
{
    item.tray = false;
    start();
    app->showApp();
    ASSERT_TRUE(waitUntilActive());
    view().close();
    ASSERT_FALSE(isOpen());
    EXPECT_FALSE(model->isVisible());

    item.tray = true;
    clickAndWait();

    EXPECT_TRUE(app->panel()->isPopover());
    EXPECT_EQ(panelGeometry().top(), 24 + panelGap);
    item.tray = false;
    click();
    app->showApp();
    EXPECT_FALSE(app->panel()->isPopover());
}

TEST_F(VantryAppTest, saysOnceWhenThereIsNoTray)
{
    start();

    item.onNoTray();

    QFile log(home.filePath(u"data/debug.log"_s));
    ASSERT_TRUE(log.open(QFile::ReadOnly));
    const QByteArray lines = log.readAll();
    EXPECT_EQ(lines.count("VantryApp: no tray"), 1);
    EXPECT_EQ(lines.count("Could not find status item button for right-click menu"), 1);
}

TEST_F(VantryAppTest, hasAShadowOnlyWhereWindowsCanBeTranslucent)
{
    start();
    clickAndWait();
    EXPECT_EQ(app->panel()->shadowMargin(), 0);
    click();

    overlays.compositor = true;
    clickAndWait();

    EXPECT_GT(app->panel()->shadowMargin(), 0);
    EXPECT_EQ(panelGeometry().top(), 24 + panelGap);
    EXPECT_EQ(overlays.inputArea, panelGeometry().translated(-view().position()));
}

TEST_F(VantryAppTest, growsWithTheDesktopsTextWhileItIsOpen)
{
    start();
    clickAndWait();
    const QSize before = panelGeometry().size();

    setTextScale(1.25);

    EXPECT_EQ(panelGeometry().size(), (QSizeF(before) * 1.25).toSize());
    EXPECT_EQ(panelGeometry().top(), 24 + panelGap);
}

TEST_F(VantryAppTest, keepsThePlaceOfItsBarWhenThePanelChangesItsSize)
{
    start();
    clickAndWait();

    model->setOverrideHeight(500);

    EXPECT_EQ(panelGeometry().height(), 500);
    EXPECT_EQ(panelGeometry().top(), 24 + panelGap);
}

TEST_F(VantryAppTest, isNeverLargerThanTheScreen)
{
    start();
    setTextScale(3);

    clickAndWait();

    EXPECT_TRUE(view().screen()->availableGeometry().contains(panelGeometry()));
}

TEST_F(VantryAppTest, opensTheSettingsByTheirId)
{
    start();

    EXPECT_TRUE(endpoint.requests->showSettings());

    QQuickView *window = app->windows().window(VantryApp::settingsWindow);
    ASSERT_TRUE(window);
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    EXPECT_EQ(window->title(), u"Settings"_s);
    EXPECT_EQ(window->minimumSize(), QSize(440, 480));
    EXPECT_EQ(window->status(), QQuickView::Ready);
    delegate.openSettings();
    EXPECT_EQ(app->windows().window(VantryApp::settingsWindow), window);
}

TEST_F(VantryAppTest, letsGoOfTheSettingsWhenTheyAreClosed)
{
    start();
    app->openSettings();
    ASSERT_TRUE(QTest::qWaitForWindowActive(app->windows().window(VantryApp::settingsWindow)));

    app->windows().window(VantryApp::settingsWindow)->close();

    EXPECT_TRUE(QTest::qWaitFor([this] { return !app->windows().window(VantryApp::settingsWindow); }));
    app->openSettings();
    EXPECT_TRUE(app->windows().window(VantryApp::settingsWindow));
}

TEST_F(VantryAppTest, keepsTheSettingsThatAreOpenedAgainBeforeTheyHaveGone)
{
    start();
    app->openSettings();
    ASSERT_TRUE(QTest::qWaitForWindowActive(app->windows().window(VantryApp::settingsWindow)));

    app->windows().dismiss(VantryApp::settingsWindow);
    app->openSettings();
    QCoreApplication::processEvents();

    ASSERT_TRUE(app->windows().window(VantryApp::settingsWindow));
    EXPECT_TRUE(app->windows().window(VantryApp::settingsWindow)->isVisible());
}

TEST_F(VantryAppTest, opensNoWindowOfAnUnknownId)
{
    start();

    EXPECT_FALSE(app->windows().open(u"nonsense"_s));
    app->windows().dismiss(u"nonsense"_s);
}

TEST_F(VantryAppTest, opensTheSetUpAMomentAfterTheFirstStart)
{
    launch();
    scheduler.advance(299ms);
    EXPECT_EQ(setUp(), nullptr);

    scheduler.advance(1ms);

    ASSERT_TRUE(setUp());
    EXPECT_TRUE(QTest::qWaitForWindowActive(setUp()));
    EXPECT_EQ(setUp()->title(), u"Vantry Setup"_s);
    EXPECT_EQ(setUp()->size(), QSize(520, 460));
    EXPECT_EQ(setUp()->minimumSize(), setUp()->maximumSize()) << "it can't be resized";
    EXPECT_EQ(panelsMade, 0);
    setTextScale(1.25);
    EXPECT_EQ(setUp()->size(), QSize(650, 575));
    setTextScale(4);
    EXPECT_EQ(setUp()->size(), setUp()->screen()->availableSize());
}

TEST_F(VantryAppTest, opensNoSetUpWhereThatIsDone)
{
    delegate.defaults().setBoolean(u"hasCompletedOnboarding"_s, true);
    launch();
    scheduler.advance(10s);

    clickAndWait();

    EXPECT_EQ(setUp(), nullptr);
}

TEST_F(VantryAppTest, bringsTheSetUpBackWithThePanelAtItsStep)
{
    launch();
    scheduler.advance(300ms);
    ASSERT_TRUE(QTest::qWaitForWindowActive(setUp()));
    QTest::keyClick(setUp(), Qt::Key_Return);
    EXPECT_EQ(stepOfSetUp(), 1);
    setUp()->close();
    waitUntilSetUpHasGone();
    EXPECT_FALSE(isSetUpDone());

    clickAndWait();

    ASSERT_TRUE(setUp());
    EXPECT_TRUE(setUp()->isVisible());
    EXPECT_EQ(stepOfSetUp(), 1);
    EXPECT_TRUE(isOpen()) << "the panel is not in the way, and the set-up is not in its way";
}

TEST_F(VantryAppTest, keepsThePanelThatIsOpenWhenTheSetUpComes)
{
    launch();
    clickAndWait();
    EXPECT_TRUE(setUp()) << "the panel brings it";
    scheduler.advance(300ms);

    EXPECT_TRUE(setUp()->isVisible());
}

TEST_F(VantryAppTest, isDoneWithTheSetUpOnce)
{
    launch();
    scheduler.advance(300ms);

    finishSetUp();
    waitUntilSetUpHasGone();

    EXPECT_TRUE(isSetUpDone());
    // As the settings do: it is for the next start.
    delegate.defaults().setBoolean(u"hasCompletedOnboarding"_s, false);
    mainQueue.drainAll();
    clickAndWait();
    EXPECT_EQ(setUp(), nullptr);
}

TEST_F(VantryAppTest, opensNoSetUpWhenItIsResetInThisRun)
{
    delegate.defaults().setBoolean(u"hasCompletedOnboarding"_s, true);
    launch();
    scheduler.advance(10s);

    delegate.defaults().setBoolean(u"hasCompletedOnboarding"_s, false);
    mainQueue.drainAll();
    scheduler.advance(10s);
    clickAndWait();

    EXPECT_EQ(setUp(), nullptr);
}

TEST_F(VantryAppTest, leavesTheSetUpOpenWhenItIsSaidToBeDoneElsewhere)
{
    launch();
    scheduler.advance(300ms);

    delegate.defaults().setBoolean(u"hasCompletedOnboarding"_s, true);
    mainQueue.drainAll();

    EXPECT_TRUE(setUp()->isVisible());
    setUp()->close();
    waitUntilSetUpHasGone();
    clickAndWait();
    EXPECT_EQ(setUp(), nullptr) << "but it isn't brought back";
}

TEST_F(VantryAppTest, endsWithTheSetUpOpen)
{
    launch();
    scheduler.advance(300ms);
    ASSERT_TRUE(setUp());

    app.reset();
}

TEST_F(VantryAppTest, showsNothingAfterItsEnd)
{
    start();
    clickAndWait();
    app->openSettings();

    app.reset();

    EXPECT_FALSE(endpoint.requests->showPanel());
    EXPECT_FALSE(endpoint.requests->showSettings());
    delegate.openSettings();
}

} // namespace
} // namespace vantry::test
