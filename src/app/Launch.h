#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"

#include <QCoreApplication>

#include <memory>

namespace vantry {

/// Makes the application object that the start needs: one with windows where they are wanted and there is a display;
/// where there is none, the console is told.
[[nodiscard]] std::unique_ptr<QCoreApplication> makeApplication(int &argc, char **argv, const command::Start &start,
                                                                Console &console);

/// Runs the application until it is asked to end, or finds the one that runs already and asks it to show itself. Gives
/// the exit code. Needs the application object; main thread.
[[nodiscard]] int runApplication(Console &console);

/// Runs the application over invented sessions, beside a real one, and opens its panel. The same otherwise.
[[nodiscard]] int runDemo(Console &console);

} // namespace vantry
