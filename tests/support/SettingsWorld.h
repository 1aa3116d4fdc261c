#pragma once

#include "alerts/NotificationService.h"
#include "alerts/SoundService.h"
#include "app/settings/SettingsServices.h"
#include "base/Defaults.h"
#include "base/SerialQueue.h"
#include "sessions/PendingPermissionStore.h"
#include "support/FakeFileChooser.h"
#include "support/FakeFileManager.h"
#include "support/FakeLoginItem.h"
#include "support/FakeNotificationCentre.h"
#include "support/FakeSecretStore.h"
#include "support/FakeSoundPlayer.h"
#include "support/ManualClock.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"
#include "telegram/TelegramService.h"

#include <QTemporaryDir>

namespace vantry::test {

/// What the settings work with: the real services over a system that a test makes up, in a home of its own. Telegram
/// reaches no server.
class SettingsWorld
{
public:
    SettingsWorld() { player.sounds = { QStringLiteral("Blow"), QStringLiteral("Glass"), QStringLiteral("Purr") }; }

    [[nodiscard]] SettingsServices services()
    {
        return { .telegramService = telegram,
                 .notificationService = notifications,
                 .soundService = &sounds,
                 .updater = updater,
                 .defaults = defaults,
                 .log = log,
                 .mainQueue = mainQueue,
                 .disk = disk,
                 .loginItem = loginItem,
                 .fileManager = fileManager,
                 .fileChooser = fileChooser,
                 .paths = paths,
                 .hookPort = 49152,
                 .openUrl = [this](const QUrl &url) { opened.append(url); },
                 .quitApp = [this] { ++quits; },
                 .canPlaceWindows = canPlaceWindows,
                 .isWithoutTray = isWithoutTray };
    }
    /// Lets what is under way come to its end.
    void settle()
    {
        disk.sync([] {});
        mainQueue.drainAll();
    }

    QTemporaryDir folder;
    Paths paths { .home = folder.path(),
                  .dataFolder = folder.filePath(QStringLiteral(".local/share/Vantry")),
                  .configFile = folder.filePath(QStringLiteral("settings.json")),
                  .runtimeFolder = {} };
    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    RecordingLog log;
    Defaults defaults { paths.configFile, mainQueue, log };
    FakeSoundPlayer player;
    SoundService sounds { defaults, player, log };
    FakeNotificationCentre centre;
    PendingPermissionStore held { clock, scheduler, log };
    NotificationService notifications { { centre, held, defaults, clock }, [](const QString &) {} };
    FakeSecretStore secrets;
    QStringList printed; ///< By Telegram.
    TelegramService telegram { { scheduler, mainQueue, defaults, log, &secrets },
                               QStringLiteral("nowhere"),
                               [this](const QString &line) { printed.append(line); } };
    FakeLoginItem loginItem;
    FakeFileManager fileManager;
    FakeFileChooser fileChooser;
    SerialQueue disk { "settings" };
    Updater *updater { nullptr };
    bool canPlaceWindows { true };
    bool isWithoutTray { false };
    QList<QUrl> opened;
    int quits { 0 };
};

} // namespace vantry::test
