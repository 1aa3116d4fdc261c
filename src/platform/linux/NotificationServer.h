#pragma once

#include "platform/NotificationCentre.h"
#include "platform/linux/SessionBus.h"

#include <QDBusMessage>
#include <QString>

namespace vantry {

// Whoever shows notifications owns this name on the session bus.
inline constexpr auto notificationService = "org.freedesktop.Notifications";
inline constexpr auto notificationPath = "/org/freedesktop/Notifications";
inline constexpr auto notificationInterface = "org.freedesktop.Notifications";

/// A call to the server.
[[nodiscard]] QDBusMessage notificationCall(const char *method);

/// Who shows notifications on this desktop, with its name. Waits for the answers, a second each at most, with a
/// connection of its own; starts nobody. Any thread.
[[nodiscard]] NotificationCentre::Server findNotificationServer(const QString &busAddress = sessionBusAddress());

/// The text as every server can show it: plain lines without control characters or marks that turn the reading
/// direction, cut to what a person takes in at a glance. Line breaks stay.
[[nodiscard]] QString notificationText(const QString &text);
/// The text for a server that renders markup.
[[nodiscard]] QString escapedForMarkup(const QString &text);

} // namespace vantry
