#pragma once

#include "base/Defaults.h"

#include <optional>

namespace vantry {

/// Where the user wants sessions to be shown.
enum class DisplayMode { menuBar, notch, both };

/// The key under which it is kept in the defaults.
inline const QString displayModeKey = QStringLiteral("displayMode");

[[nodiscard]] inline QString rawValue(DisplayMode mode)
{
    switch (mode) {
    case DisplayMode::menuBar:
        return QStringLiteral("menuBar");
    case DisplayMode::notch:
        return QStringLiteral("notch");
    case DisplayMode::both:
        return QStringLiteral("both");
    }
    Q_UNREACHABLE();
}

/// What the user has chosen; nothing when that is missing or unknown.
[[nodiscard]] inline std::optional<DisplayMode> chosenDisplayMode(const Defaults &defaults)
{
    const QString stored = defaults.string(displayModeKey, {});
    for (const DisplayMode mode : { DisplayMode::menuBar, DisplayMode::notch, DisplayMode::both }) {
        if (stored == rawValue(mode))
            return mode;
    }
    return std::nullopt;
}

/// The stored mode; a missing or unknown one is `menuBar`.
[[nodiscard]] inline DisplayMode displayMode(const Defaults &defaults)
{
    return chosenDisplayMode(defaults).value_or(DisplayMode::menuBar);
}

[[nodiscard]] constexpr bool showsMenuBar(DisplayMode mode)
{
    return mode != DisplayMode::notch;
}

[[nodiscard]] constexpr bool showsNotch(DisplayMode mode)
{
    return mode != DisplayMode::menuBar;
}

} // namespace vantry
