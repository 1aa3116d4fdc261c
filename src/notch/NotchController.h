#pragma once

#include "base/MainQueue.h"
#include "base/Scheduler.h"
#include "notch/NotchStateMachine.h"
#include "notch/NotchSurfaces.h"
#include "notch/NotchViewModel.h"
#include "platform/FullScreenWatch.h"
#include "platform/Screens.h"
#include "platform/SessionLock.h"
#include "sessions/SessionChanges.h"
#include "sessions/SessionManager.h"

#include <QObject>

#include <memory>
#include <optional>

namespace vantry {

/// Joins the sessions, the decisions of NotchStateMachine, and what is seen of the notch: turns session updates and the
/// pointer into the machine's inputs, and carries its effects out. Exists while the display mode shows the notch.
///
/// Nothing of the notch is on the screen while the user's session is locked, while a full-screen window is in front on
/// the notch's screen, or while there is no screen. That begins with the notch leaving its expanded form and its card
/// going at once; the machine goes on as ever meanwhile, timers included. When it ends, what the machine then says is
/// shown: the compact notch, with the card if its time isn't over. A screen that changes places both anew.
///
/// It is the one observer of the three ports, from start to stop. Main thread only.
class NotchController final : public QObject
{
    Q_OBJECT

public:
    /// All of it must outlive this.
    struct Surroundings
    {
        SessionManager &sessionManager;
        SessionChanges &sessionChanges;
        Screens &screens;
        MakeFullScreenWatch makeFullScreenWatch;
        MakeSessionLock makeSessionLock;
        MainQueue &mainQueue;
        Scheduler &scheduler;
        NotchSurfaces &surfaces;
    };

    /// How long the pointer must have been in or out.
    static constexpr std::chrono::milliseconds hoverDebounce { 150 };

    NotchController(const Surroundings &surroundings, const SessionCallbacks &callbacks,
                    NotchViewModel::MakePanel makePanel);
    /// Stops.
    ~NotchController() override;

    void start();
    /// The notch fades out; a later start builds a new one.
    void stop();
    /// After each hook event.
    void sessionsDidChange();
    /// Does nothing for a session that doesn't wait for the user.
    void sessionNeedsAttention(const SessionPtr &session);
    /// Brings an expanded notch back to its compact form: before a window opens.
    void collapse();

    [[nodiscard]] NotchViewModel &viewModel() { return *m_viewModel; }
    [[nodiscard]] const NotchStateMachine &stateMachine() const { return m_machine; }

private:
    enum class PeekAnswer { Focus, Allow };

    void observe();
    void stopObserving();
    void takeChanges();
    /// The screen of the notch; nothing while there is none.
    [[nodiscard]] std::optional<ScreenInfo> notchScreen() const;
    /// The same, and nothing while nothing is to be seen.
    [[nodiscard]] std::optional<ScreenInfo> currentPlace() const;
    void place();
    void takeFromScreen();

    void observeHover();
    void takeHover(bool isHovering);

    void carryOut(const QList<NotchEffect> &effects, const SessionPtr &passed = {});
    void carryOut(const NotchEffect &effect, const SessionPtr &passed);
    void showCompact();
    void expand();
    void openPeek(const SessionPtr &session);
    void presentPeek();
    void closePeek();
    void endPeek();
    void answerPeek(PeekAnswer answer, const QString &request);

    const Surroundings m_surroundings;
    const std::shared_ptr<NotchViewModel> m_viewModel;
    NotchStateMachine m_machine;
    std::unique_ptr<DynamicNotchControllable> m_notch; ///< From start to stop.
    std::optional<ScreenInfo> m_place;                 ///< Where the notch is shown now.
    std::unique_ptr<FullScreenWatch> m_fullScreens;    ///< Null unless it runs, as the next one.
    std::unique_ptr<SessionLock> m_sessionLock;
    std::shared_ptr<NotchPeekCardModel> m_card; ///< The card that is open, seen or not.
    ScheduledTimer m_autoCollapse;              ///< Ends the peek.
    std::optional<bool> m_reportedHover;        ///< The last report, which may wait for its time.
    ScheduledTimer m_hoverTimer;
};

} // namespace vantry
