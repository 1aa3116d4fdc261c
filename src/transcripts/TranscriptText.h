#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace vantry {

// What machines write between tags into the text of users. Pure functions, any thread, linear in the text's length.

/// The text without machine-written tags and what stands between them; an opening tag whose closing one is missing
/// stays. Not trimmed.
[[nodiscard]] QString sanitise(QString text);
/// What stands between "<name>" and the next "</name>", trimmed of whitespace; nothing when either is missing.
[[nodiscard]] std::optional<QString> extractTag(QStringView name, QStringView text);

} // namespace vantry
