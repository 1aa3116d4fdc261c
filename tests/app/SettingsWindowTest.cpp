#include "app/settings/SettingsWindow.h"
#include "ShellFixture.h"
#include "app/settings/SettingsViewModel.h"

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The settings' window in the application.
class SettingsWindowTest : public ShellFixture
{
protected:
    void openSettings()
    {
        start();
        app->openSettings();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window()));
    }
    [[nodiscard]] SettingsWindow *window()
    {
        return static_cast<SettingsWindow *>(app->windows().window(VantryApp::settingsWindow));
    }
    [[nodiscard]] SettingsViewModel &settings() { return window()->model(); }
    [[nodiscard]] bool waitUntilGone()
    {
        return QTest::qWaitFor([this] { return !app->windows().window(VantryApp::settingsWindow); });
    }
};

TEST_F(SettingsWindowTest, closesByItsKeysAndGoes)
{
    openSettings();
    QTest::keyClick(window(), Qt::Key_Escape);
    EXPECT_TRUE(waitUntilGone());

    app->openSettings();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window()));
    QTest::keyClick(window(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_TRUE(waitUntilGone());
}

TEST_F(SettingsWindowTest, opensAsHighAsItsFirstTab)
{
    openSettings();
    EXPECT_EQ(window()->size(), QSize(440, 740));
}

TEST_F(SettingsWindowTest, growsWithTheDesktopsTextAsFarAsTheScreenAllows)
{
    openSettings();
    DesktopPreferences::Values values;
    values.textScale = 1.25;
    preferences.set(values);
    EXPECT_EQ(window()->minimumSize(), QSize(550, 600));
    EXPECT_EQ(window()->width(), 550);

    values.textScale = 3;
    preferences.set(values);
    EXPECT_LE(window()->minimumHeight(), window()->screen()->availableSize().height());
}

TEST_F(SettingsWindowTest, showsTheNotchAtOnceWhenItIsChosen)
{
    delegate.applicationDidFinishLaunching();
    openSettings();
    EXPECT_FALSE(app->notch().controller());
    settings().general()->setDisplayModeRaw(u"both"_s);
    mainQueue.drainAll();
    EXPECT_TRUE(app->notch().controller());
}

TEST_F(SettingsWindowTest, saysWhatIsShownInsteadWhenThereIsNoTray)
{
    openSettings();
    EXPECT_EQ(settings().general()->displayModeNote(), QString());
    item.onNoTray();
    EXPECT_NE(settings().general()->displayModeNote(), QString());
    item.onTrayFound();
    EXPECT_EQ(settings().general()->displayModeNote(), QString());
}

TEST_F(SettingsWindowTest, takesTheFileDialogAwayWithIt)
{
    openSettings();
    SoundSelections *sounds = settings().general()->soundSelections();
    sounds->select(0, static_cast<int>(sounds->systemSounds().size()) + 1);
    ASSERT_TRUE(fileChooser.isOpen());
    window()->close();
    EXPECT_TRUE(waitUntilGone());
    EXPECT_FALSE(fileChooser.isOpen());
}

TEST_F(SettingsWindowTest, aResetDoesNotShowTheSetUpInThisRun)
{
    delegate.defaults().setBoolean(u"hasCompletedOnboarding"_s, true);
    openSettings();
    delegate.applicationDidFinishLaunching();
    settings().debug()->resetOnboarding();
    mainQueue.drainAll();
    scheduler.advance(10s);
    app->showApp();

    EXPECT_FALSE(delegate.defaults().boolean(u"hasCompletedOnboarding"_s, true));
    EXPECT_FALSE(app->windows().window(VantryApp::onboardingWindow));
}

TEST_F(SettingsWindowTest, followsTheLoginEntryOnlyWhileItIsOpen)
{
    openSettings();
    EXPECT_TRUE(loginItem.onChanged);
    window()->close();
    EXPECT_TRUE(waitUntilGone());
    EXPECT_FALSE(loginItem.onChanged);
}

} // namespace
} // namespace vantry::test
