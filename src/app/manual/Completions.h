#pragma once

#include <QString>

namespace vantry {

// What makes shells complete the command line: a file for each, which stands alone. They complete commands, options and
// what these take; sessions are asked of `vantry` itself, for two seconds at most.

[[nodiscard]] QString bashCompletion();
[[nodiscard]] QString zshCompletion();
[[nodiscard]] QString fishCompletion();

} // namespace vantry
