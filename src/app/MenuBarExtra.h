#pragma once

#include "app/StatusIcon.h"
#include "app/StatusMenu.h"
#include "platform/StatusItem.h"

#include <QObject>

#include <functional>
#include <optional>

namespace vantry {

class Appearance;
class SessionChanges;
class SessionManager;

/// What the tray icon shows of the sessions, and its menu. Main thread only.
class MenuBarExtra final : public QObject
{
    Q_OBJECT

public:
    /// All of these must outlive this.
    struct Services
    {
        StatusItem &item;
        const SessionManager &sessionManager;
        const SessionChanges &changes;
        const Appearance &appearance;
    };
    struct Actions
    {
        std::function<void()> showApp;
        std::function<void()> checkForUpdates; ///< Unset: there is nothing that could.
        std::function<void()> quitApp;
        std::function<void()> toggleTelegramPause {};
        bool isTelegramPaused { false };
    };

    /// The icon is shown from now on.
    MenuBarExtra(const Services &services, const Actions &actions);

private:
    void setMenu(const Actions &actions);
    void update();
    [[nodiscard]] StatusPicture picture(int waiting) const;

    const Services m_services;
    std::optional<StatusPicture> m_shown;
};

} // namespace vantry
