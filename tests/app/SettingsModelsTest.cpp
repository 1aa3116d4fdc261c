#include "app/settings/SettingsViewModel.h"

#include "platform/Updater.h"
#include "support/SettingsWorld.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using Presence = NotificationCentre::Server::Presence;
using Authorization = NotificationCentre::Authorization;

class GeneralSettingsTabModelTest : public testing::Test
{
protected:
    GeneralSettingsTabModel &model()
    {
        if (!m_model) {
            m_model.emplace(world.services());
            world.settle();
        }
        return *m_model;
    }
    void end() { m_model.reset(); }
    /// Whether what is stored under the key is so, with nothing counting as this.
    [[nodiscard]] bool stored(const QString &key, bool fallback) const { return world.defaults.boolean(key, fallback); }

    SettingsWorld world;

private:
    std::optional<GeneralSettingsTabModel> m_model;
};

TEST_F(GeneralSettingsTabModelTest, eachSwitchStoresAtOnceAndFollowsWhatIsStoredElsewhere)
{
    struct Switch
    {
        const char *property;
        QString key;
        bool fallback;
    };
    const std::vector<Switch> switches { { "virtualNotch", u"virtual_notch"_s, true },
                                         { "notificationsEnabled", u"notifications_enabled"_s, true },
                                         { "notifyPermission", u"notify_permission"_s, true },
                                         { "notifyTaskComplete", u"notify_taskComplete"_s, true },
                                         { "notifyQuestion", u"notify_question"_s, true },
                                         { "soundsEnabled", u"sounds_enabled"_s, true },
                                         { "ideExtensionEnabled", u"ideExtensionEnabled"_s, false } };
    for (const auto &[property, key, fallback] : switches) {
        SCOPED_TRACE(property);
        EXPECT_EQ(model().property(property).toBool(), fallback) << "while nothing is stored";

        model().setProperty(property, !fallback);
        EXPECT_EQ(stored(key, fallback), !fallback);
        EXPECT_EQ(model().property(property).toBool(), !fallback);
        model().setProperty(property, fallback);
        EXPECT_EQ(stored(key, !fallback), fallback) << "stored, not taken away";

        world.settle();
        int told = 0;
        const auto connection = QObject::connect(&model(), &GeneralSettingsTabModel::stored, [&told] { ++told; });
        world.defaults.setBoolean(key, !fallback);
        world.mainQueue.drainAll();
        EXPECT_EQ(model().property(property).toBool(), !fallback);
        EXPECT_EQ(told, 1);
        world.defaults.setString(key, u"no Boolean"_s);
        world.mainQueue.drainAll();
        EXPECT_EQ(model().property(property).toBool(), fallback);
        QObject::disconnect(connection);
    }
}

TEST_F(GeneralSettingsTabModelTest, aStoredFalseStaysFalse)
{
    world.defaults.setBoolean(u"notifications_enabled"_s, false);
    EXPECT_FALSE(model().notificationsEnabled());
}

TEST_F(GeneralSettingsTabModelTest, storesTheDisplayModeAndFollowsIt)
{
    EXPECT_EQ(model().displayModeRaw(), u"menuBar");
    for (const QString &mode : { u"notch"_s, u"both"_s, u"menuBar"_s }) {
        model().setDisplayModeRaw(mode);
        EXPECT_EQ(world.defaults.string(u"displayMode"_s, {}), mode);
        EXPECT_EQ(model().displayModeRaw(), mode);
    }
    world.defaults.setString(u"displayMode"_s, u"both"_s);
    EXPECT_EQ(model().displayModeRaw(), u"both");
    world.defaults.setString(u"displayMode"_s, u"nonsense"_s);
    EXPECT_EQ(model().displayModeRaw(), u"menuBar");
}

TEST_F(GeneralSettingsTabModelTest, saysWhatIsShownInTheSteadOfIconAndNotch)
{
    EXPECT_EQ(model().displayModeNote(), QString());
    model().setWithoutTray(true);
    EXPECT_THAT(model().displayModeNote().toStdString(), ::testing::HasSubstr("the notch stands in"));
    model().setDisplayModeRaw(u"notch"_s);
    EXPECT_EQ(model().displayModeNote(), QString()) << "nobody misses the icon";
    model().setWithoutTray(false);

    end();
    world.canPlaceWindows = false;
    EXPECT_THAT(model().displayModeNote().toStdString(), ::testing::HasSubstr("the icon stands in"));
    model().setDisplayModeRaw(u"menuBar"_s);
    EXPECT_EQ(model().displayModeNote(), QString());

    end();
    world.isWithoutTray = true;
    EXPECT_THAT(model().displayModeNote().toStdString(), ::testing::HasSubstr("neither icon nor notch"));
}

TEST_F(GeneralSettingsTabModelTest, startsAtLoginWhenItIsTurnedOn)
{
    EXPECT_FALSE(model().launchAtLogin());
    model().setLaunchAtLogin(true);
    EXPECT_TRUE(model().launchAtLogin()) << "at once";
    world.settle();
    EXPECT_TRUE(world.loginItem.isEnabled());

    end();
    EXPECT_TRUE(model().launchAtLogin());
    model().setLaunchAtLogin(false);
    world.settle();
    EXPECT_FALSE(world.loginItem.isEnabled());
}

TEST_F(GeneralSettingsTabModelTest, goesBackToWhatIsThereWhenTheEntryCannotBeSet)
{
    world.loginItem.fails = true;
    model().setLaunchAtLogin(true);
    world.settle();

    EXPECT_FALSE(model().launchAtLogin());
    EXPECT_THAT(world.log.lines(), ElementsAre(u"GeneralSettingsTab: launch at login can't be set: Permission denied"));
}

TEST_F(GeneralSettingsTabModelTest, theLastOfManyFlipsCounts)
{
    for (int i = 0; i < 5; ++i)
        model().setLaunchAtLogin(i % 2 == 0);
    int changes = 0;
    QObject::connect(&model(), &GeneralSettingsTabModel::launchAtLoginChanged, [&changes] { ++changes; });
    world.settle();

    EXPECT_TRUE(model().launchAtLogin());
    EXPECT_TRUE(world.loginItem.isEnabled());
    EXPECT_EQ(changes, 0) << "it does not flicker";
}

TEST_F(GeneralSettingsTabModelTest, followsAnEntryThatOthersChangeWhileItIsOpen)
{
    EXPECT_FALSE(model().launchAtLogin());
    world.loginItem.changeFromOutside(true);
    world.settle();
    EXPECT_TRUE(model().launchAtLogin());

    end();
    EXPECT_FALSE(world.loginItem.onChanged) << "nothing is watched any more";
}

TEST_F(GeneralSettingsTabModelTest, carriesOutAFlipThatItsEndFollows)
{
    model().setLaunchAtLogin(true);
    end();
    world.settle();
    EXPECT_TRUE(world.loginItem.isEnabled());
}

TEST_F(GeneralSettingsTabModelTest, showsWhoShowsNotificationsAndFollows)
{
    EXPECT_TRUE(model().canNotify()) << "not known to be otherwise";
    EXPECT_EQ(model().notificationNote(), QString());

    const auto become = [this](const NotificationCentre::Server &server) {
        world.centre.setServer(server);
        world.centre.tellStatus();
    };
    become({ Presence::Absent, {} });
    EXPECT_FALSE(model().canNotify());
    EXPECT_THAT(model().notificationNote().toStdString(), ::testing::HasSubstr("Start a notification server"));
    become({ Presence::Startable, {} });
    EXPECT_TRUE(model().canNotify());
    EXPECT_EQ(model().notificationNote(), QString());
    become({ Presence::Present, { u"body"_s } });
    EXPECT_TRUE(model().canNotify());
    EXPECT_THAT(model().notificationNote().toStdString(), ::testing::HasSubstr("without buttons"));
    become({ Presence::Present, { u"actions"_s } });
    EXPECT_EQ(model().notificationNote(), QString());
    EXPECT_EQ(model().notificationStatus(), GeneralSettingsTabModel::Authorized);
}

TEST_F(GeneralSettingsTabModelTest, asksForPermissionWhereTheDesktopWantsThat)
{
    model();
    world.centre.tellStatus(Authorization::NotDetermined);
    EXPECT_EQ(model().notificationStatus(), GeneralSettingsTabModel::NotDetermined);

    model().requestPermission();
    world.centre.authorizing.back()(false, std::nullopt);
    world.centre.tellStatus(Authorization::Denied);
    EXPECT_EQ(model().notificationStatus(), GeneralSettingsTabModel::Denied);

    model().openSystemSettings();
    EXPECT_EQ(world.opened, QList { QUrl(u"x-apple.systempreferences:com.apple.Notifications-Settings"_s) });
    model().refresh();
    world.centre.tellStatus(Authorization::Authorized);
    EXPECT_EQ(model().notificationStatus(), GeneralSettingsTabModel::Authorized);
}

TEST_F(GeneralSettingsTabModelTest, itsEndIsHarmlessWhileItWaits)
{
    model().requestPermission();
    model().soundSelections()->select(0, 4);
    model().installHook();
    model().setLaunchAtLogin(true);
    end();
    world.centre.authorizing.back()(true, std::nullopt);
    world.centre.tellStatus();
    world.settle();
    EXPECT_FALSE(world.fileChooser.isOpen());
}

TEST_F(GeneralSettingsTabModelTest, installsTheHook)
{
    EXPECT_TRUE(model().isHookKnown());
    EXPECT_FALSE(model().isHookInstalled());
    EXPECT_EQ(model().hookStatusMessage(), QString());

    model().installHook();
    EXPECT_TRUE(model().isInstallingHook());
    model().installHook();
    world.settle();

    EXPECT_FALSE(model().isInstallingHook());
    EXPECT_TRUE(model().isHookInstalled());
    EXPECT_FALSE(model().hasHookFailed());
    EXPECT_EQ(model().hookStatusMessage(), u"Hook installed. Restart Claude Code sessions to activate.");
    EXPECT_TRUE(HookInstaller(world.paths.home).isInstalled());
    end();
    EXPECT_TRUE(model().isHookInstalled());
}

TEST_F(GeneralSettingsTabModelTest, showsWhyTheHookCannotBeInstalled)
{
    QFile inTheWay(world.folder.filePath(u".claude"_s));
    ASSERT_TRUE(inTheWay.open(QFile::WriteOnly));

    model().installHook();
    world.settle();

    EXPECT_FALSE(model().isHookInstalled());
    EXPECT_TRUE(model().hasHookFailed());
    EXPECT_THAT(model().hookStatusMessage().toStdString(), ::testing::StartsWith("Install failed: "));
}

TEST_F(GeneralSettingsTabModelTest, looksAgainForAHookThatOthersInstalled)
{
    EXPECT_FALSE(model().isHookInstalled());
    ASSERT_THAT(HookInstaller(world.paths.home).install(49152).toStdString(), ::testing::StartsWith("Hook installed"));
    model().refresh();
    world.settle();
    EXPECT_TRUE(model().isHookInstalled());
}

TEST_F(GeneralSettingsTabModelTest, offersTheSoundsOfTheSystemAndAFile)
{
    EXPECT_EQ(model().systemSounds(), (QStringList { u"Blow"_s, u"Glass"_s, u"Purr"_s }));
    EXPECT_EQ(model().soundSelections()->value(SoundEvent::question), u"system:Purr") << "while nothing is stored";
    EXPECT_EQ(model().soundSelections()->data(model().soundSelections()->index(0), SoundSelections::ChoicesRole),
              (QStringList { u"None"_s, u"Blow"_s, u"Glass"_s, u"Purr"_s, u"Custom…"_s }));
}

class TelegramSettingsTabModelTest : public testing::Test
{
protected:
    TelegramSettingsTabModelTest() { world.secrets.calls.clear(); }

    void type(const QString &text, void (TelegramSettingsTabModel::*set)(const QString &))
    {
        for (qsizetype length = 1; length <= text.size(); ++length)
            (*model.*set)(text.first(length));
    }

    SettingsWorld world;
    std::optional<TelegramSettingsTabModel> model { std::in_place, world.telegram };
};

TEST_F(TelegramSettingsTabModelTest, showsTheServicesState)
{
    EXPECT_EQ(model->status(), TelegramSettingsTabModel::NotConfigured);
    EXPECT_EQ(model->statusText(), u"Not configured");
    EXPECT_TRUE(model->notificationsOn());

    int told = 0;
    QObject::connect(&*model, &TelegramSettingsTabModel::serviceChanged, [&told] { ++told; });
    model->setBotToken(u"1:abc"_s);
    EXPECT_EQ(model->statusText(), u"Not configured") << "without a chat";
    model->setChatID(u"42"_s);
    EXPECT_EQ(model->status(), TelegramSettingsTabModel::Running);
    EXPECT_EQ(model->statusText(), u"Running");

    model->setNotificationsOn(false);
    EXPECT_TRUE(world.telegram.isPaused());
    EXPECT_EQ(model->status(), TelegramSettingsTabModel::Paused);
    EXPECT_EQ(model->statusText(), u"Paused");
    EXPECT_FALSE(model->notificationsOn());
    EXPECT_GT(told, 0);

    told = 0;
    world.telegram.setPaused(false);
    EXPECT_EQ(model->statusText(), u"Running") << "from elsewhere";
    EXPECT_GT(told, 0);
}

TEST_F(TelegramSettingsTabModelTest, isNotConfiguredAlsoWhenItIsPaused)
{
    model->setNotificationsOn(false);
    EXPECT_EQ(model->statusText(), u"Not configured");
}

TEST_F(TelegramSettingsTabModelTest, storesWhetherItIsPaused)
{
    model->setNotificationsOn(false);
    EXPECT_TRUE(world.defaults.boolean(u"telegram_paused"_s, false));
    model->setNotificationsOn(true);
    EXPECT_FALSE(world.defaults.boolean(u"telegram_paused"_s, true));
}

TEST_F(TelegramSettingsTabModelTest, takesNothingOverByTheKey)
{
    type(u"1:abc"_s, &TelegramSettingsTabModel::setBotToken);
    type(u"-100"_s, &TelegramSettingsTabModel::setChatID);
    EXPECT_TRUE(world.secrets.calls.isEmpty());

    model->commit();
    EXPECT_THAT(world.secrets.calls, ElementsAre(u"telegram_bot_token=1:abc", u"telegram_chat_id=-100"));
    model->commit();
    EXPECT_EQ(world.secrets.calls.size(), 2) << "nothing new, no new poll";
}

TEST_F(TelegramSettingsTabModelTest, takesOverWhatIsPasted)
{
    model->setBotToken(u" 1:abc\n"_s);
    EXPECT_EQ(model->botToken(), u"1:abc");
    EXPECT_EQ(world.telegram.botToken(), u"1:abc");
    model->setBotToken(u"2:xyz"_s);
    EXPECT_EQ(world.telegram.botToken(), u"2:xyz") << "of the same length, over what was there";
    model->setBotToken(u"2:xy"_s);
    model->setBotToken(u"2:y"_s);
    EXPECT_EQ(world.telegram.botToken(), u"2:xyz") << "taken away, letter by letter";
}

TEST_F(TelegramSettingsTabModelTest, takesOverAnEmptyField)
{
    model->setBotToken(u"1:abc"_s);
    model->setBotToken({});
    EXPECT_EQ(world.telegram.botToken(), u"1:abc");
    model->commit();
    EXPECT_EQ(world.telegram.botToken(), QString());
    EXPECT_EQ(model->statusText(), u"Not configured");
}

TEST_F(TelegramSettingsTabModelTest, takesOverWhatIsLeftWhenItEnds)
{
    type(u"1:abc"_s, &TelegramSettingsTabModel::setBotToken);
    model.reset();
    EXPECT_EQ(world.telegram.botToken(), u"1:abc");
}

TEST_F(TelegramSettingsTabModelTest, showsWhatTheServiceHas)
{
    model->setBotToken(u"1:abc"_s);
    model->setChatID(u"42"_s);
    model.emplace(world.telegram);
    EXPECT_EQ(model->botToken(), u"1:abc");
    EXPECT_EQ(model->chatID(), u"42");
}

TEST_F(TelegramSettingsTabModelTest, leavesTheTokenOutOfLogAndSettings)
{
    model->setBotToken(u"123:SECRET"_s);
    model->setChatID(u"42"_s);
    world.scheduler.advance(std::chrono::minutes(5));
    world.settle();
    world.defaults.flush();

    EXPECT_FALSE(world.log.lines().join(u'\n').contains(u"SECRET"));
    EXPECT_FALSE(world.printed.join(u'\n').contains(u"SECRET"));
    QFile settings(world.paths.configFile);
    ASSERT_TRUE(settings.open(QFile::ReadOnly));
    EXPECT_FALSE(settings.readAll().contains("SECRET"));
}

class CountingUpdater final : public Updater
{
public:
    void checkForUpdates() override { ++checks; }
    int checks { 0 };
};

TEST(AboutSettingsTabModel, tellsTheVersionAndQuits)
{
    SettingsWorld world;
    AboutSettingsTabModel model(world.services());
    EXPECT_THAT(AboutSettingsTabModel::version().toStdString(), ::testing::MatchesRegex("[0-9.]+ \\([0-9]+\\)"));
    EXPECT_FALSE(model.canCheckForUpdates());
    model.checkForUpdates();

    model.quit();
    EXPECT_EQ(world.quits, 1);
}

TEST(AboutSettingsTabModel, checksForUpdatesWhereSomethingCan)
{
    SettingsWorld world;
    CountingUpdater updater;
    world.updater = &updater;
    AboutSettingsTabModel model(world.services());
    EXPECT_TRUE(model.canCheckForUpdates());
    model.checkForUpdates();
    EXPECT_EQ(updater.checks, 1);
}

TEST(DebugSettingsTabModel, resetsTheOnboarding)
{
    SettingsWorld world;
    world.defaults.setBoolean(u"hasCompletedOnboarding"_s, true);
    DebugSettingsTabModel model(world.services());
    EXPECT_TRUE(model.hasCompletedOnboarding());
    EXPECT_FALSE(model.showResetConfirmation());

    model.resetOnboarding();
    world.settle();
    EXPECT_FALSE(world.defaults.boolean(u"hasCompletedOnboarding"_s, true));
    EXPECT_FALSE(model.hasCompletedOnboarding());
    EXPECT_TRUE(model.showResetConfirmation());

    world.defaults.setBoolean(u"hasCompletedOnboarding"_s, true);
    world.settle();
    EXPECT_TRUE(model.hasCompletedOnboarding());
    EXPECT_FALSE(model.showResetConfirmation());
}

TEST(DebugSettingsTabModel, showsTheLogInItsFolder)
{
    SettingsWorld world;
    DebugSettingsTabModel model(world.services());
    EXPECT_EQ(model.debugLogPath(), u"~/.local/share/Vantry/debug.log");
    EXPECT_EQ(model.revealLabel(), u"Show in Folder");
    model.revealDebugLog();
    EXPECT_EQ(world.fileManager.revealed, QStringList { world.paths.debugLog() });

    world.paths.dataFolder = u"/elsewhere"_s;
    DebugSettingsTabModel other(world.services());
    EXPECT_EQ(other.debugLogPath(), u"/elsewhere/debug.log");
}

} // namespace
} // namespace vantry::test
