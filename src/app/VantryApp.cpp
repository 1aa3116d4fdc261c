#include "app/VantryApp.h"

#include "app/AppDelegate.h"
#include "panels/MenuBarViewModel.h"

#include <QCursor>

#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

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
    m_delegate.setScene(
        { .showApp = [this] { showApp(); },
          .openSettings = [this] { openSettings(); },
          .didFinishLaunching = [this] { updateNotch(); },
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
    const bool isPopover = m_ports.statusItem.hasTray() && m_ports.overlays.canPlace();
    m_panel->open(isPopover ? PanelWindow::Form::Popover : PanelWindow::Form::Window, anchor);
    triggerOnboarding();
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

void VantryApp::triggerOnboarding()
{
    if (m_didTriggerOnboarding || m_delegate.defaults().boolean(u"hasCompletedOnboarding"_s, false))
        return;
    m_didTriggerOnboarding = true;
    m_windows.open(onboardingWindow);
}

void VantryApp::noTrayFound()
{
    m_delegate.delegateLog().write("Could not find status item button for right-click menu");
    m_delegate.log().write("VantryApp: no tray for the icon yet, so the notch is shown, whatever the display mode; "
                           "\"vantry show\" opens the panel");
    m_isWithoutTray = true;
    updateNotch();
}

void VantryApp::trayFound()
{
    if (std::exchange(m_isWithoutTray, false))
        updateNotch();
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
    constexpr QSize smallest(440, 480);
    const QSize size = (QSizeF(smallest) * m_appearance.preferences().textScale).toSize();
    auto view = std::make_unique<QQuickView>(&engine(), nullptr);
    view->setTitle(tr("Settings"));
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->setMinimumSize(size);
    view->resize(size);
    view->setSource(QUrl(u"qrc:/qt/qml/Vantry/App/SettingsView.qml"_s));
    return view;
}

} // namespace vantry
