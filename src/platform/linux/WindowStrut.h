#pragma once

#include <QList>
#include <QRect>

#include <array>
#include <cstdint>

namespace vantry {

/// What a bar keeps free at the edges of the desktop, which all screens together make up, in pixels, as it says in its
/// property _NET_WM_STRUT_PARTIAL: the widths at the left, right, top and bottom edge, then, in the same order, from
/// where to where along that edge.
using WindowStrut = std::array<std::uint32_t, 12>;

/// What bars leave of a screen. A bar that would take all of it is on another one.
[[nodiscard]] QRect areaWithoutStruts(const QRect &screen, const QList<WindowStrut> &struts, QSize desktop);

} // namespace vantry
