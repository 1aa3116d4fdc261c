#pragma once

#include "notch/NotchController.h"
#include "notch/NotchPeekPanel.h"
#include "notch/NotchSurfaces.h"
#include "panels/PanelServices.h"
#include "panels/SessionCallbacks.h"

#include <functional>
#include <list>
#include <memory>

class QQmlEngine;

namespace vantry {

class Appearance;
class OverlayWindows;

/// Makes the notch with its real windows. Keeps what is on its way off the screen, so it outlives the controllers that
/// it has made. Main thread only.
class NotchScene final : public NotchSurfaces
{
public:
    /// All of it must outlive this.
    struct Surroundings
    {
        std::function<QQmlEngine &()> engine; ///< Called when the first notch is shown.
        Appearance &appearance;
        OverlayWindows &overlays;
        Screens &screens;
        MakeFullScreenWatch makeFullScreenWatch;
        MakeSessionLock makeSessionLock;
        PanelServices services;
        SessionCallbacks callbacks;
        /// Makes the panel of the expanded notch; once for each controller.
        NotchViewModel::MakePanel makePanel;
    };

    explicit NotchScene(Surroundings surroundings);
    ~NotchScene() override;

    /// Not started.
    [[nodiscard]] std::unique_ptr<NotchController> makeController();

    [[nodiscard]] std::unique_ptr<DynamicNotchControllable>
    makeNotch(const std::shared_ptr<NotchViewModel> &viewModel) override;
    void retire(std::unique_ptr<DynamicNotchControllable> notch,
                const std::shared_ptr<NotchViewModel> &viewModel) override;
    [[nodiscard]] PeekPanel &peekPanel() override { return m_peekPanel; }

private:
    struct Retired
    {
        std::shared_ptr<NotchViewModel> viewModel;
        std::unique_ptr<DynamicNotchControllable> notch; ///< Shows the view model.
    };

    const Surroundings m_surroundings;
    NotchPeekPanel m_peekPanel;
    std::list<Retired> m_retired;
    const std::shared_ptr<char> m_life; ///< Held weakly by what may come after the end.
};

} // namespace vantry
