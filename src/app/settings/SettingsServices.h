#pragma once

#include "base/Paths.h"

#include <QUrl>

#include <cstdint>
#include <functional>

namespace vantry {

class Defaults;
class FileChooser;
class FileManager;
class Log;
class LoginItem;
class MainQueue;
class NotificationService;
class SerialQueue;
class SoundService;
class TelegramService;
class Updater;

/// What the settings show and change. All of it must outlive them.
struct SettingsServices
{
    TelegramService &telegramService;
    NotificationService &notificationService;
    const SoundService *soundService; ///< Null: there are no sounds.
    Updater *updater;                 ///< Null: nothing looks for newer versions.
    Defaults &defaults;
    Log &log;
    MainQueue &mainQueue;
    SerialQueue &disk; ///< For what waits for the disk.
    LoginItem &loginItem;
    FileManager &fileManager;
    FileChooser &fileChooser;
    Paths paths;
    std::uint16_t hookPort;                    ///< That the agent's hook is to report to.
    std::function<void(const QUrl &)> openUrl; ///< Has the desktop open an address. Returns at once.
    std::function<void()> quitApp;
    bool canPlaceWindows { true };
    bool isWithoutTray { false }; ///< Known to be.
};

} // namespace vantry
