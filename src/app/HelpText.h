#pragma once

#include <QString>

namespace vantry {

/// What `vantry --help` prints, in lines of at most 80 columns.
[[nodiscard]] QString helpText();

} // namespace vantry
