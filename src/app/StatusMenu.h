#pragma once

#include <QList>
#include <QString>

namespace vantry {

/// What an entry of the tray icon's menu does.
enum class StatusMenuAction { None, ShowApp, CheckForUpdates, ToggleTelegramPause, QuitApp };

/// One entry of the menu; one without a title is a separator.
struct StatusMenuItem
{
    QString title {};
    StatusMenuAction action { StatusMenuAction::None };
    QString key {}; ///< See StatusItem::MenuEntry.

    friend bool operator==(const StatusMenuItem &, const StatusMenuItem &) = default;
};

/// The menu as it is built, once.
[[nodiscard]] QList<StatusMenuItem> statusMenu();

/// Before the menu is shown: entries that pause Telegram say what they would do now, and the first of them is taken
/// out. The menu has none: the panel and the settings have a switch.
void menuNeedsUpdate(QList<StatusMenuItem> &menu, bool isTelegramPaused);

} // namespace vantry
