#pragma once

#include "notch/NotchScene.h"
#include "sessions/VantrySession.h"

#include <memory>

namespace vantry {

class NotchController;

/// Sets the notch up and tears it down, as the display mode and the desktop want it. Ends before the services. Main
/// thread only.
class NotchPresenter
{
public:
    explicit NotchPresenter(NotchScene::Surroundings surroundings);
    ~NotchPresenter();

    /// Nothing happens when it is already so. Where windows can't be placed there is no notch; the log says so once.
    void setShown(bool isShown);
    /// Null while the notch isn't shown.
    [[nodiscard]] NotchController *controller() const { return m_controller.get(); }

    /// What the notch is to show of the settings and the events, if it is there.
    void setHasVirtualNotch(bool hasVirtualNotch);
    void sessionsDidChange();
    void sessionNeedsAttention(const SessionPtr &session);
    void collapse();

private:
    Screens &m_screens;
    OverlayWindows &m_overlays;
    Log &m_log;
    bool m_hasSaidThatThereIsNone { false };
    NotchScene m_scene;
    std::unique_ptr<NotchController> m_controller;
};

} // namespace vantry
