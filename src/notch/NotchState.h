#pragma once

#include <QLatin1StringView>

namespace vantry {

/// In what form the notch is.
enum class NotchState { hidden, compact, peeking, expanded };

/// The state's name, as in "peeking".
[[nodiscard]] constexpr QLatin1StringView description(NotchState state)
{
    switch (state) {
    case NotchState::hidden:
        return QLatin1StringView("hidden");
    case NotchState::compact:
        return QLatin1StringView("compact");
    case NotchState::peeking:
        return QLatin1StringView("peeking");
    case NotchState::expanded:
        return QLatin1StringView("expanded");
    }
    return {};
}

} // namespace vantry
