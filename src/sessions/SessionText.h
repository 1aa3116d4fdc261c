#pragma once

#include "base/Clock.h"

#include <QString>

#include <chrono>
#include <optional>

namespace vantry {

// Derived text that every list shows. Pure functions, any thread.

/// One line of possibly long Markdown for a one-line row: the first line that says something, with long paths
/// shortened, cut at a blank to at most 118 characters. Stops reading at the line that serves.
[[nodiscard]] std::optional<QString> firstMeaningfulLine(QStringView text);
/// Absolute paths of three parts or more become "…/" and their last two parts.
[[nodiscard]] QString abbreviatePaths(const QString &text);
/// "just now", "5m ago", "2h ago", "3d ago", all cut to whole numbers. A date in the future is "just now".
[[nodiscard]] QString timeAgoText(Date date, Date now);
/// How long that text stays right, if nobody sets the clock. Of a date in the future, a part of that time.
[[nodiscard]] std::chrono::nanoseconds timeAgoTextLasts(Date date, Date now);

} // namespace vantry
