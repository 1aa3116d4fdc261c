#pragma once

#include "platform/linux/SessionBus.h"

namespace vantry {

/// Who owns this name on the session bus knows the trays there.
inline constexpr auto statusNotifierWatcher = "org.kde.StatusNotifierWatcher";
/// Whoever owns this selection is the X11 tray of the first screen.
inline constexpr auto x11TraySelection = "_NET_SYSTEM_TRAY_S0";

/// Whether the desktop has a tray of either kind now. Asks both sides with connections of its own; any thread.
[[nodiscard]] bool hasTray(const QString &busAddress = sessionBusAddress());

} // namespace vantry
