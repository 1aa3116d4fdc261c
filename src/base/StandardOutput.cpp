#include "base/StandardOutput.h"

#include "base/Text.h"

#include <climits>
#include <poll.h>
#include <unistd.h>

namespace vantry {

void printLine(const QString &line)
{
    // Whoever should read it may not: a pipe that takes something takes that much without waiting.
    const std::string text = escapeControlCharacters(line.toStdString()).substr(0, PIPE_BUF - 1) + '\n';
    pollfd output { STDOUT_FILENO, POLLOUT, 0 };
    if (::poll(&output, 1, 0) == 1 && (output.revents & POLLOUT) != 0)
        (void)!::write(STDOUT_FILENO, text.data(), text.size());
}

} // namespace vantry
