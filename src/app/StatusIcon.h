#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QString>

namespace vantry {

// The picture in the tray: the mark, in one colour that can be read on the bar, with the number of sessions that wait.

/// How dark the bar is that holds the tray icon.
enum class BarTone { Dark, Light, Unknown };

/// As far as the desktop tells: `desktopNames` is XDG_CURRENT_DESKTOP.
[[nodiscard]] BarTone barTone(const QString &desktopNames, bool prefersDark);

struct StatusPicture
{
    QColor ring; ///< The mark's own colour.
    QColor bead; ///< While sessions wait; else it has the ring's colour.
    QColor badge;
    QColor onBadge;
    int waiting { 0 }; ///< The sessions that wait for the user.

    friend bool operator==(const StatusPicture &, const StatusPicture &) = default;
};

/// The picture, `size` pixels high and wide.
[[nodiscard]] QImage paintStatusPicture(const StatusPicture &picture, int size);
/// The same in the sizes that trays ask for.
[[nodiscard]] QIcon statusIcon(const StatusPicture &picture);

} // namespace vantry
