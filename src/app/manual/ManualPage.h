#pragma once

#include <QString>

namespace vantry {

/// The source of the manual page vantry(1), in the man macros of roff. The date is that of the release, in ISO form.
[[nodiscard]] QString manualPage(const QString &version, const QString &date);

} // namespace vantry
