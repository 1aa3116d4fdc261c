#include "app/VantryApp.h"

#include "app/AppDelegate.h"
#include "app/onboarding/OnboardingViewModel.h"
#include "app/onboarding/OnboardingWindow.h"
#include "app/settings/SettingsViewModel.h"
#include "app/settings/SettingsWindow.h"
#include "panels/MenuBarViewModel.h"

#include <QCursor>

#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString hasCompletedOnboarding = u"hasCompletedOnboarding"_s;

/// Unset where nothing looks for newer versions, so that nobody is offered it.
std::function<void()> updates(AppDelegate &delegate)
{
    if (!delegate.updater())
        return {};
    return [&delegate] { delegate.checkForUpdates(); };
}

} // namespace

VantryApp::VantryApp(AppDelegate &delegate, const Ports &ports, MakePanel makePanel)
    : m_delegate(delegate)
    , m_ports(ports)
    , m_makePanel(std::move(makePanel))
    , m_appearance(ports.preferences)
    , m_windows(ports.overlays)
    , m_menuBarExtra({ ports.statusItem, delegate.sessionManager(), delegate.sessionChanges(), m_appearance },
                     { .showApp = [this] { showApp(); },
                       .checkForUpdates = updates(delegate),
                       .quitApp = [this] { m_delegate.quitApp(); },
                       .toggleTelegramPause = [this] { m_delegate.toggleTelegramPause(); },
                       .isTelegramPaused = delegate.telegramService().isPaused() })
    , m_notch({ .engine = [this]() -> QQmlEngine & { return engine(); },
                .appearance = m_appearance,
                .overlays = ports.overlays,
                .screens = ports.screens,
                .makeFullScreenWatch = ports.makeFullScreenWatch,
                .makeSessionLock = ports.makeSessionLock,
                .services = delegate.panelServices(),
                .callbacks = delegate.sessionCallbacks(),
                .makePanel = m_makePanel })
{
    m_ports.statusItem.onClick = [this] { statusItemClicked(); };
    m_ports.statusItem.onNoTray = [this] { noTrayFound(); };
    m_ports.statusItem.onTrayFound = [this] { trayFound(); };
    m_windows.declare(settingsWindow, [this] { return makeSettingsWindow(); });
    m_windows.declare(onboardingWindow, [this] { return makeOnboardingWindow(); });
    m_delegate.setScene(
        { .showApp = [this] { showApp(); },
          .openSettings = [this] { openSettings(); },
          .didFinishLaunching = [this] { didFinishLaunching(); },
          .sessionsDidChange = [this] { m_notch.sessionsDidChange(); },
          .sessionNeedsAttention = [this](const SessionPtr &session) { m_notch.sessionNeedsAttention(session); } });
    connect(this, &VantryApp::popoverVisibleChanged, this,
            [this](bool visible) { m_delegate.notificationService().isPopoverVisible = visible; });
    connect(&m_delegate.defaults(), &Defaults::changed, this, &VantryApp::defaultsChanged);
    m_statusItemSetUp = m_ports.scheduler.after(500ms, [this] { updateStatusItem(); });
}

VantryApp::~VantryApp()
{
    m_delegate.setScene({});
    m_ports.statusItem.onClick = {};
    m_ports.statusItem.onNoTray = {};
    m_ports.statusItem.onTrayFound = {};
}

void VantryApp::showApp()
{
    openPanel(anchor());
}

void VantryApp::openSettings()
{
    m_notch.collapse();
    m_windows.open(settingsWindow);
}

bool VantryApp::isPopoverVisible() const
{
    return m_panel && m_panel->isKey();
}

void VantryApp::statusItemClicked()
{
    switch (m_toggle.clicked(m_panel && m_panel->isOpen(), m_ports.clock.monotonicNow())) {
    case PopoverToggle::Action::Open:
        m_lastClick = pointer();
        openPanel(anchor());
        break;
    case PopoverToggle::Action::Close:
        m_panel->close(PanelWindow::Closing::ByUser);
        break;
    case PopoverToggle::Action::Nothing:
        break;
    }
}

void VantryApp::openPanel(const PanelAnchor &anchor)
{
    if (!m_panel) {
        m_model = m_makePanel();
        m_panel = std::make_unique<PanelWindow>(
            PanelWindow::Surroundings { engine(), *m_model, m_appearance, m_ports.overlays });
        connect(m_panel.get(), &PanelWindow::keyChanged, this, &VantryApp::popoverVisibleChanged);
        connect(m_panel.get(), &PanelWindow::lostFocus, this,
                [this] { m_toggle.closedByLosingFocus(m_ports.clock.monotonicNow()); });
    }
    // Before the panel, which takes the focus and goes when it loses that.
    if (isOnboardingDue())
        m_windows.reveal(onboardingWindow);
    const bool isPopover = m_ports.statusItem.hasTray() && m_ports.overlays.canPlace();
    m_panel->open(isPopover ? PanelWindow::Form::Popover : PanelWindow::Form::Window, anchor);
}

PanelAnchor VantryApp::anchor() const
{
    return { m_ports.statusItem.frame(), m_lastClick };
}

std::optional<QPoint> VantryApp::pointer() const
{
    return m_ports.overlays.seesPointer() ? std::optional(QCursor::pos()) : std::nullopt;
}

void VantryApp::defaultsChanged()
{
    m_notch.setHasVirtualNotch(hasVirtualNotch());
    const DisplayMode mode = displayMode(m_delegate.defaults());
    if (m_lastDisplayMode == mode)
        return;
    m_lastDisplayMode = mode;
    updateNotch();
    updateStatusItem();
}

bool VantryApp::hasVirtualNotch() const
{
    return m_delegate.defaults().boolean(u"virtual_notch"_s, true);
}

void VantryApp::updateNotch()
{
    m_notch.setHasVirtualNotch(hasVirtualNotch());
    m_notch.setShown(m_isWithoutTray || showsNotch(displayMode(m_delegate.defaults())));
    if (NotchController *controller = m_notch.controller()) {
        NotchViewModel &viewModel = controller->viewModel();
        viewModel.telegramService = &m_delegate.telegramService();
        viewModel.notificationService = &m_delegate.notificationService();
        viewModel.soundService = m_delegate.soundService();
    }
}

void VantryApp::updateStatusItem()
{
    m_ports.statusItem.setVisible(showsMenuBar(displayMode(m_delegate.defaults())) || !m_ports.overlays.canPlace());
}

void VantryApp::didFinishLaunching()
{
    updateNotch();
    m_wasOnboardingDue = !m_delegate.defaults().boolean(hasCompletedOnboarding, false);
    if (m_wasOnboardingDue)
        m_onboardingStart = m_ports.scheduler.after(300ms, [this] { openOnboarding(); });
}

bool VantryApp::isOnboardingDue() const
{
    return m_wasOnboardingDue && !m_delegate.defaults().boolean(hasCompletedOnboarding, false);
}

void VantryApp::openOnboarding()
{
    if (m_panel && m_panel->isOpen())
        m_windows.reveal(onboardingWindow);
    else
        m_windows.open(onboardingWindow);
}

void VantryApp::completeOnboarding()
{
    m_wasOnboardingDue = false;
    m_delegate.defaults().setBoolean(hasCompletedOnboarding, true);
    m_windows.dismiss(onboardingWindow);
}

void VantryApp::noTrayFound()
{
    m_delegate.delegateLog().write("Could not find status item button for right-click menu");
    m_delegate.log().write("VantryApp: no tray for the icon yet, so the notch is shown, whatever the display mode; "
                           "\"vantry show\" opens the panel");
    m_isWithoutTray = true;
    updateNotch();
    Q_EMIT isWithoutTrayChanged(true);
}

void VantryApp::trayFound()
{
    if (!std::exchange(m_isWithoutTray, false))
        return;
    updateNotch();
    Q_EMIT isWithoutTrayChanged(false);
}

QQmlEngine &VantryApp::engine()
{
    if (!m_engine) {
        m_engine = std::make_unique<QQmlEngine>();
        m_appearance.install(*m_engine);
    }
    return *m_engine;
}

std::unique_ptr<QQuickView> VantryApp::makeSettingsWindow()
{
    auto window = std::make_unique<SettingsWindow>(engine(), m_appearance, settingsServices());
    connect(this, &VantryApp::isWithoutTrayChanged, window->model().general(),
            &GeneralSettingsTabModel::setWithoutTray);
    return window;
}

SettingsServices VantryApp::settingsServices()
{
    if (!m_disk)
        m_disk = std::make_unique<SerialQueue>("settings");
    return { .telegramService = m_delegate.telegramService(),
             .notificationService = m_delegate.notificationService(),
             .soundService = m_delegate.soundService(),
             .updater = m_delegate.updater(),
             .defaults = m_delegate.defaults(),
             .log = m_delegate.log(),
             .mainQueue = m_delegate.panelServices().mainQueue,
             .disk = *m_disk,
             .loginItem = m_ports.loginItem,
             .fileManager = m_ports.fileManager,
             .fileChooser = m_ports.fileChooser,
             .paths = m_delegate.paths(),
             .hookPort = m_delegate.httpServer().port(),
             .openUrl = m_delegate.sessionCallbacks().openUrl,
             .quitApp = [this] { m_delegate.quitApp(); },
             .canPlaceWindows = m_ports.overlays.canPlace(),
             .isWithoutTray = m_isWithoutTray };
}

std::unique_ptr<QQuickView> VantryApp::makeOnboardingWindow()
{
    if (!m_onboarding) {
        const PanelServices services = m_delegate.panelServices();
        m_onboarding = std::make_unique<OnboardingViewModel>(
            OnboardingViewModel::Services { .defaults = services.defaults,
                                            .mainQueue = services.mainQueue,
                                            .screens = m_ports.screens,
                                            .overlays = m_ports.overlays,
                                            .soundService = m_delegate.soundService(),
                                            .hookInstaller = HookInstaller(services.home),
                                            .port = m_delegate.httpServer().port(),
                                            .findTool = m_ports.findTool,
                                            .pythonHint = m_ports.pythonHint() });
        connect(m_onboarding.get(), &OnboardingViewModel::completed, this, &VantryApp::completeOnboarding);
    }
    auto window = std::make_unique<OnboardingWindow>(engine(), m_appearance, *m_onboarding);
    // By then its views have gone.
    connect(window.get(), &QObject::destroyed, this, [this] {
        if (!m_wasOnboardingDue)
            m_onboarding.reset();
    });
    return window;
}

} // namespace vantry
