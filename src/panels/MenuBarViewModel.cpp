#include "panels/MenuBarViewModel.h"

#include "telegram/TelegramService.h"

#include <algorithm>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr int defaultWidth = 380;
constexpr int defaultHeight = 440;
/// More than can be fading out at a time.
constexpr std::size_t mostRetired = 3;

QString notificationsKey()
{
    return u"notifications_enabled"_s;
}

QString soundsKey()
{
    return u"sounds_enabled"_s;
}

} // namespace

MenuBarViewModel::MenuBarViewModel(PanelServices services, SessionCallbacks callbacks, QObject *parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_callbacks(std::move(callbacks))
    , m_sessionList(m_services, m_callbacks)
    , m_browser(m_services)
    , m_picker(m_services)
{
    connect(&m_sessionList, &SessionListModel::countChanged, this, &MenuBarViewModel::activeCountChanged);
    connect(&m_services.defaults, &Defaults::changed, this, &MenuBarViewModel::readSettings);
    m_browser.onNewSession = [this] { openPicker(); };
    m_browser.onOpenResult = [this](const RememberedSession &result) { openResult(result); };
    m_picker.onOpenProject = [this](const RecentProject &project) { openProject(project); };
    readSettings();
    if (m_services.telegramService) {
        connect(m_services.telegramService, &TelegramService::changed, this, &MenuBarViewModel::readTelegram);
        readTelegram();
    }
}

MenuBarViewModel::~MenuBarViewModel() = default;

void MenuBarViewModel::setVisible(bool visible)
{
    if (std::exchange(m_isVisible, visible) == visible)
        return;
    m_sessionList.setVisible(visible);
    tellScreens();
    if (visible)
        m_browser.loadRecentSessions();
    if (m_chat)
        m_chat->setVisible(visible);
    if (m_launch && visible)
        m_launch->startPolling();
    else if (m_launch)
        m_launch->stopPolling();
    Q_EMIT visibleChanged();
}

QString MenuBarViewModel::activeText() const
{
    return tr("%1 active").arg(activeCount());
}

void MenuBarViewModel::setNotificationsOn(bool on)
{
    m_services.defaults.setBoolean(notificationsKey(), on);
}

void MenuBarViewModel::setSoundsOn(bool on)
{
    m_services.defaults.setBoolean(soundsKey(), on);
}

void MenuBarViewModel::setTelegramOn(bool on)
{
    if (m_services.telegramService)
        m_services.telegramService->setPaused(!on);
}

void MenuBarViewModel::setOverrideWidth(int width)
{
    if (std::exchange(m_overrideWidth, std::max(0, width)) != m_overrideWidth)
        Q_EMIT panelSizeChanged();
}

void MenuBarViewModel::setOverrideHeight(int height)
{
    if (std::exchange(m_overrideHeight, std::max(0, height)) != m_overrideHeight)
        Q_EMIT panelSizeChanged();
}

int MenuBarViewModel::panelWidth() const
{
    return m_overrideWidth > 0 ? m_overrideWidth : defaultWidth;
}

int MenuBarViewModel::panelHeight() const
{
    return m_overrideHeight > 0 ? m_overrideHeight : defaultHeight;
}

void MenuBarViewModel::openSessionBrowser(bool focusSearch)
{
    m_browser.setFocusSearchOnAppear(focusSearch);
    m_browser.loadRecentSessions();
    navigate(Direction::Forward, [this] { m_showsBrowser = true; });
}

void MenuBarViewModel::openChat(const QString &sessionID)
{
    SessionPtr session = m_services.sessionManager.session(sessionID);
    // A launch may have got its real identifier meanwhile.
    if (session && sessionID.startsWith(u"pending-") && session->cwd()) {
        if (const SessionPtr live = m_services.sessionManager.latestAliveSession(*session->cwd()))
            session = live;
    }
    if (session)
        showChat(session);
}

void MenuBarViewModel::back()
{
    switch (m_screen) {
    case SessionList:
        Q_EMIT closeRequested();
        break;
    case SessionBrowser:
        m_browser.clear();
        navigate(Direction::Back, [this] { m_showsBrowser = false; });
        break;
    case NewSessionPicker:
        navigate(Direction::Back, [this] { m_showsPicker = false; });
        break;
    case ProjectDetail:
        navigate(Direction::Back, [this] { retire(std::move(m_projectDetail)); });
        break;
    case ResumeDialog:
        navigate(Direction::Back, [this] { retire(std::move(m_resumeDialog)); });
        break;
    case Chat:
        navigate(Direction::Back, [this] { closeChat(); });
        break;
    }
}

void MenuBarViewModel::openSettings()
{
    m_callbacks.openSettingsWindow();
}

void MenuBarViewModel::quit()
{
    m_callbacks.quit();
}

void MenuBarViewModel::navigate(Direction direction, const std::function<void()> &change)
{
    const auto *chatBefore = m_chat.get();
    const auto *dialogBefore = m_resumeDialog.get();
    const auto *projectBefore = m_projectDetail.get();
    change();
    const auto tell = [&](bool tellsOfOpened) {
        if (m_chat.get() != chatBefore && (m_chat != nullptr) == tellsOfOpened)
            Q_EMIT chatChanged();
        if (m_resumeDialog.get() != dialogBefore && (m_resumeDialog != nullptr) == tellsOfOpened)
            Q_EMIT resumeDialogChanged();
        if (m_projectDetail.get() != projectBefore && (m_projectDetail != nullptr) == tellsOfOpened)
            Q_EMIT projectDetailChanged();
    };
    tell(true);
    if (std::exchange(m_screen, screenForState()) != m_screen) {
        m_isGoingBack = direction == Direction::Back;
        tellScreens();
        Q_EMIT screenChanged();
    }
    tell(false);
}

void MenuBarViewModel::tellScreens()
{
    m_browser.setVisible(m_isVisible && m_screen == SessionBrowser);
    m_picker.setVisible(m_isVisible && m_screen == NewSessionPicker);
}

MenuBarViewModel::Screen MenuBarViewModel::screenForState() const
{
    if (m_chat)
        return Chat;
    if (m_resumeDialog)
        return ResumeDialog;
    if (m_projectDetail)
        return ProjectDetail;
    if (m_showsPicker)
        return NewSessionPicker;
    return m_showsBrowser ? SessionBrowser : SessionList;
}

void MenuBarViewModel::retire(std::unique_ptr<QObject> model)
{
    if (!model)
        return;
    m_retired.push_back(std::move(model));
    if (m_retired.size() > mostRetired)
        m_retired.erase(m_retired.begin());
}

void MenuBarViewModel::openPicker()
{
    m_browser.clear();
    m_picker.load();
    navigate(Direction::Forward, [this] {
        m_showsBrowser = false;
        m_showsPicker = true;
    });
}

void MenuBarViewModel::openProject(const RecentProject &project)
{
    navigate(Direction::Forward, [&] {
        retire(std::move(m_projectDetail));
        m_projectDetail = std::make_unique<ProjectDetailModel>(
            project, m_services.clock.now(),
            [this, path = project.path](const TerminalBridge::LaunchMode &mode, const AgentLaunchFlags &flags) {
                launch(path, mode, flags);
            });
    });
}

void MenuBarViewModel::openResult(const RememberedSession &result)
{
    if (const SessionPtr session = aliveSession(result.id)) {
        showChat(session);
        return;
    }
    navigate(Direction::Forward, [&] {
        retire(std::move(m_resumeDialog));
        // Where the agent ran isn't always known; it has to be started somewhere.
        m_resumeDialog = std::make_unique<ResumeDialogModel>(
            m_services, result,
            [this, path = result.cwd.value_or(m_services.home)](const TerminalBridge::LaunchMode &mode) {
                launch(path, mode, {});
            });
    });
}

void MenuBarViewModel::showChat(const SessionPtr &session)
{
    m_browser.clear();
    navigate(Direction::Forward, [&] {
        closeChat();
        retire(std::move(m_resumeDialog));
        retire(std::move(m_projectDetail));
        m_showsPicker = false;
        m_showsBrowser = false;
        m_chat = std::make_unique<ChatViewModel>(m_services, m_callbacks, session);
        connect(m_chat.get(), &ChatViewModel::closed, this, [this, chat = m_chat.get()] {
            if (chat == m_chat.get())
                back();
        });
        m_chat->setVisible(m_isVisible);
    });
}

void MenuBarViewModel::closeChat()
{
    m_launch.reset();
    if (!m_chat)
        return;
    m_chat->setVisible(false);
    retire(std::move(m_chat));
}

void MenuBarViewModel::launch(const QString &path, const TerminalBridge::LaunchMode &mode,
                              const AgentLaunchFlags &flags)
{
    const auto *resume = std::get_if<TerminalBridge::Resume>(&mode);
    if (const SessionPtr running = resume ? aliveSession(resume->sessionID) : nullptr) {
        showChat(running);
        return;
    }
    const SessionLaunch::Services services { m_services.sessionManager, m_services.clock, m_services.scheduler };
    auto search = std::make_unique<SessionLaunch>(
        services, path, mode,
        SessionLaunch::Outcome { [this](const SessionPtr &session) { takeLaunchedSession(session); },
                                 [this] { navigate(Direction::Back, [this] { closeChat(); }); } });
    showChat(search->placeholder());
    m_launch = std::move(search);
    m_callbacks.onLaunchClaude(path, mode, flags);
    if (m_launch && m_isVisible)
        m_launch->startPolling();
}

void MenuBarViewModel::takeLaunchedSession(const SessionPtr &session)
{
    m_launch.reset();
    m_chat->replaceSession(session);
}

SessionPtr MenuBarViewModel::aliveSession(const QString &sessionID) const
{
    SessionPtr session = m_services.sessionManager.session(sessionID);
    return session && session->isAlive() ? session : nullptr;
}

void MenuBarViewModel::readSettings()
{
    const bool notifications = m_services.defaults.boolean(notificationsKey(), true);
    const bool sounds = m_services.defaults.boolean(soundsKey(), true);
    if (std::exchange(m_notificationsOn, notifications) != notifications)
        Q_EMIT notificationsOnChanged();
    if (std::exchange(m_soundsOn, sounds) != sounds)
        Q_EMIT soundsOnChanged();
}

void MenuBarViewModel::readTelegram()
{
    const bool isConfigured = m_services.telegramService->isConfigured();
    const bool isOn = !m_services.telegramService->isPaused();
    const bool wasConfigured = std::exchange(m_telegramConfigured, isConfigured);
    const bool wasOn = std::exchange(m_telegramOn, isOn);
    if (isConfigured != wasConfigured || isOn != wasOn)
        Q_EMIT telegramChanged();
}

} // namespace vantry
