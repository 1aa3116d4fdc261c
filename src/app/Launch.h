#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"

namespace vantry {

/// Runs the application until it is asked to end, or finds the one that runs already and asks it to show itself. Gives
/// the exit code. Needs the application object; main thread.
[[nodiscard]] int runApplication(const command::Start &start, Console &console);

} // namespace vantry
