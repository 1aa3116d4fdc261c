#pragma once

#include "base/Defaults.h"

namespace vantry {

/// Where the user wants sessions to be shown.
enum class DisplayMode { menuBar, notch, both };

/// The stored mode; a missing or unknown one is `menuBar`.
[[nodiscard]] inline DisplayMode displayMode(const Defaults &defaults)
{
    const QString stored = defaults.string(QStringLiteral("displayMode"), {});
    if (stored == u"notch")
        return DisplayMode::notch;
    return stored == u"both" ? DisplayMode::both : DisplayMode::menuBar;
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
