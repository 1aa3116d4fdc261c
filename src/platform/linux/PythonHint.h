#pragma once

#include <QString>

#include <string_view>

namespace vantry {

/// What to type to get Python; where the distribution isn't known, the package's name. Reads a small file; any thread.
[[nodiscard]] QString pythonHint();
/// The same for what a distribution says of itself in its file os-release. Pure.
[[nodiscard]] QString pythonHint(std::string_view osRelease);

} // namespace vantry
