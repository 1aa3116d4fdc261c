#pragma once

#include "platform/linux/SessionBus.h"

#include <QDBusMessage>

namespace vantry {

/// Who owns this name on the session bus knows the trays there.
inline constexpr auto statusNotifierWatcher = "org.kde.StatusNotifierWatcher";
inline constexpr auto statusNotifierWatcherPath = "/StatusNotifierWatcher";
/// The call that asks the watcher whether anybody shows icons; the answer is a boolean in a variant.
[[nodiscard]] QDBusMessage trayHostQuestion();
/// Whoever owns this selection is the X11 tray of the first screen.
inline constexpr auto x11TraySelection = "_NET_SYSTEM_TRAY_S0";

/// Whether the desktop has a tray of either kind now. Asks both sides with connections of its own; any thread.
[[nodiscard]] bool hasTray(const QString &busAddress = sessionBusAddress());

} // namespace vantry
