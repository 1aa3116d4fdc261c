#pragma once

#include "base/Clock.h"

#include <optional>

namespace vantry {

/// What a click on the tray icon means for the popover. The press of a click takes the focus away, which closes the
/// popover; the release must not open it again.
class PopoverToggle
{
public:
    enum class Action { Open, Close, Nothing };

    /// For so long after it was closed by losing the focus, a click belongs to that.
    static constexpr std::chrono::milliseconds sameClick { 250 };

    void closedByLosingFocus(MonotonicTime now) { m_focusLost = now; }
    [[nodiscard]] Action clicked(bool isOpen, MonotonicTime now) const
    {
        if (isOpen)
            return Action::Close;
        return m_focusLost && now - *m_focusLost < sameClick ? Action::Nothing : Action::Open;
    }

private:
    std::optional<MonotonicTime> m_focusLost;
};

} // namespace vantry
