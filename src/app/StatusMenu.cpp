#include "app/StatusMenu.h"

#include <QCoreApplication>

#include <algorithm>

namespace vantry {

static QString tr(const char *text)
{
    return QCoreApplication::translate("StatusMenu", text);
}

QList<StatusMenuItem> statusMenu()
{
    using enum StatusMenuAction;
    return { { tr("Show Vantry"), ShowApp },
             {},
             { tr("Check for Updates…"), CheckForUpdates },
             {},
             { tr("Quit Vantry"), QuitApp, QStringLiteral("q") } };
}

void menuNeedsUpdate(QList<StatusMenuItem> &menu, bool isTelegramPaused)
{
    const auto pauses = [](const StatusMenuItem &item) { return item.action == StatusMenuAction::ToggleTelegramPause; };
    for (StatusMenuItem &item : menu) {
        if (pauses(item))
            item.title = isTelegramPaused ? tr("Resume Telegram") : tr("Pause Telegram");
    }
    const auto first = std::ranges::find_if(menu, pauses);
    if (first != menu.end())
        menu.erase(first);
}

} // namespace vantry
