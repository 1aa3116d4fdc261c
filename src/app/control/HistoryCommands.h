#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"
#include "base/Clock.h"
#include "base/Paths.h"

namespace vantry {

// The commands that read the database of sessions. They change nothing in it and need no running application. Each
// prints and gives the exit code: nothing found is a result, too.

[[nodiscard]] int runSearch(const command::Search &command, const Paths &paths, Console &console, const Clock &clock);
[[nodiscard]] int runRecent(const command::Recent &command, const Paths &paths, Console &console, const Clock &clock);

} // namespace vantry
