#include "app/control/Console.h"

#include "base/Text.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/ioctl.h>
#include <unistd.h>

namespace vantry {

static bool writeAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

static bool isSet(const char *variable)
{
    const char *value = std::getenv(variable);
    return value && *value != '\0';
}

StandardConsole::StandardConsole()
    : m_isTerminal(::isatty(STDOUT_FILENO) == 1)
{
    const char *terminal = std::getenv("TERM");
    const bool isDumb = !terminal || std::strcmp(terminal, "dumb") == 0;
    m_isColoured = m_isTerminal && !isDumb && !isSet("NO_COLOR");
}

bool StandardConsole::print(std::string_view text)
{
    if (writeAll(STDOUT_FILENO, text))
        return true;
    if (errno != EPIPE && !m_hasFailed) {
        m_hasFailed = true;
        printError(std::string("can't write the output: ") + std::strerror(errno));
    }
    return false;
}

void StandardConsole::printError(std::string_view line)
{
    writeAll(STDERR_FILENO, "vantry: " + escapeControlCharacters(line) + '\n');
}

TextStyle StandardConsole::style() const
{
    if (!m_isTerminal)
        return {};
    constexpr int usualWidth = 80;
    winsize size {};
    const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return { .isColoured = m_isColoured, .width = isKnown ? size.ws_col : usualWidth };
}

} // namespace vantry
