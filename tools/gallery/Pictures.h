#pragma once

#include "gallery/PictureView.h"

#include <QString>

#include <functional>
#include <vector>

namespace vantry::gallery {

/// One picture of the panel: what there is, and what the user does before it is taken.
struct Picture
{
    QString name; ///< Without the theme, as in "session-list".
    std::function<void(PanelWorld &)> prepare;
    std::function<void(PictureView &)> act {}; ///< Unset: nothing.
    DesktopPreferences::Values preferences {};
    Qt::LayoutDirection direction { Qt::LeftToRight };
    std::function<PictureFrame(PanelWorld &, bool isDark)> frame {}; ///< Unset: the panel's.
};

[[nodiscard]] const std::vector<Picture> &pictures();

} // namespace vantry::gallery
