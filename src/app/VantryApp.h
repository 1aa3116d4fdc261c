#pragma once

#include "app/DisplayMode.h"
#include "app/MenuBarExtra.h"
#include "app/NotchPresenter.h"
#include "app/PanelWindow.h"
#include "app/PopoverToggle.h"
#include "app/WindowRegistry.h"
#include "base/Scheduler.h"
#include "base/SerialQueue.h"
#include "platform/DesktopPreferences.h"
#include "platform/FileChooser.h"
#include "platform/FileManager.h"
#include "platform/FullScreenWatch.h"
#include "platform/LoginItem.h"
#include "platform/OverlayWindows.h"
#include "platform/Screens.h"
#include "platform/SessionLock.h"
#include "platform/StatusItem.h"
#include "style/Appearance.h"

#include <QObject>
#include <QQmlEngine>

#include <functional>
#include <memory>
#include <optional>

namespace vantry {

class AppDelegate;
class MenuBarViewModel;
class OnboardingViewModel;
struct SettingsServices;

/// The program's scene: the tray icon, the panel that it opens, the notch, and the windows by id. No view is loaded
/// before the first opening of one. Which of icon and notch are shown is what the display mode says, but that the notch
/// stands in for the icon where there is no tray, and the icon for the notch where windows can't be placed. Ends before
/// the services. Main thread only; needs the QApplication.
class VantryApp final : public QObject
{
    Q_OBJECT
    /// The popover is open and has the focus.
    Q_PROPERTY(bool isPopoverVisible READ isPopoverVisible NOTIFY popoverVisibleChanged)

public:
    /// Ids of the windows.
    static constexpr QLatin1StringView settingsWindow { "settings" };
    static constexpr QLatin1StringView onboardingWindow { "onboarding" };

    /// All of these must outlive this.
    struct Ports
    {
        const Clock &clock;
        Scheduler &scheduler;
        StatusItem &statusItem;
        OverlayWindows &overlays;
        DesktopPreferences &preferences;
        Screens &screens;
        MakeFullScreenWatch makeFullScreenWatch;
        MakeSessionLock makeSessionLock;
        FileChooser &fileChooser;
        FileManager &fileManager;
        LoginItem &loginItem;
        /// Finds a program by its name. Called off the main thread, and may take long.
        std::function<std::optional<QString>(const QString &)> findTool;
        std::function<QString()> pythonHint; ///< How to get Python.
    };

    using MakePanel = std::function<std::unique_ptr<MenuBarViewModel>()>;

    /// Shows the tray icon. `makePanel` is called at the first opening of the panel, and for each notch that is set up
    /// when that expands first. Before the delegate has finished launching.
    VantryApp(AppDelegate &delegate, const Ports &ports, MakePanel makePanel);
    ~VantryApp() override;

    /// Opens the panel, by the user's own act.
    void showApp();
    /// Opens the settings, or brings them forward.
    void openSettings();
    [[nodiscard]] WindowRegistry &windows() { return m_windows; }
    /// Null before the first opening.
    [[nodiscard]] PanelWindow *panel() { return m_panel.get(); }
    [[nodiscard]] const NotchPresenter &notch() const { return m_notch; }
    [[nodiscard]] bool isPopoverVisible() const;

Q_SIGNALS:
    void popoverVisibleChanged(bool visible);
    void isWithoutTrayChanged(bool isWithoutTray);

private:
    void statusItemClicked();
    void openPanel(const PanelAnchor &anchor);
    [[nodiscard]] PanelAnchor anchor() const;
    [[nodiscard]] std::optional<QPoint> pointer() const;
    void defaultsChanged();
    void trayFound();
    [[nodiscard]] bool hasVirtualNotch() const;
    void updateNotch();
    void updateStatusItem();
    void didFinishLaunching();
    [[nodiscard]] bool isOnboardingDue() const;
    void openOnboarding();
    void completeOnboarding();
    void noTrayFound();
    [[nodiscard]] QQmlEngine &engine();
    [[nodiscard]] std::unique_ptr<QQuickView> makeSettingsWindow();
    [[nodiscard]] std::unique_ptr<QQuickView> makeOnboardingWindow();
    [[nodiscard]] SettingsServices settingsServices();

    AppDelegate &m_delegate;
    const Ports m_ports;
    const MakePanel m_makePanel;
    Appearance m_appearance;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<MenuBarViewModel> m_model;
    std::unique_ptr<SerialQueue> m_disk; ///< From the first opening of the settings on.
    std::unique_ptr<PanelWindow> m_panel;
    std::unique_ptr<OnboardingViewModel> m_onboarding; ///< From the first opening of its window to its end.
    WindowRegistry m_windows;
    MenuBarExtra m_menuBarExtra;
    NotchPresenter m_notch;
    PopoverToggle m_toggle;
    std::optional<QPoint> m_lastClick; ///< Where the icon was, for trays that don't tell.
    std::optional<DisplayMode> m_lastDisplayMode;
    bool m_isWithoutTray { false };    ///< Known to be.
    bool m_wasOnboardingDue { false }; ///< At start, and it isn't done yet.
    ScheduledTimer m_statusItemSetUp;
    ScheduledTimer m_onboardingStart;
};

} // namespace vantry
