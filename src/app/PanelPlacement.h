#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

namespace vantry {

// Where the panel goes. Pure; all lengths are logical pixels of the desktop.

/// One screen, and what bars leave of it.
struct ScreenArea
{
    QRect geometry;
    QRect available;

    friend bool operator==(const ScreenArea &, const ScreenArea &) = default;
};

/// What is known of the place that the panel is asked for at.
struct PanelAnchor
{
    QRect icon {};                    ///< The tray icon; empty where the tray doesn't tell.
    std::optional<QPoint> pointer {}; ///< Where the icon was clicked, as far as that is known.
};

/// The distance from bars, and from the edges of the screen.
inline constexpr int panelGap = 4;

/// Beside the icon, else where it was clicked, else in the corner at which a tray would be; inside the available area
/// of that screen, and never larger than that. The first screen is the primary one.
[[nodiscard]] QRect placePanel(QSize size, const PanelAnchor &anchor, const QList<ScreenArea> &screens);

/// The same place for a panel whose size changes while it is shown: its edge at the bar stays.
[[nodiscard]] QRect resizePanel(const QRect &shown, QSize size, const QList<ScreenArea> &screens);

} // namespace vantry
