#include "base/StandardOutput.h"

#include "base/Text.h"

#include <climits>
#include <string_view>

#include <poll.h>
#include <unistd.h>

namespace vantry {

namespace {

/// The text as far as it fits, up to the end of a code point.
std::string_view firstBytes(std::string_view utf8, std::size_t limit)
{
    if (utf8.size() <= limit)
        return utf8;
    const auto continues = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; };
    while (limit > 0 && continues(utf8[limit]))
        --limit;
    return utf8.substr(0, limit);
}

} // namespace

void printLine(const QString &line)
{
    // Whoever should read it may not: a pipe that takes something takes that much without waiting.
    const std::string escaped = escapeControlCharacters(line.toStdString());
    const std::string text = std::string(firstBytes(escaped, PIPE_BUF - 1)) + '\n';
    pollfd output { STDOUT_FILENO, POLLOUT, 0 };
    if (::poll(&output, 1, 0) == 1 && (output.revents & POLLOUT) != 0)
        (void)!::write(STDOUT_FILENO, text.data(), text.size());
}

} // namespace vantry
