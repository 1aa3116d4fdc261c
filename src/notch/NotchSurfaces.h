#pragma once

#include "DynamicNotchKit/DynamicNotchControllable.h"
#include "notch/NotchPeekCardModel.h"
#include "platform/Screens.h"

#include <memory>

namespace vantry {

class NotchViewModel;

/// The floating card below the notch. Main thread only.
class PeekPanel
{
public:
    enum class Closing {
        Fading,
        AtOnce ///< For what must not be seen one moment longer.
    };

    virtual ~PeekPanel() = default;

    /// Shows the card on that screen, in the stead of one that is shown.
    virtual void open(const std::shared_ptr<NotchPeekCardModel> &card, const ScreenInfo &screen) = 0;
    /// From now on the card takes no input. Nothing happens when none is shown.
    virtual void close(Closing closing) = 0;
};

/// What NotchController shows the notch with; lives longer than the controller. Main thread only.
class NotchSurfaces
{
public:
    virtual ~NotchSurfaces() = default;

    /// A notch that isn't shown yet.
    [[nodiscard]] virtual std::unique_ptr<DynamicNotchControllable>
    makeNotch(const std::shared_ptr<NotchViewModel> &viewModel) = 0;
    /// Hides a notch, and lets it and what it shows go when it has gone from the screen.
    virtual void retire(std::unique_ptr<DynamicNotchControllable> notch,
                        const std::shared_ptr<NotchViewModel> &viewModel) = 0;
    [[nodiscard]] virtual PeekPanel &peekPanel() = 0;
};

} // namespace vantry
