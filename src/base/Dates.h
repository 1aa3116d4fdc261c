#pragma once

#include "base/Clock.h"

#include <QString>

#include <optional>
#include <string>

namespace vantry {

// The text forms of a date. All are UTC, all are pure functions and may be called on any thread.

/// "2026-01-31T09:05:07.250Z": the store's form, cut (not rounded) to milliseconds.
[[nodiscard]] QString isoMilliseconds(Date date);
/// "2026-01-31T09:05:07Z": whole seconds, the general log's form.
[[nodiscard]] std::string isoSeconds(Date date);
/// "2026-01-31 09:05:07 +0000": the application delegate's log's form.
[[nodiscard]] std::string plainSeconds(Date date);

/// Reads an ISO 8601 date that has a full date, a time with colons, a fraction and a zone ("Z" or "+01:00"); the
/// fraction may have one to nine digits. Anything else, a part left out or trailing text included, gives nothing.
[[nodiscard]] std::optional<Date> parseIsoDate(QStringView text);

/// Seconds since 1970 with their fraction.
[[nodiscard]] double secondsSince1970(Date date);

} // namespace vantry
