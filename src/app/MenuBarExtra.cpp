#include "app/MenuBarExtra.h"

#include "sessions/SessionChanges.h"
#include "sessions/SessionManager.h"
#include "style/Appearance.h"

#include <algorithm>

namespace vantry {

MenuBarExtra::MenuBarExtra(const Services &services, const Actions &actions)
    : m_services(services)
{
    setMenu(actions);
    connect(&m_services.changes, &SessionChanges::changed, this, &MenuBarExtra::update);
    connect(&m_services.changes, &SessionChanges::removed, this, &MenuBarExtra::update);
    connect(&m_services.appearance, &Appearance::changed, this, &MenuBarExtra::update);
    update();
    m_services.item.setVisible(true);
}

void MenuBarExtra::setMenu(const Actions &actions)
{
    const auto actionOf = [&actions](StatusMenuAction action) -> std::function<void()> {
        switch (action) {
        case StatusMenuAction::ShowApp:
            return actions.showApp;
        case StatusMenuAction::CheckForUpdates:
            return actions.checkForUpdates;
        case StatusMenuAction::ToggleTelegramPause:
            return actions.toggleTelegramPause;
        case StatusMenuAction::QuitApp:
            return actions.quitApp;
        case StatusMenuAction::None:
            break;
        }
        return {};
    };
    QList<StatusMenuItem> menu = statusMenu();
    menuNeedsUpdate(menu, actions.isTelegramPaused);
    QList<StatusItem::MenuEntry> entries;
    for (const StatusMenuItem &item : menu)
        entries.append({ item.title, actionOf(item.action), item.key });
    m_services.item.setMenu(entries);
}

void MenuBarExtra::update()
{
    const auto sessions = m_services.sessionManager.sessions();
    const auto waiting = static_cast<int>(
        std::ranges::count_if(sessions, [](const SessionPtr &session) { return session->needsAttention(); }));
    const StatusPicture now = picture(waiting);
    if (now == m_shown)
        return;
    m_shown = now;
    m_services.item.setIcon(statusIcon(now));
    if (waiting == 0)
        m_services.item.setToolTip(tr("Vantry"));
    else
        m_services.item.setToolTip(waiting == 1 ? tr("Vantry: 1 session waits for you")
                                                : tr("Vantry: %1 sessions wait for you").arg(waiting));
}

StatusPicture MenuBarExtra::picture(int waiting) const
{
    using Theme = Appearance::ThemeName;
    // Seen on white as well as on black.
    static constexpr QColor onAnyBar(0x80, 0x80, 0x80);
    const Palette &light = m_services.appearance.palette(Theme::Light);
    const Palette &dark = m_services.appearance.palette(Theme::Dark);
    QColor ring = onAnyBar;
    switch (barTone(qEnvironmentVariable("XDG_CURRENT_DESKTOP"), m_services.appearance.preferences().prefersDark)) {
    case BarTone::Dark:
        ring = dark.text;
        break;
    case BarTone::Light:
        ring = light.text;
        break;
    case BarTone::Unknown:
        break;
    }
    return { ring, dark.accent, dark.accentFill, dark.onAccentFill, waiting };
}

} // namespace vantry
