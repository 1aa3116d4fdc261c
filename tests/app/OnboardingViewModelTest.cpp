#include "support/OnboardingWorld.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::Contains;
using ::testing::UnorderedElementsAre;

namespace vantry::test {
namespace {

using HookInstallStatus = OnboardingViewModel::HookInstallStatus;

class OnboardingViewModelTest : public testing::Test, protected OnboardingWorld
{
protected:
    /// Both programs have been looked for by then; whether the hook is there hasn't.
    void goToHook() { ASSERT_TRUE(goTo(OnboardingStep::installHook)); }
    void installHook() const
    {
        EXPECT_EQ(installer().install(49152), u"Hook installed. Restart Claude Code sessions to activate."_s);
    }
    [[nodiscard]] QStringList offeredModes()
    {
        QStringList titles;
        const QVariantList modes = model().displayModes();
        for (const QVariant &mode : modes)
            titles.append(mode.toMap().value(u"title"_s).toString());
        return titles;
    }
    void select(DisplayMode mode) { model().selectDisplayMode(static_cast<int>(mode)); }
};

TEST_F(OnboardingViewModelTest, beginsAtTheWelcomeAndKnowsNothingYet)
{
    EXPECT_EQ(model().currentStep(), OnboardingStep::welcome);
    EXPECT_EQ(model().claudeCodeStatus(), DependencyStatus::unchecked());
    EXPECT_EQ(model().pythonStatus(), DependencyStatus::unchecked());
    EXPECT_EQ(model().hookInstallStatus(), HookInstallStatus::notStarted);
    EXPECT_EQ(model().hookMessage(), std::nullopt);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::menuBar);
    EXPECT_FALSE(model().hasNotch());
    EXPECT_EQ(model().stepCount(), 7);
    EXPECT_TRUE(tools.searches().isEmpty());
}

TEST_F(OnboardingViewModelTest, goesThroughItsStepsInBothDirections)
{
    installHook();
    const QList forward { OnboardingStep::welcome,     OnboardingStep::capabilities, OnboardingStep::checkDependencies,
                          OnboardingStep::installHook, OnboardingStep::sounds,       OnboardingStep::displayMode,
                          OnboardingStep::done };
    const QStringList labels { u"Get Started"_s, u"Continue"_s, u"Continue"_s,          u"Continue"_s,
                               u"Continue"_s,    u"Continue"_s, u"Start Using Vantry"_s };
    int completed = 0;
    QObject::connect(&model(), &OnboardingViewModel::completed, [&completed] { ++completed; });
    for (int i = 0; i < forward.size(); ++i) {
        EXPECT_EQ(model().currentStep(), forward.at(i));
        EXPECT_EQ(model().stepIndex(), i);
        EXPECT_FALSE(model().isGoingBack());
        EXPECT_EQ(model().canGoBack(), i > 0 && i < 6);
        if (forward.at(i) == OnboardingStep::installHook) {
            ASSERT_TRUE(waitForHook(HookInstallStatus::done));
        }
        EXPECT_EQ(model().mainButtonLabel(), labels.at(i));
        EXPECT_EQ(completed, 0);
        if (i < 5)
            model().advance();
        else if (i == 5) {
            for (int step = 4; step >= 0; --step) {
                model().back();
                EXPECT_EQ(model().currentStep(), forward.at(step));
                EXPECT_TRUE(model().isGoingBack());
            }
            ASSERT_TRUE(goTo(OnboardingStep::done));
        }
    }

    model().back();
    EXPECT_EQ(model().currentStep(), OnboardingStep::done) << "there is no way back from the end";
    model().advance();
    EXPECT_EQ(completed, 1);
    EXPECT_EQ(model().currentStep(), OnboardingStep::done);
}

TEST_F(OnboardingViewModelTest, goesNowhereBackFromTheWelcome)
{
    model().back();

    EXPECT_EQ(model().currentStep(), OnboardingStep::welcome);
}

TEST_F(OnboardingViewModelTest, looksForBothProgramsAtOnceOnEnteringTheStep)
{
    tools.hold();
    model().advance();
    EXPECT_TRUE(tools.searches().isEmpty());
    model().advance();

    EXPECT_EQ(model().claudeCodeStatus(), DependencyStatus::checking());
    EXPECT_EQ(model().pythonStatus(), DependencyStatus::checking());
    EXPECT_EQ(model().mainButtonLabel(), u"Continue"_s);
    tools.waitForSearches(2);
    EXPECT_THAT(tools.searches(), UnorderedElementsAre(u"claude"_s, u"python3"_s)) << "side by side";

    tools.letGo();
    ASSERT_TRUE(waitForDependencies());
    EXPECT_EQ(model().claudeCodeStatus(), DependencyStatus::found(u"/home/me/.local/bin/claude"_s));
    EXPECT_EQ(model().pythonStatus(), DependencyStatus::found(u"/usr/bin/python3"_s));
    EXPECT_EQ(model().mainButtonLabel(), u"Continue"_s);
    EXPECT_THAT(said, UnorderedElementsAre(u"Claude Code CLI: Found"_s, u"Python 3: Found"_s));
}

TEST_F(OnboardingViewModelTest, letsTheUserGoOnWithoutAProgram)
{
    for (const QString &missing : { u"claude"_s, u"python3"_s }) {
        endModel();
        FakeTools some;
        some.put(missing == u"claude" ? u"python3"_s : u"claude"_s, u"/there"_s);
        OnboardingViewModel model({ defaults, mainQueue, screens, overlays, nullptr, installer(), 1,
                                    [&](const QString &name) { return some.find(name); }, u"hint"_s });
        model.advance();
        model.advance();
        ASSERT_TRUE(
            waitFor([&] { return !model.claudeCodeStatus().isChecking() && !model.pythonStatus().isChecking(); }));

        EXPECT_EQ(model.claudeCodeStatus().isMissing(), missing == u"claude");
        EXPECT_EQ(model.pythonStatus().isMissing(), missing == u"python3");
        EXPECT_EQ(model.mainButtonLabel(), u"Continue Anyway"_s);
        model.advance();
        EXPECT_EQ(model.currentStep(), OnboardingStep::installHook);
    }
}

TEST_F(OnboardingViewModelTest, hintsAtHowToGetThePrograms)
{
    EXPECT_EQ(OnboardingViewModel::claudeCodeHint(), u"npm install -g @anthropic-ai/claude-code"_s);
    EXPECT_EQ(model().pythonHint(), u"sudo apt install python3"_s);
}

TEST_F(OnboardingViewModelTest, looksForBothProgramsAgain)
{
    tools.put(u"claude"_s, u"/old"_s);
    model().advance();
    model().advance();
    ASSERT_TRUE(waitForDependencies());

    tools.put(u"claude"_s, u"/new"_s);
    model().checkDependencies();
    EXPECT_TRUE(model().claudeCodeStatus().isChecking());
    EXPECT_TRUE(model().pythonStatus().isChecking());
    ASSERT_TRUE(waitForDependencies());

    EXPECT_EQ(model().claudeCodeStatus().path(), u"/new"_s);
    EXPECT_EQ(tools.searches().size(), 4);
}

TEST_F(OnboardingViewModelTest, doesNotLookTwiceAtATime)
{
    tools.hold();
    model().advance();
    model().advance();
    tools.waitForSearches(2);

    model().checkDependencies();
    model().back();
    model().advance();
    tools.letGo();
    ASSERT_TRUE(waitForDependencies());

    EXPECT_EQ(tools.searches().size(), 2);
}

TEST_F(OnboardingViewModelTest, takesWhatIsFoundAfterTheStepWasLeft)
{
    tools.hold();
    model().advance();
    model().advance();
    model().advance();
    ASSERT_EQ(model().currentStep(), OnboardingStep::installHook);

    tools.letGo();
    ASSERT_TRUE(waitForDependencies());

    EXPECT_TRUE(model().claudeCodeStatus().isFound());
    EXPECT_EQ(model().currentStep(), OnboardingStep::installHook);
}

TEST_F(OnboardingViewModelTest, mayEndWhileItSearches)
{
    tools.hold();
    model().advance();
    model().advance();
    tools.waitForSearches(2);
    // What has begun is waited for.
    tools.letGo();
    endModel();

    mainQueue.drainAll();
    EXPECT_TRUE(said.isEmpty());
}

TEST_F(OnboardingViewModelTest, installsTheHookBeforeItGoesOn)
{
    goToHook();
    EXPECT_EQ(model().mainButtonLabel(), u"Install Hook"_s);
    EXPECT_EQ(model().hookOutcome(), QString());

    model().advance();
    EXPECT_EQ(model().currentStep(), OnboardingStep::installHook);
    EXPECT_TRUE(model().isInstalling());
    EXPECT_EQ(model().mainButtonLabel(), u"Installing…"_s);
    model().advance();
    EXPECT_EQ(model().currentStep(), OnboardingStep::installHook) << "not while it is being installed";
    ASSERT_TRUE(waitForHook(HookInstallStatus::done));

    EXPECT_TRUE(installer().isInstalled());
    EXPECT_EQ(model().hookMessage(), u"Hook installed. Restart Claude Code sessions to activate."_s);
    EXPECT_EQ(model().hookOutcome(), u"Hook installed successfully."_s);
    EXPECT_EQ(model().hookDetail(), u"Restart any running Claude Code sessions to activate."_s);
    EXPECT_FALSE(model().hasInstallFailed());
    EXPECT_EQ(model().mainButtonLabel(), u"Continue"_s);
    EXPECT_THAT(said,
                Contains(u"Hook installed successfully. Restart any running Claude Code sessions to activate."_s));
    model().advance();
    EXPECT_EQ(model().currentStep(), OnboardingStep::sounds);
}

TEST_F(OnboardingViewModelTest, seesThatTheHookIsInstalledAlready)
{
    installHook();

    goToHook();
    ASSERT_TRUE(waitForHook(HookInstallStatus::done));

    EXPECT_EQ(model().hookMessage(), u"Hook is already installed."_s);
    EXPECT_EQ(model().hookOutcome(), u"Hook is already installed."_s);
    EXPECT_EQ(model().mainButtonLabel(), u"Continue"_s);
}

TEST_F(OnboardingViewModelTest, doesNotOfferToInstallTheHookAgainOnTheWayBack)
{
    goToHook();
    model().advance();
    ASSERT_TRUE(waitForHook(HookInstallStatus::done));
    model().advance();
    ASSERT_EQ(model().currentStep(), OnboardingStep::sounds);

    model().back();

    EXPECT_EQ(model().mainButtonLabel(), u"Continue"_s);
    ASSERT_TRUE(waitFor([this] { return model().hookMessage() == u"Hook is already installed."; }));
    EXPECT_EQ(model().mainButtonLabel(), u"Continue"_s);
}

TEST_F(OnboardingViewModelTest, offersTheHookAgainWhenItWasTakenAway)
{
    goToHook();
    model().advance();
    ASSERT_TRUE(waitForHook(HookInstallStatus::done));
    model().advance();
    ASSERT_TRUE(QFile::remove(installer().scriptPath()));

    model().back();

    ASSERT_TRUE(waitForHook(HookInstallStatus::notStarted));
    EXPECT_EQ(model().hookMessage(), std::nullopt);
    EXPECT_EQ(model().mainButtonLabel(), u"Install Hook"_s);
}

TEST_F(OnboardingViewModelTest, tellsWhyAnInstallationHasFailedAndTriesAgain)
{
    ASSERT_TRUE(writeAgentSettings("{ not JSON"));
    goToHook();

    model().advance();
    ASSERT_TRUE(waitForHook(HookInstallStatus::failed));
    EXPECT_TRUE(model().hasInstallFailed());
    EXPECT_THAT(model().hookMessage()->toStdString(), testing::StartsWith("Install failed: "));
    EXPECT_EQ(model().hookOutcome(), u"Installation failed."_s);
    EXPECT_EQ(u"Install failed: "_s + model().hookDetail(), model().hookMessage());
    EXPECT_FALSE(model().hookDetail().isEmpty());
    EXPECT_EQ(model().mainButtonLabel(), u"Continue Anyway"_s);

    model().advance();
    EXPECT_EQ(model().currentStep(), OnboardingStep::sounds);
    model().back();
    EXPECT_EQ(model().mainButtonLabel(), u"Continue Anyway"_s);
    EXPECT_FALSE(model().hookDetail().isEmpty()) << "its message is kept";

    ASSERT_TRUE(writeAgentSettings("{}"));
    model().installHook();
    EXPECT_TRUE(model().isInstalling());
    ASSERT_TRUE(waitForHook(HookInstallStatus::done));
    EXPECT_TRUE(installer().isInstalled());
}

TEST_F(OnboardingViewModelTest, tellsThatTheScriptIsMissing)
{
    scriptSource = home.filePath(u"nothing"_s);
    goToHook();

    model().advance();
    ASSERT_TRUE(waitForHook(HookInstallStatus::failed));

    EXPECT_EQ(model().hookDetail(), u"Hook script not found in app bundle. Try reinstalling the app."_s);
}

TEST_F(OnboardingViewModelTest, keepsTheInstallationWhenTheUserGoesBackMeanwhile)
{
    goToHook();
    model().advance();
    model().back();
    EXPECT_EQ(model().currentStep(), OnboardingStep::checkDependencies);
    model().advance();

    ASSERT_TRUE(waitForHook(HookInstallStatus::done));

    EXPECT_TRUE(installer().isInstalled());
    EXPECT_EQ(model().mainButtonLabel(), u"Continue"_s);
}

TEST_F(OnboardingViewModelTest, readsTheSoundsFromTheDefaultsAndStoresAChoiceAtOnce)
{
    EXPECT_EQ(model().soundSelections(),
              (QMap<SoundEvent, QString> { { SoundEvent::permissionPrompt, u"system:Blow"_s },
                                           { SoundEvent::taskComplete, u"system:Glass"_s },
                                           { SoundEvent::question, u"system:Purr"_s } }));
    defaults.setString(u"sound_question"_s, u"/home/me/bell.wav"_s);

    model().sounds()->select(0, 0);
    model().sounds()->select(1, 3);

    EXPECT_EQ(defaults.string(u"sound_permissionPrompt"_s), u"none"_s);
    EXPECT_EQ(defaults.string(u"sound_taskComplete"_s), u"system:Purr"_s);
    EXPECT_EQ(model().soundSelections().value(SoundEvent::question), u"/home/me/bell.wav"_s);
}

TEST_F(OnboardingViewModelTest, offersNoSoundFileOfTheUsers)
{
    defaults.setString(u"sound_question"_s, u"/home/me/bell.wav"_s);
    SoundSelections &rows = *model().sounds();

    EXPECT_EQ(rows.data(rows.index(2), SoundSelections::ChoicesRole).toStringList(),
              (QStringList { u"None"_s, u"Blow"_s, u"Glass"_s, u"Purr"_s }));
    EXPECT_EQ(rows.data(rows.index(2), SoundSelections::ShownRole), u"bell.wav"_s);
}

TEST_F(OnboardingViewModelTest, offersAllModesWithAVirtualNotchAndPrefersNone)
{
    ASSERT_TRUE(goTo(OnboardingStep::displayMode));

    EXPECT_TRUE(model().hasNotch());
    EXPECT_EQ(offeredModes(), (QStringList { u"Menu Bar"_s, u"Notch"_s, u"Both"_s }));
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::menuBar);
    EXPECT_EQ(defaults.string(u"displayMode"_s), std::nullopt);
}

TEST_F(OnboardingViewModelTest, describesTheModes)
{
    ASSERT_TRUE(goTo(OnboardingStep::displayMode));

    QStringList captions;
    QStringList symbols;
    const QVariantList modes = model().displayModes();
    for (const QVariant &mode : modes) {
        captions.append(mode.toMap().value(u"caption"_s).toString());
        symbols.append(mode.toMap().value(u"symbol"_s).toString());
    }
    EXPECT_EQ(captions,
              (QStringList { u"Click the menu bar icon to view sessions"_s, u"Hover over the notch to view sessions"_s,
                             u"Menu bar icon and notch, together"_s }));
    EXPECT_EQ(symbols,
              (QStringList { u"menubar.rectangle"_s, u"rectangle.topthird.inset.filled"_s, u"square.on.square"_s }));
}

TEST_F(OnboardingViewModelTest, prefersARealNotchToAnUntouchedSelection)
{
    screens.all.append(FakeScreens::notched(u"two"_s, QRect(1920, 0, 1920, 1080)));
    screens.all.last().hasRealNotch = true;

    ASSERT_TRUE(goTo(OnboardingStep::displayMode));

    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::notch);
    EXPECT_EQ(defaults.string(u"displayMode"_s), u"notch"_s);

    select(DisplayMode::menuBar);
    model().back();
    model().advance();
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::menuBar) << "the user has touched it";
}

TEST_F(OnboardingViewModelTest, keepsAModeThatWasStoredBefore)
{
    screens.all.first().hasRealNotch = true;
    for (const auto &[stored, mode] :
         { std::pair(u"menuBar"_s, DisplayMode::menuBar), std::pair(u"notch"_s, DisplayMode::notch),
           std::pair(u"both"_s, DisplayMode::both) }) {
        endModel();
        defaults.setString(u"displayMode"_s, stored);
        ASSERT_TRUE(goTo(OnboardingStep::displayMode));
        EXPECT_EQ(model().selectedDisplayMode(), mode) << stored.toStdString();
    }
}

TEST_F(OnboardingViewModelTest, offersNoNotchWhereThereIsNone)
{
    screens.all = { FakeScreens::plain(u"one"_s, QRect(0, 0, 1920, 1080)) };

    ASSERT_TRUE(goTo(OnboardingStep::displayMode));

    EXPECT_FALSE(model().hasNotch());
    EXPECT_EQ(offeredModes(), (QStringList { u"Menu Bar"_s, u"Both"_s }));
    select(DisplayMode::notch);
    EXPECT_EQ(defaults.string(u"displayMode"_s), std::nullopt);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::menuBar);
}

TEST_F(OnboardingViewModelTest, offersNoNotchWhereWindowsCannotBePlacedOrThereIsNoScreen)
{
    screens.all.first().hasRealNotch = true;
    overlays.places = false;
    ASSERT_TRUE(goTo(OnboardingStep::displayMode));
    EXPECT_EQ(offeredModes(), (QStringList { u"Menu Bar"_s, u"Both"_s }));
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::menuBar);

    overlays.places = true;
    screens.all.clear();
    model().back();
    model().advance();
    EXPECT_EQ(offeredModes(), (QStringList { u"Menu Bar"_s, u"Both"_s }));
}

TEST_F(OnboardingViewModelTest, looksForANotchAgainEachTimeTheStepIsEntered)
{
    const ScreenInfo screen = screens.all.takeFirst();
    ASSERT_TRUE(goTo(OnboardingStep::displayMode));
    EXPECT_FALSE(model().hasNotch());

    screens.set({ screen });
    model().back();
    model().advance();

    EXPECT_TRUE(model().hasNotch());
}

TEST_F(OnboardingViewModelTest, storesTheDisplayModeAtOnce)
{
    ASSERT_TRUE(goTo(OnboardingStep::displayMode));
    int changes = 0;
    QObject::connect(&model(), &OnboardingViewModel::selectedDisplayModeChanged, [&changes] { ++changes; });

    for (const auto &[mode, stored] :
         { std::pair(DisplayMode::notch, u"notch"_s), std::pair(DisplayMode::both, u"both"_s),
           std::pair(DisplayMode::menuBar, u"menuBar"_s) }) {
        select(mode);
        EXPECT_EQ(model().selectedDisplayMode(), mode);
        EXPECT_EQ(defaults.string(u"displayMode"_s), stored);
    }
    EXPECT_EQ(changes, 3);
    EXPECT_TRUE(model().isSelectedModeOffered());

    model().selectDisplayMode(-1);
    model().selectDisplayMode(3);
    EXPECT_EQ(defaults.string(u"displayMode"_s), u"menuBar"_s);
}

TEST_F(OnboardingViewModelTest, goesThroughTheModesThatAreOffered)
{
    ASSERT_TRUE(goTo(OnboardingStep::displayMode));
    model().moveDisplayMode(-1);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::menuBar);
    model().moveDisplayMode(1);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::notch);
    model().moveDisplayMode(1);
    model().moveDisplayMode(1);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::both);

    screens.all = { FakeScreens::plain(u"one"_s, QRect(0, 0, 1920, 1080)) };
    defaults.setString(u"displayMode"_s, u"notch"_s);
    model().back();
    model().advance();
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::notch) << "what was stored is not lost";
    EXPECT_FALSE(model().isSelectedModeOffered());
    model().moveDisplayMode(1);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::menuBar);
    model().moveDisplayMode(1);
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::both);
}

TEST_F(OnboardingViewModelTest, takesOverAModeThatIsStoredFromElsewhere)
{
    ASSERT_TRUE(goTo(OnboardingStep::displayMode));

    defaults.setString(u"displayMode"_s, u"both"_s);
    mainQueue.drainAll();
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::both);

    defaults.setString(u"displayMode"_s, u"nonsense"_s);
    mainQueue.drainAll();
    EXPECT_EQ(model().selectedDisplayMode(), DisplayMode::menuBar);
}

TEST_F(OnboardingViewModelTest, saysWhenTheMainButtonChanges)
{
    int changes = 0;
    QObject::connect(&model(), &OnboardingViewModel::mainButtonLabelChanged, [&changes] { ++changes; });

    goToHook();
    const int before = changes;
    EXPECT_GE(before, 3);
    model().advance();
    EXPECT_EQ(changes, before + 1);
    ASSERT_TRUE(waitForHook(HookInstallStatus::done));
    EXPECT_EQ(changes, before + 2);
}

} // namespace
} // namespace vantry::test
