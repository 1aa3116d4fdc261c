#pragma once

#include "app/SoundSelections.h"
#include "app/settings/SettingsServices.h"
#include "hooks/HookInstaller.h"
#include "platform/NotificationCentre.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// What `GeneralSettingsTab` shows and changes. What is stored is read where it is shown: each switch stores at once,
/// and follows what is stored from elsewhere. Main thread only; what waits for the disk is done elsewhere.
class GeneralSettingsTabModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")

    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY launchAtLoginChanged)

    Q_PROPERTY(QString displayModeRaw READ displayModeRaw WRITE setDisplayModeRaw NOTIFY stored)
    Q_PROPERTY(bool virtualNotch READ virtualNotch WRITE setVirtualNotch NOTIFY stored)
    /// What is shown in the stead of what was chosen; empty when nothing is.
    Q_PROPERTY(QString displayModeNote READ displayModeNote NOTIFY displayModeNoteChanged)
    Q_PROPERTY(bool canPlaceWindows READ canPlaceWindows CONSTANT)

    Q_PROPERTY(NotificationStatus notificationStatus READ notificationStatus NOTIFY notificationStatusChanged)
    /// What keeps notifications from being shown, or whole; empty when nothing does.
    Q_PROPERTY(QString notificationNote READ notificationNote NOTIFY notificationStatusChanged)
    Q_PROPERTY(bool canNotify READ canNotify NOTIFY notificationStatusChanged)
    Q_PROPERTY(bool notificationsEnabled READ notificationsEnabled WRITE setNotificationsEnabled NOTIFY stored)
    Q_PROPERTY(bool notifyPermission READ notifyPermission WRITE setNotifyPermission NOTIFY stored)
    Q_PROPERTY(bool notifyTaskComplete READ notifyTaskComplete WRITE setNotifyTaskComplete NOTIFY stored)
    Q_PROPERTY(bool notifyQuestion READ notifyQuestion WRITE setNotifyQuestion NOTIFY stored)

    /// False until it has been looked whether the hook is installed.
    Q_PROPERTY(bool isHookKnown READ isHookKnown NOTIFY hookChanged)
    Q_PROPERTY(bool isHookInstalled READ isHookInstalled NOTIFY hookChanged)
    Q_PROPERTY(bool isInstallingHook READ isInstallingHook NOTIFY hookChanged)
    Q_PROPERTY(QString hookStatusMessage READ hookStatusMessage NOTIFY hookChanged)
    Q_PROPERTY(bool hasHookFailed READ hasHookFailed NOTIFY hookChanged)

    Q_PROPERTY(bool soundsEnabled READ soundsEnabled WRITE setSoundsEnabled NOTIFY stored)
    Q_PROPERTY(vantry::SoundSelections *soundSelections READ soundSelections CONSTANT)
    Q_PROPERTY(QStringList systemSounds READ systemSounds CONSTANT)

    // Reserved for extensions of editors; no control shows these.
    Q_PROPERTY(bool ideExtensionEnabled READ ideExtensionEnabled WRITE setIdeExtensionEnabled NOTIFY stored)
    Q_PROPERTY(QVariantMap ideStatuses MEMBER m_ideStatuses NOTIFY ideChanged)
    Q_PROPERTY(QString ideInstallMessage MEMBER m_ideInstallMessage NOTIFY ideChanged)

public:
    /// Whether the user lets notifications be shown, where the desktop asks for that.
    enum NotificationStatus { NotDetermined, Denied, Authorized };
    Q_ENUM(NotificationStatus)

    explicit GeneralSettingsTabModel(const SettingsServices &services, QObject *parent = nullptr);
    ~GeneralSettingsTabModel() override;

    /// Looks again at what changes without telling: the hook, the entry at login, the leave to show notifications.
    Q_INVOKABLE void refresh();

    [[nodiscard]] bool launchAtLogin() const { return m_launchAtLogin; }
    /// Goes back to what is there when it can't be set.
    void setLaunchAtLogin(bool isOn);

    [[nodiscard]] QString displayModeRaw() const;
    void setDisplayModeRaw(const QString &mode);
    [[nodiscard]] bool virtualNotch() const { return flag(virtualNotchKey); }
    void setVirtualNotch(bool isOn) { setFlag(virtualNotchKey, isOn); }
    [[nodiscard]] QString displayModeNote() const;
    [[nodiscard]] bool canPlaceWindows() const { return m_services.canPlaceWindows; }
    /// Whether it is known that there is no tray.
    void setWithoutTray(bool isWithoutTray);

    [[nodiscard]] NotificationStatus notificationStatus() const;
    [[nodiscard]] QString notificationNote() const;
    [[nodiscard]] bool canNotify() const;
    /// Asks the user for leave to show notifications.
    Q_INVOKABLE void requestPermission();
    Q_INVOKABLE void openSystemSettings();
    [[nodiscard]] bool notificationsEnabled() const { return flag(notificationsKey); }
    void setNotificationsEnabled(bool isOn) { setFlag(notificationsKey, isOn); }
    [[nodiscard]] bool notifyPermission() const { return flag(permissionKey); }
    void setNotifyPermission(bool isOn) { setFlag(permissionKey, isOn); }
    [[nodiscard]] bool notifyTaskComplete() const { return flag(taskCompleteKey); }
    void setNotifyTaskComplete(bool isOn) { setFlag(taskCompleteKey, isOn); }
    [[nodiscard]] bool notifyQuestion() const { return flag(questionKey); }
    void setNotifyQuestion(bool isOn) { setFlag(questionKey, isOn); }

    [[nodiscard]] bool isHookKnown() const { return m_hook.isKnown; }
    [[nodiscard]] bool isHookInstalled() const { return m_hook.isInstalled; }
    [[nodiscard]] bool isInstallingHook() const { return m_hook.isBusy; }
    [[nodiscard]] QString hookStatusMessage() const { return m_hook.message; }
    [[nodiscard]] bool hasHookFailed() const { return m_hook.hasFailed; }
    /// Installs the hook, or installs it anew. Nothing while that is under way.
    Q_INVOKABLE void installHook();

    [[nodiscard]] bool soundsEnabled() const { return flag(soundsKey); }
    void setSoundsEnabled(bool isOn) { setFlag(soundsKey, isOn); }
    [[nodiscard]] SoundSelections *soundSelections() { return &m_soundSelections; }
    [[nodiscard]] QStringList systemSounds() const { return m_soundSelections.systemSounds(); }

    [[nodiscard]] bool ideExtensionEnabled() const { return flag(ideExtensionKey); }
    void setIdeExtensionEnabled(bool isOn) { setFlag(ideExtensionKey, isOn); }

Q_SIGNALS:
    /// What is stored has changed, here or elsewhere.
    void stored();
    void launchAtLoginChanged();
    void displayModeNoteChanged();
    void notificationStatusChanged();
    void hookChanged();
    /// An installation of the hook has ended so.
    void hookTold(const QString &message);
    void ideChanged();

private:
    /// A switch as it is stored.
    struct Flag
    {
        const char *key;
        bool fallback; ///< While nothing is stored.
    };
    static constexpr Flag virtualNotchKey { "virtual_notch", true };
    static constexpr Flag notificationsKey { "notifications_enabled", true };
    static constexpr Flag permissionKey { "notify_permission", true };
    static constexpr Flag taskCompleteKey { "notify_taskComplete", true };
    static constexpr Flag questionKey { "notify_question", true };
    static constexpr Flag soundsKey { "sounds_enabled", true };
    static constexpr Flag ideExtensionKey { "ideExtensionEnabled", false };

    struct Hook
    {
        bool isKnown { false };
        bool isInstalled { false };
        bool isBusy { false };
        bool hasFailed { false };
        QString message {};
    };

    [[nodiscard]] bool flag(const Flag &flag) const;
    void setFlag(const Flag &flag, bool isOn);
    void lookAtLoginItem();
    void takeLoginItem(bool isOn, const std::optional<QString> &problem);
    void lookAtHook();
    void takeHook(const Hook &hook);
    void lookAtNotifications();
    /// Does the work where it may wait for the disk, and then takes on the main thread what it gave.
    template <typename Work, typename Take>
    void onDisk(Work work, Take take);

    const SettingsServices m_services;
    const HookInstaller m_hookInstaller;
    SoundSelections m_soundSelections;
    bool m_launchAtLogin { false };
    int m_loginItemChanges { 0 }; ///< Under way.
    bool m_isWithoutTray;
    NotificationCentre::Status m_notifications;
    Hook m_hook;
    QVariantMap m_ideStatuses;
    QString m_ideInstallMessage;
};

} // namespace vantry
