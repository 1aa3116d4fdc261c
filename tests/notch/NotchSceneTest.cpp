#include "notch/NotchScene.h"

#include "DynamicNotchKit/DynamicNotch.h"
#include "gallery/PanelWorld.h"
#include "support/FakeFullScreenWatch.h"
#include "support/FakeScreens.h"
#include "support/FakeSessionLock.h"
#include "support/views/ViewWindow.h"

#include <QGuiApplication>
#include <QHash>
#include <QPointer>
#include <QQmlEngine>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace vantry::test {
namespace {

TEST(PeekCardFrameTest, standsBelowTheNotchInTheMiddleOfTheScreen)
{
    const auto notched = FakeScreens::notched(u"two"_s, QRect(1920, 30, 2560, 1410));
    EXPECT_EQ(peekCardFrame(notched, 1), QRect(1920 + 1280 - 150, 30 + 28 + 4, 300, 52));
    const auto plain = FakeScreens::plain(u"one"_s, QRect(0, 0, 1920, 1080));
    EXPECT_EQ(peekCardFrame(plain, 1), QRect(810, 4, 300, 52)) << "with a top inset of 0";
}

TEST(PeekCardFrameTest, growsWithTheText)
{
    const auto notched = FakeScreens::notched(u"one"_s, QRect(0, 0, 1920, 1080));
    EXPECT_EQ(peekCardFrame(notched, 2), QRect(660, 32, 600, 104));
}

TEST(PeekCardFrameTest, screensAtTheLeftAndOfNoSizeAreFine)
{
    EXPECT_EQ(peekCardFrame(FakeScreens::notched(u"one"_s, QRect(-1280, -200, 1280, 800)), 1),
              QRect(-640 - 150, -200 + 32, 300, 52));
    EXPECT_EQ(peekCardFrame({}, 1), QRect(-150, 4, 300, 52));
}

/// A desktop that keeps each window's input area.
class Overlays final : public OverlayWindows
{
public:
    [[nodiscard]] bool canPlace() const override { return places; }
    [[nodiscard]] bool hasCompositor() const override { return compositor; }
    [[nodiscard]] bool seesPointer() const override { return false; }
    [[nodiscard]] QRect availableArea(const QScreen &screen) const override { return screen.availableGeometry(); }
    [[nodiscard]] std::optional<WindowID> activeWindow() const override { return {}; }
    void setUpOverlay(QWindow & /*window*/) override {}
    void setInputArea(QWindow &window, const QRegion &area) override { areas[&window] = area; }
    void takeFocus(QWindow & /*window*/) override {}
    void giveFocus(WindowID /*window*/) override {}

    bool places { true };
    bool compositor { true };
    QHash<const QWindow *, QRegion> areas;
};

/// The notch with its real windows, in memory.
class NotchSceneTest : public ::testing::Test
{
protected:
    NotchSceneTest()
    {
        const QScreen *screen = QGuiApplication::primaryScreen();
        screens.all = { FakeScreens::notched(screen->name(), screen->geometry()) };
        appearance.install(engine);
    }
    ~NotchSceneTest() override
    {
        controller.reset();
        scene.reset();
        EXPECT_THAT(warnings.takeWarnings(), IsEmpty());
    }

    SessionPtr add(const QString &project, SessionState state)
    {
        SessionPtr session = world.add({ .project = project, .state = state, .tool = u"Bash"_s });
        if (controller)
            controller->sessionsDidChange();
        return session;
    }
    void start()
    {
        scene = std::make_unique<NotchScene>(NotchScene::Surroundings {
            [this]() -> QQmlEngine & { return engine; }, appearance, overlays, screens, fullScreens.maker(),
            sessionLock.maker(), world.services(), world.callbacks(),
            [this] { return std::make_unique<MenuBarViewModel>(world.services(), world.callbacks()); } });
        controller = scene->makeController();
        controller->start();
        wait(1);
    }
    void wait(double seconds)
    {
        world.settleAfter(Seconds { seconds });
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
    [[nodiscard]] NotchPeekPanel &peek() { return dynamic_cast<NotchPeekPanel &>(scene->peekPanel()); }
    /// The windows that are shown.
    static QWindowList windows()
    {
        auto all = QGuiApplication::topLevelWindows();
        all.removeIf([](const QWindow *window) { return !window->isVisible(); });
        return all;
    }

    WarningRecorder warnings;
    gallery::PanelWorld world;
    FakeDesktopPreferences preferences;
    Appearance appearance { preferences };
    QQmlEngine engine;
    Overlays overlays;
    FakeScreens screens;
    FakeFullScreenWatch fullScreens;
    FakeSessionLock sessionLock;
    std::unique_ptr<NotchScene> scene;
    std::unique_ptr<NotchController> controller;
};

TEST_F(NotchSceneTest, showsTheNotchAndTheCard)
{
    start();
    EXPECT_EQ(windows().size(), 1);
    const auto a = add(u"storefront"_s, SessionState::needsPermission);
    controller->sessionNeedsAttention(a);
    ASSERT_TRUE(peek().view());
    EXPECT_TRUE(peek().view()->isVisible());
    EXPECT_EQ(windows().size(), 2);
    EXPECT_EQ(overlays.areas[peek().view()].boundingRect(), QRect(40, 40, 300, 52));
    EXPECT_TRUE(peek().view()->flags() & Qt::WindowDoesNotAcceptFocus);
    EXPECT_TRUE(peek().view()->flags() & Qt::BypassWindowManagerHint);
}

TEST_F(NotchSceneTest, theCardIsClickedForReal)
{
    start();
    const auto a = add(u"storefront"_s, SessionState::needsPermission);
    controller->sessionNeedsAttention(a);
    wait(0.3);
    QTest::mouseClick(peek().view(), Qt::LeftButton, {}, QPoint(40 + 260, 40 + 26));
    wait(0);
    EXPECT_THAT(world.acts, ElementsAre(u"allow storefront"_s));
    EXPECT_EQ(controller->stateMachine().state(), NotchState::compact);
    EXPECT_TRUE(peek().view()) << "it fades out";
    QTest::mouseClick(peek().view(), Qt::LeftButton, {}, QPoint(40 + 260, 40 + 26));
    wait(1);
    EXPECT_THAT(world.acts, ElementsAre(u"allow storefront"_s)) << "and takes no input";
    EXPECT_EQ(peek().view(), nullptr);
}

TEST_F(NotchSceneTest, withoutACompositorTheCardHasNoShadowAndItsOwnCorners)
{
    overlays.compositor = false;
    start();
    controller->sessionNeedsAttention(add(u"storefront"_s, SessionState::needsPermission));
    EXPECT_EQ(peek().view()->size(), QSize(300, 52));
    EXPECT_EQ(overlays.areas[peek().view()].boundingRect(), QRect(0, 0, 300, 52));
    EXPECT_FALSE(overlays.areas[peek().view()].contains(QPoint(1, 1)));
    EXPECT_TRUE(overlays.areas[peek().view()].contains(QPoint(1, 26)));
}

TEST_F(NotchSceneTest, aCardThatIsReplacedKeepsTheWindow)
{
    start();
    controller->sessionNeedsAttention(add(u"a"_s, SessionState::needsPermission));
    const auto *window = peek().view();
    for (int i = 0; i < 1000; ++i)
        controller->sessionNeedsAttention(world.manager().sessions().first());
    controller->sessionNeedsAttention(add(u"b"_s, SessionState::hasQuestion));
    wait(0.3);
    EXPECT_EQ(peek().view(), window);
    EXPECT_EQ(peek().card()->name(), u"b"_s);
    EXPECT_TRUE(peek().isOpen());
    wait(6);
    EXPECT_EQ(peek().view(), nullptr);
}

TEST_F(NotchSceneTest, aLockTakesTheCardsWindowAtOnce)
{
    start();
    controller->sessionNeedsAttention(add(u"a"_s, SessionState::needsPermission));
    sessionLock.set(true);
    EXPECT_EQ(peek().view(), nullptr);
    wait(1);
    EXPECT_THAT(windows(), IsEmpty());
    sessionLock.set(false);
    EXPECT_EQ(windows().size(), 2);
}

TEST_F(NotchSceneTest, whereWindowsCantBePlacedThereIsNoCard)
{
    overlays.places = false;
    start();
    controller->sessionNeedsAttention(add(u"a"_s, SessionState::needsPermission));
    EXPECT_EQ(peek().view(), nullptr);
    wait(6);
    EXPECT_EQ(controller->stateMachine().state(), NotchState::compact);
}

TEST_F(NotchSceneTest, theTextScaleIsLive)
{
    start();
    controller->sessionNeedsAttention(add(u"a"_s, SessionState::needsPermission));
    preferences.set({ .textScale = 1.5 });
    EXPECT_EQ(overlays.areas[peek().view()].boundingRect().size(), QSize(450, 78));
}

TEST_F(NotchSceneTest, aStoppedNotchGoesWhenItHasFadedOut)
{
    start();
    add(u"a"_s, SessionState::working);
    controller->sessionNeedsAttention(add(u"b"_s, SessionState::needsPermission));
    const QPointer<NotchViewModel> shown = &controller->viewModel();
    controller.reset();
    EXPECT_TRUE(shown) << "the windows show it still";
    wait(2);
    EXPECT_FALSE(shown);
    EXPECT_THAT(windows(), IsEmpty());
}

TEST_F(NotchSceneTest, aSceneThatGoesTakesWhatFadesOutAlong)
{
    start();
    controller->sessionNeedsAttention(add(u"b"_s, SessionState::needsPermission));
    const QPointer<NotchViewModel> shown = &controller->viewModel();
    controller.reset();
    scene.reset();
    EXPECT_FALSE(shown);
    wait(2);
    EXPECT_THAT(windows(), IsEmpty());
}

TEST_F(NotchSceneTest, manyStartsAndStopsLeaveOneNotch)
{
    start();
    for (int i = 0; i < 20; ++i) {
        controller->stop();
        controller->start();
    }
    wait(2);
    EXPECT_EQ(windows().size(), 1);
}

} // namespace
} // namespace vantry::test
