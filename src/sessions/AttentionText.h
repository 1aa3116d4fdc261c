#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace vantry {

// What an agent's words tell about the attention that it needs. Pure functions, any thread.

/// Whether one of the last three lines ends in "?". Blank lines at both ends don't count.
[[nodiscard]] bool endsWithQuestion(QStringView text);
/// Whether a notification speaks of a permission.
[[nodiscard]] bool mentionsPermission(const QString &message);
/// The tool of a notification that asks for "permission to use" it, as in "Bash"; nothing when it names none.
[[nodiscard]] std::optional<QString> toolAskedFor(const QString &message);

} // namespace vantry
