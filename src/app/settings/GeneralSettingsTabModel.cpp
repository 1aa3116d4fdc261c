#include "app/settings/GeneralSettingsTabModel.h"

#include "alerts/NotificationService.h"
#include "app/DisplayMode.h"
#include "base/DebugLog.h"
#include "base/Defaults.h"
#include "base/MainQueue.h"
#include "base/SerialQueue.h"
#include "platform/LoginItem.h"

#include <QPointer>

#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;
using Presence = NotificationCentre::Server::Presence;

GeneralSettingsTabModel::GeneralSettingsTabModel(const SettingsServices &services, QObject *parent)
    : QObject(parent)
    , m_services(services)
    , m_hookInstaller(services.paths.home)
    , m_soundSelections({ services.defaults, services.soundService, &services.fileChooser })
    , m_isWithoutTray(services.isWithoutTray)
{
    connect(&m_services.defaults, &Defaults::changed, this, [this] {
        Q_EMIT stored();
        Q_EMIT displayModeNoteChanged();
    });
    connect(&m_services.notificationService, &NotificationService::serverChanged, this,
            &GeneralSettingsTabModel::lookAtNotifications);
    m_services.loginItem.setOnChanged([this] { lookAtLoginItem(); });
    refresh();
}

GeneralSettingsTabModel::~GeneralSettingsTabModel()
{
    m_services.loginItem.setOnChanged({});
}

void GeneralSettingsTabModel::refresh()
{
    lookAtLoginItem();
    lookAtHook();
    lookAtNotifications();
}

template <typename Work, typename Take>
void GeneralSettingsTabModel::onDisk(Work work, Take take)
{
    m_services.disk.async(
        [&mainQueue = m_services.mainQueue, self = QPointer(this), work = std::move(work), take = std::move(take)] {
            mainQueue.post([self, take, result = work()] {
                if (self)
                    take(result);
            });
        });
}

// What is stored

bool GeneralSettingsTabModel::flag(const Flag &flag) const
{
    return m_services.defaults.boolean(QString::fromLatin1(flag.key), flag.fallback);
}

void GeneralSettingsTabModel::setFlag(const Flag &flag, bool isOn)
{
    m_services.defaults.setBoolean(QString::fromLatin1(flag.key), isOn);
}

// Launch at login

void GeneralSettingsTabModel::setLaunchAtLogin(bool isOn)
{
    takeLoginItem(isOn, std::nullopt);
    ++m_loginItemChanges;
    struct Outcome
    {
        bool isOn;
        std::optional<QString> problem;
    };
    onDisk(
        [&item = m_services.loginItem, isOn] {
            auto problem = item.setEnabled(isOn);
            return Outcome { item.isEnabled(), std::move(problem) };
        },
        [this](const Outcome &outcome) {
            // Of several in a row, the last one counts.
            --m_loginItemChanges;
            takeLoginItem(outcome.isOn, outcome.problem);
        });
}

void GeneralSettingsTabModel::lookAtLoginItem()
{
    onDisk([&item = m_services.loginItem] { return item.isEnabled(); },
           [this](bool isOn) { takeLoginItem(isOn, std::nullopt); });
}

void GeneralSettingsTabModel::takeLoginItem(bool isOn, const std::optional<QString> &problem)
{
    if (problem)
        m_services.log.write(u"GeneralSettingsTab: launch at login can't be set: "_s + *problem);
    if (m_loginItemChanges == 0 && std::exchange(m_launchAtLogin, isOn) != isOn)
        Q_EMIT launchAtLoginChanged();
}

// Display mode

QString GeneralSettingsTabModel::displayModeRaw() const
{
    return rawValue(displayMode(m_services.defaults));
}

void GeneralSettingsTabModel::setDisplayModeRaw(const QString &mode)
{
    m_services.defaults.setString(displayModeKey, mode);
}

QString GeneralSettingsTabModel::displayModeNote() const
{
    const DisplayMode mode = displayMode(m_services.defaults);
    const bool lacksIcon = m_isWithoutTray && showsMenuBar(mode);
    const bool lacksNotch = !m_services.canPlaceWindows && showsNotch(mode);
    if (m_isWithoutTray && !m_services.canPlaceWindows)
        return tr("This desktop has no tray and places windows itself, so there is neither icon nor notch: open Vantry "
                  "from the launcher or by \"vantry show\".");
    if (lacksIcon)
        return tr("This desktop has no tray for the icon, so the notch stands in for it.");
    if (lacksNotch)
        return tr("This desktop places windows itself, so the icon stands in for the notch.");
    return {};
}

void GeneralSettingsTabModel::setWithoutTray(bool isWithoutTray)
{
    m_isWithoutTray = isWithoutTray;
    Q_EMIT displayModeNoteChanged();
}

// Notifications

GeneralSettingsTabModel::NotificationStatus GeneralSettingsTabModel::notificationStatus() const
{
    switch (m_notifications.authorization) {
    case NotificationCentre::Authorization::NotDetermined:
        return NotDetermined;
    case NotificationCentre::Authorization::Denied:
        return Denied;
    case NotificationCentre::Authorization::Authorized:
        break;
    }
    return Authorized;
}

QString GeneralSettingsTabModel::notificationNote() const
{
    const auto &[presence, capabilities, name] = m_notifications.server;
    if (presence == Presence::Absent)
        return tr("Nothing shows notifications on this desktop. Start a notification server, such as \"dunst\": Vantry "
                  "takes it at once.");
    if (presence == Presence::Present && !capabilities.contains(u"actions"))
        return tr("On this desktop notifications come without buttons; answer in the panel.");
    return {};
}

bool GeneralSettingsTabModel::canNotify() const
{
    return m_notifications.server.presence != Presence::Absent;
}

void GeneralSettingsTabModel::lookAtNotifications()
{
    m_services.notificationService.requestStatus([self = QPointer(this)](const NotificationCentre::Status &status) {
        if (self && std::exchange(self->m_notifications, status) != status)
            Q_EMIT self->notificationStatusChanged();
    });
}

void GeneralSettingsTabModel::requestPermission()
{
    m_services.notificationService.requestPermission([self = QPointer(this)] {
        if (self)
            self->lookAtNotifications();
    });
}

void GeneralSettingsTabModel::openSystemSettings()
{
    m_services.openUrl(QUrl(u"x-apple.systempreferences:com.apple.Notifications-Settings"_s));
}

// The hook

void GeneralSettingsTabModel::lookAtHook()
{
    onDisk([installer = m_hookInstaller] { return installer.isInstalled(); },
           [this](bool isInstalled) {
               if (m_hook.isBusy)
                   return;
               Hook hook = m_hook;
               hook.isKnown = true;
               hook.isInstalled = isInstalled;
               takeHook(hook);
           });
}

void GeneralSettingsTabModel::installHook()
{
    if (m_hook.isBusy)
        return;
    Hook busy = m_hook;
    busy.isBusy = true;
    busy.message.clear();
    takeHook(busy);
    onDisk(
        [installer = m_hookInstaller, port = m_services.hookPort] {
            const QString message = installer.install(port);
            return Hook { .isKnown = true,
                          .isInstalled = installer.isInstalled(),
                          .hasFailed = message.startsWith(u"Install failed"),
                          .message = message };
        },
        [this](const Hook &hook) {
            Q_EMIT hookTold(hook.message);
            takeHook(hook);
        });
}

void GeneralSettingsTabModel::takeHook(const Hook &hook)
{
    m_hook = hook;
    Q_EMIT hookChanged();
}

} // namespace vantry
