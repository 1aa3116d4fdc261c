#pragma once

#include <QString>
#include <QUrl>

#include <chrono>
#include <optional>

namespace vantry {

/// Has the desktop open a URL with the program that the user has chosen for it. That one outlives this program and gets
/// none of its variables. Nothing when it has begun, else why not. Blocks for as long as the beginning is watched; any
/// thread but the main one.
[[nodiscard]] std::optional<QString>
openWithDesktop(const QUrl &url, std::chrono::milliseconds watched = std::chrono::milliseconds { 500 });

} // namespace vantry
