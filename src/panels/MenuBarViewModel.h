#pragma once

#include "panels/ChatViewModel.h"
#include "panels/PanelServices.h"
#include "panels/ProjectDetailModel.h"
#include "panels/ProjectPickerModel.h"
#include "panels/ResumeDialogModel.h"
#include "panels/SessionBrowserModel.h"
#include "panels/SessionCallbacks.h"
#include "panels/SessionLaunch.h"
#include "panels/SessionListModel.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vantry {

/// The panel: which of its screens shows, and the models of all of them. The list of sessions is at the root; the other
/// screens come and go over it. While the panel isn't visible, no timer of it runs. Main thread only.
///
/// The model of a screen that goes stays usable for a while after its property has become null, so that the screen can
/// fade out. On opening, the property changes before `screen` does, and on leaving after it.
class MenuBarViewModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")
    Q_PROPERTY(vantry::MenuBarViewModel::Screen screen READ screen NOTIFY screenChanged)
    Q_PROPERTY(bool goingBack READ goingBack NOTIFY screenChanged)
    Q_PROPERTY(bool visible READ isVisible WRITE setVisible NOTIFY visibleChanged)
    Q_PROPERTY(vantry::SessionListModel *sessionList READ sessionList CONSTANT)
    Q_PROPERTY(vantry::SessionBrowserModel *browser READ browser CONSTANT)
    Q_PROPERTY(vantry::ProjectPickerModel *picker READ picker CONSTANT)
    Q_PROPERTY(vantry::ProjectDetailModel *projectDetail READ projectDetail NOTIFY projectDetailChanged)
    Q_PROPERTY(vantry::ResumeDialogModel *resumeDialog READ resumeDialog NOTIFY resumeDialogChanged)
    Q_PROPERTY(vantry::ChatViewModel *chat READ chat NOTIFY chatChanged)
    Q_PROPERTY(int activeCount READ activeCount NOTIFY activeCountChanged)
    Q_PROPERTY(QString activeText READ activeText NOTIFY activeCountChanged)
    Q_PROPERTY(bool notificationsOn READ notificationsOn WRITE setNotificationsOn NOTIFY notificationsOnChanged)
    Q_PROPERTY(bool soundsOn READ soundsOn WRITE setSoundsOn NOTIFY soundsOnChanged)
    Q_PROPERTY(bool telegramConfigured READ telegramConfigured NOTIFY telegramChanged)
    Q_PROPERTY(bool telegramOn READ telegramOn WRITE setTelegramOn NOTIFY telegramChanged)
    Q_PROPERTY(int overrideWidth READ overrideWidth WRITE setOverrideWidth NOTIFY panelSizeChanged)
    Q_PROPERTY(int overrideHeight READ overrideHeight WRITE setOverrideHeight NOTIFY panelSizeChanged)
    Q_PROPERTY(int panelWidth READ panelWidth NOTIFY panelSizeChanged)
    Q_PROPERTY(int panelHeight READ panelHeight NOTIFY panelSizeChanged)

public:
    enum Screen { SessionList, SessionBrowser, NewSessionPicker, ProjectDetail, ResumeDialog, Chat };
    Q_ENUM(Screen)

    MenuBarViewModel(PanelServices services, SessionCallbacks callbacks, QObject *parent = nullptr);
    ~MenuBarViewModel() override;

    [[nodiscard]] Screen screen() const { return m_screen; }
    /// Whether the last change of screen was a step back.
    [[nodiscard]] bool goingBack() const { return m_isGoingBack; }
    [[nodiscard]] bool isVisible() const { return m_isVisible; }
    void setVisible(bool visible);

    [[nodiscard]] SessionListModel *sessionList() { return &m_sessionList; }
    [[nodiscard]] SessionBrowserModel *browser() { return &m_browser; }
    [[nodiscard]] ProjectPickerModel *picker() { return &m_picker; }
    /// Null while no project is open; so are the two below.
    [[nodiscard]] ProjectDetailModel *projectDetail() const { return m_projectDetail.get(); }
    [[nodiscard]] ResumeDialogModel *resumeDialog() const { return m_resumeDialog.get(); }
    [[nodiscard]] ChatViewModel *chat() const { return m_chat.get(); }

    /// Alive sessions.
    [[nodiscard]] int activeCount() const { return m_sessionList.count(); }
    /// "4 active".
    [[nodiscard]] QString activeText() const;

    // The user's settings, of which other programs and windows may change the value, too.
    [[nodiscard]] bool notificationsOn() const { return m_notificationsOn; }
    void setNotificationsOn(bool on);
    [[nodiscard]] bool soundsOn() const { return m_soundsOn; }
    void setSoundsOn(bool on);
    /// Whether there is a bot that could be polled, and whether it is, unless it is paused.
    [[nodiscard]] bool telegramConfigured() const { return m_telegramConfigured; }
    [[nodiscard]] bool telegramOn() const { return m_telegramOn; }
    void setTelegramOn(bool on);

    // In logical pixels at text scale 1. An override replaces the panel's own size; 0: none.
    [[nodiscard]] int overrideWidth() const { return m_overrideWidth; }
    void setOverrideWidth(int width);
    [[nodiscard]] int overrideHeight() const { return m_overrideHeight; }
    void setOverrideHeight(int height);
    [[nodiscard]] int panelWidth() const;
    [[nodiscard]] int panelHeight() const;

    Q_INVOKABLE void openSessionBrowser(bool focusSearch);
    Q_INVOKABLE void openChat(const QString &sessionID);
    /// One screen back; at the root it asks for the panel to be closed.
    Q_INVOKABLE void back();
    Q_INVOKABLE void openSettings();
    Q_INVOKABLE void quit();

Q_SIGNALS:
    void screenChanged();
    void visibleChanged();
    void projectDetailChanged();
    void resumeDialogChanged();
    void chatChanged();
    void activeCountChanged();
    void notificationsOnChanged();
    void soundsOnChanged();
    void telegramChanged();
    void panelSizeChanged();
    void closeRequested();

private:
    enum class Direction { Forward, Back };

    /// Makes a change of what is open, and tells of what it has done.
    void navigate(Direction direction, const std::function<void()> &change);
    [[nodiscard]] Screen screenForState() const;
    /// Tells the models of the searching screens whether they are shown.
    void tellScreens();
    /// Keeps a screen's model until its screen has surely gone.
    void retire(std::unique_ptr<QObject> model);

    void openPicker();
    void openProject(const RecentProject &project);
    void openResult(const RememberedSession &result);
    /// In the stead of all that is open.
    void showChat(const SessionPtr &session);
    void closeChat();
    void launch(const QString &path, const TerminalBridge::LaunchMode &mode, const AgentLaunchFlags &flags);
    void takeLaunchedSession(const SessionPtr &session);
    [[nodiscard]] SessionPtr aliveSession(const QString &sessionID) const;
    void readSettings();
    void readTelegram();

    const PanelServices m_services;
    const SessionCallbacks m_callbacks;
    SessionListModel m_sessionList;
    SessionBrowserModel m_browser;
    ProjectPickerModel m_picker;

    // What is open; the screen follows from it.
    std::unique_ptr<ChatViewModel> m_chat;
    std::unique_ptr<ResumeDialogModel> m_resumeDialog;
    std::unique_ptr<ProjectDetailModel> m_projectDetail;
    bool m_showsPicker { false };
    bool m_showsBrowser { false };

    Screen m_screen { SessionList };
    bool m_isGoingBack { false };
    bool m_isVisible { false };
    std::unique_ptr<SessionLaunch> m_launch; ///< While the chat shows its placeholder.
    std::vector<std::unique_ptr<QObject>> m_retired;
    bool m_notificationsOn { true };
    bool m_soundsOn { true };
    bool m_telegramConfigured { false };
    bool m_telegramOn { true };
    int m_overrideWidth { 0 };
    int m_overrideHeight { 0 };
};

} // namespace vantry
