#include "app/NotchPresenter.h"

#include "platform/OverlayWindows.h"

#include <utility>

namespace vantry {

NotchPresenter::NotchPresenter(NotchScene::Surroundings surroundings)
    : m_screens(surroundings.screens)
    , m_overlays(surroundings.overlays)
    , m_log(surroundings.services.log)
    , m_scene(std::move(surroundings))
{}

NotchPresenter::~NotchPresenter() = default;

void NotchPresenter::setShown(bool isShown)
{
    if (isShown == (m_controller != nullptr))
        return;
    if (!isShown) {
        m_controller.reset();
        return;
    }
    if (!m_overlays.canPlace()) {
        if (!std::exchange(m_hasSaidThatThereIsNone, true))
            m_log.write("NotchPresenter: this desktop lets no program place its windows, so there is no notch");
        return;
    }
    m_controller = m_scene.makeController();
    m_controller->start();
}

void NotchPresenter::setHasVirtualNotch(bool hasVirtualNotch)
{
    m_screens.setHasVirtualNotch(hasVirtualNotch);
}

void NotchPresenter::sessionsDidChange()
{
    if (m_controller)
        m_controller->sessionsDidChange();
}

void NotchPresenter::sessionNeedsAttention(const SessionPtr &session)
{
    if (m_controller)
        m_controller->sessionNeedsAttention(session);
}

void NotchPresenter::collapse()
{
    if (m_controller)
        m_controller->collapse();
}

} // namespace vantry
