#pragma once

#include <QString>

namespace vantry {

/// Writes one line, which comes without its end, to standard output: control characters as escapes, cut to what a pipe
/// takes at once. Never waits: where nobody takes it, it is lost. Any thread.
void printLine(const QString &line);

} // namespace vantry
