#include "support/OnboardingWorld.h"
#include "support/views/ViewWindow.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;

namespace vantry::test {
namespace {

using HookInstallStatus = OnboardingViewModel::HookInstallStatus;

/// The set-up as it is seen, clicked and typed into.
class OnboardingViewTest : public testing::Test, protected OnboardingWorld
{
protected:
    /// Goes there and waits until it is seen.
    void goToInView(OnboardingStep step)
    {
        ASSERT_TRUE(goTo(step));
        // The fourth page's title stands on a button, too.
        const QStringList awaited {
            u"Welcome to Vantry"_s,
            u"What Vantry Does"_s,
            u"Checking Dependencies"_s,
            u"The hook connects Claude Code sessions to Vantry.\nIt registers a small script that runs on session events."_s,
            u"Configure Sounds"_s,
            u"Choose Display Mode"_s,
            u"You're All Set!"_s
        };
        ASSERT_TRUE(waitForText(awaited.at(static_cast<qsizetype>(step))));
    }
    /// What the view makes of it.
    void settle()
    {
        mainQueue.drainAll();
        QCoreApplication::processEvents();
    }
    void pressReturn(OnboardingStep expected)
    {
        window.key(Qt::Key_Return);
        EXPECT_EQ(model().currentStep(), expected);
        settle();
    }
    [[nodiscard]] QString focused()
    {
        const QQuickItem *item = window.view().activeFocusItem();
        return item ? item->objectName() : QString();
    }
    /// Everything that Tab comes to, from the main button on.
    [[nodiscard]] QStringList tabOrder()
    {
        QStringList names;
        do {
            window.key(Qt::Key_Tab);
            names.append(focused());
        } while (names.last() != u"main" && names.size() < 20);
        return names;
    }
    void tabTo(const QString &name)
    {
        for (int i = 0; i < 20 && focused() != name; ++i)
            window.key(Qt::Key_Tab);
        ASSERT_EQ(focused(), name);
    }
    /// All that can be read now.
    [[nodiscard]] QStringList texts()
    {
        QStringList found;
        collectTexts(*window.root(), found);
        return found;
    }
    static void collectTexts(const QQuickItem &item, QStringList &found)
    {
        if (!item.isVisible() || item.opacity() == 0)
            return;
        const QString text = item.property("text").toString();
        if (!text.isEmpty())
            found.append(text);
        const auto children = item.childItems();
        for (const QQuickItem *child : children)
            collectTexts(*child, found);
    }
    /// Until nothing moves any more.
    [[nodiscard]] bool waitForText(const QString &text)
    {
        return ViewWindow::waitFor([&] {
            mainQueue.drainAll();
            return texts().contains(text);
        });
    }

    ViewWindow window { u"qrc:/qt/qml/Vantry/App/OnboardingFrame.qml"_s,
                        { { u"viewModel"_s, QVariant::fromValue(&model()) } } };
};

TEST_F(OnboardingViewTest, isWalkedThroughByReturnAlone)
{
    int completed = 0;
    QObject::connect(&model(), &OnboardingViewModel::completed, [&completed] { ++completed; });

    pressReturn(OnboardingStep::capabilities);
    pressReturn(OnboardingStep::checkDependencies);
    ASSERT_TRUE(waitForDependencies());
    pressReturn(OnboardingStep::installHook);
    pressReturn(OnboardingStep::installHook);
    ASSERT_TRUE(waitForHook(HookInstallStatus::done));
    pressReturn(OnboardingStep::sounds);
    pressReturn(OnboardingStep::displayMode);
    pressReturn(OnboardingStep::done);
    EXPECT_EQ(completed, 0);
    pressReturn(OnboardingStep::done);

    EXPECT_EQ(completed, 1);
    EXPECT_TRUE(installer().isInstalled());
}

TEST_F(OnboardingViewTest, showsTheTextsOfEachStep)
{
    const QList<QStringList> expected {
        { u"Welcome to Vantry"_s,
          u"Vantry monitors your Claude Code sessions and notifies you\nwhen they need attention — right from your menu bar."_s,
          u"Let's make sure everything is set up."_s, u"Get Started"_s },
        { u"What Vantry Does"_s, u"Allow / Deny"_s, u"Handle permissions from the menu bar"_s, u"Multi-Session"_s,
          u"Monitor all agents at a glance"_s, u"Back"_s, u"Continue"_s },
        { u"Checking Dependencies"_s, u"Vantry needs these to connect to Claude Code."_s, u"Claude Code CLI"_s,
          u"/home/me/.local/bin/claude"_s, u"Python 3"_s, u"/usr/bin/python3"_s, u"Re-check"_s },
        { u"Install Hook"_s,
          u"The hook connects Claude Code sessions to Vantry.\nIt registers a small script that runs on session events."_s },
        { u"Configure Sounds"_s,
          u"Vantry plays a sound when sessions need attention.\nPick a sound for each event, or turn them off."_s,
          u"Permission Prompt"_s, u"Task Complete"_s, u"Question"_s, u"Blow"_s, u"Glass"_s, u"Purr"_s,
          u"You can also use custom sound files later in Settings."_s },
        { u"Choose Display Mode"_s, u"Where should Vantry show your sessions?"_s, u"Menu Bar"_s, u"Notch"_s,
          u"Both"_s },
        { u"You're All Set!"_s,
          u"Vantry will live in your menu bar and notify you\nwhen Claude Code sessions need your attention."_s,
          u"Click the menu bar icon to get started."_s, u"Start Using Vantry"_s }
    };
    for (int step = 0; step < expected.size(); ++step) {
        goToInView(static_cast<OnboardingStep>(step));
        const QStringList shown = texts();
        for (const QString &text : expected.at(step))
            EXPECT_TRUE(shown.contains(text)) << text.toStdString();
        EXPECT_EQ(window.item(u"back"_s)->isVisible(), step > 0 && step < 6);
    }
}

TEST_F(OnboardingViewTest, takesAKeyThatIsHeldDownOnce)
{
    QTest::keyPress(&window.view(), Qt::Key_Return);
    for (int i = 0; i < 5; ++i) {
        QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, u"\r"_s, true);
        QCoreApplication::sendEvent(&window.view(), &repeated);
    }

    EXPECT_EQ(model().currentStep(), OnboardingStep::capabilities);
}

TEST_F(OnboardingViewTest, goesBackByTheKeyboardAndByItsButton)
{
    goToInView(OnboardingStep::sounds);

    window.key(Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(model().currentStep(), OnboardingStep::installHook);
    window.click(u"back"_s);
    EXPECT_EQ(model().currentStep(), OnboardingStep::checkDependencies);
    ASSERT_TRUE(waitForDependencies());
    pressReturn(OnboardingStep::installHook);
}

TEST_F(OnboardingViewTest, keepsTheFocusOnBackWhileThatIsUsed)
{
    goToInView(OnboardingStep::checkDependencies);
    tabTo(u"back"_s);

    window.key(Qt::Key_Return);
    EXPECT_EQ(model().currentStep(), OnboardingStep::capabilities);
    EXPECT_EQ(focused(), u"back"_s);
    window.key(Qt::Key_Space);
    EXPECT_EQ(model().currentStep(), OnboardingStep::welcome);
    EXPECT_EQ(focused(), u"main"_s) << "there is no way back from here";
    pressReturn(OnboardingStep::capabilities);
}

TEST_F(OnboardingViewTest, doesNothingByEscape)
{
    goToInView(OnboardingStep::sounds);

    window.key(Qt::Key_Escape);

    EXPECT_EQ(model().currentStep(), OnboardingStep::sounds);
    EXPECT_TRUE(window.view().isVisible());
}

TEST_F(OnboardingViewTest, reachesEverythingByTab)
{
    EXPECT_EQ(focused(), u"main"_s);
    EXPECT_THAT(tabOrder(), ElementsAre(u"main"_s));
    goToInView(OnboardingStep::checkDependencies);
    EXPECT_THAT(tabOrder(), ElementsAre(u"recheck"_s, u"back"_s, u"main"_s));
    goToInView(OnboardingStep::sounds);
    EXPECT_THAT(tabOrder(), ElementsAre(u"sound0"_s, u"preview0"_s, u"sound1"_s, u"preview1"_s, u"sound2"_s,
                                        u"preview2"_s, u"back"_s, u"main"_s));
    goToInView(OnboardingStep::displayMode);
    EXPECT_THAT(tabOrder(), ElementsAre(u"mode0"_s, u"back"_s, u"main"_s));
}

TEST_F(OnboardingViewTest, looksAgainByItsButtonAndGoesOnByReturnAfterwards)
{
    goToInView(OnboardingStep::checkDependencies);

    window.click(u"recheck"_s);
    ASSERT_TRUE(waitForDependencies());
    EXPECT_EQ(tools.searches().size(), 4);
    EXPECT_EQ(focused(), u"main"_s) << "the pointer leaves the focus where it is";
    tabTo(u"recheck"_s);
    window.key(Qt::Key_Return);
    ASSERT_TRUE(waitForDependencies());
    EXPECT_EQ(tools.searches().size(), 6);
    EXPECT_EQ(model().currentStep(), OnboardingStep::checkDependencies);
}

TEST_F(OnboardingViewTest, copiesTheHintOfAMissingProgram)
{
    tools.takeAway(u"python3"_s);
    goToInView(OnboardingStep::checkDependencies);
    EXPECT_TRUE(waitForText(u"sudo apt install python3"_s));
    EXPECT_TRUE(texts().contains(u"Not found"_s));
    EXPECT_TRUE(texts().contains(u"Continue Anyway"_s));
    EXPECT_THAT(tabOrder(), ElementsAre(u"copy"_s, u"recheck"_s, u"back"_s, u"main"_s));

    tabTo(u"copy"_s);
    window.key(Qt::Key_Space);

    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"sudo apt install python3"_s);
}

TEST_F(OnboardingViewTest, offersToTryAgainWhenTheInstallationHasFailed)
{
    ASSERT_TRUE(writeAgentSettings("{ not JSON"));
    goToInView(OnboardingStep::installHook);
    pressReturn(OnboardingStep::installHook);
    ASSERT_TRUE(waitForHook(HookInstallStatus::failed));
    EXPECT_TRUE(waitForText(u"Installation failed."_s));
    EXPECT_TRUE(texts().contains(u"Continue Anyway"_s));

    ASSERT_TRUE(writeAgentSettings("{}"));
    window.click(u"retry"_s);
    ASSERT_TRUE(waitForHook(HookInstallStatus::done));

    EXPECT_TRUE(waitForText(u"Hook installed successfully."_s));
    EXPECT_TRUE(texts().contains(u"Restart any running Claude Code sessions to activate."_s));
    EXPECT_FALSE(window.item(u"retry"_s)->isVisible());
    pressReturn(OnboardingStep::sounds);
}

TEST_F(OnboardingViewTest, triesAgainByTheKeyboard)
{
    ASSERT_TRUE(writeAgentSettings("{ not JSON"));
    goToInView(OnboardingStep::installHook);
    pressReturn(OnboardingStep::installHook);
    ASSERT_TRUE(waitForHook(HookInstallStatus::failed));
    settle();
    ASSERT_TRUE(writeAgentSettings("{}"));

    tabTo(u"retry"_s);
    window.key(Qt::Key_Return);
    ASSERT_TRUE(waitForHook(HookInstallStatus::done));

    EXPECT_EQ(focused(), u"main"_s);
    pressReturn(OnboardingStep::sounds);
}

TEST_F(OnboardingViewTest, choosesASoundByTheKeyboardWithoutLeavingTheStep)
{
    goToInView(OnboardingStep::sounds);
    tabTo(u"sound1"_s);

    window.key(Qt::Key_Space);
    window.key(Qt::Key_Down);
    window.key(Qt::Key_Return);
    settle();

    EXPECT_EQ(defaults.string(u"sound_taskComplete"_s), u"system:Purr"_s);
    EXPECT_EQ(model().currentStep(), OnboardingStep::sounds);
    window.key(Qt::Key_Return);
    EXPECT_EQ(model().currentStep(), OnboardingStep::displayMode) << "a closed box leaves Return to the window";
}

TEST_F(OnboardingViewTest, playsASoundAndStays)
{
    goToInView(OnboardingStep::sounds);

    window.click(u"preview0"_s);
    tabTo(u"preview2"_s);
    window.key(Qt::Key_Space);

    EXPECT_EQ(player.played, (QStringList { u"named Blow"_s, u"named Purr"_s }));
    EXPECT_EQ(model().currentStep(), OnboardingStep::sounds);
}

TEST_F(OnboardingViewTest, choosesADisplayModeByTheArrowKeysAndByClicks)
{
    goToInView(OnboardingStep::displayMode);
    tabTo(u"mode0"_s);

    window.key(Qt::Key_Right);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::notch);
    EXPECT_EQ(focused(), u"mode1"_s);
    window.key(Qt::Key_Down);
    window.key(Qt::Key_Right);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::both);
    window.key(Qt::Key_Left);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::notch);
    window.click(u"mode0"_s);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::menuBar);
    window.click(u"mode2"_s);
    EXPECT_EQ(defaults.string(u"displayMode"_s), u"both"_s);
    pressReturn(OnboardingStep::done);
}

TEST_F(OnboardingViewTest, choosesBetweenTwoPlacesWithoutANotch)
{
    screens.all = { FakeScreens::plain(u"one"_s, QRect(0, 0, 1920, 1080)) };
    goToInView(OnboardingStep::displayMode);

    EXPECT_FALSE(texts().contains(u"Notch"_s));
    tabTo(u"mode0"_s);
    window.key(Qt::Key_Right);
    EXPECT_EQ(defaults.string(u"displayMode"_s), u"both"_s);
    EXPECT_EQ(focused(), u"mode2"_s);
}

TEST(OnboardingView, comesBackAtTheStepAtWhichItWasClosed)
{
    OnboardingWorld world;
    for (const auto &[step, next] : { std::pair(OnboardingStep::sounds, OnboardingStep::displayMode),
                                      std::pair(OnboardingStep::displayMode, OnboardingStep::done) }) {
        ASSERT_TRUE(world.goTo(step));

        ViewWindow window(u"qrc:/qt/qml/Vantry/App/OnboardingFrame.qml"_s,
                          { { u"viewModel"_s, QVariant::fromValue(&world.model()) } });

        window.key(Qt::Key_Return);
        EXPECT_EQ(world.model().currentStep(), next);
    }
}

} // namespace
} // namespace vantry::test
