#include "app/control/Console.h"

#include "base/FileDescriptor.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vantry {
namespace {

/// Puts another file in the place of one of the process's standard descriptors for as long as it lives.
class Redirection
{
public:
    Redirection(int standard, int replacement)
        : m_standard(standard)
        , m_saved(::fcntl(standard, F_DUPFD_CLOEXEC, 3))
    {
        ::dup2(replacement, m_standard);
    }
    ~Redirection() { ::dup2(m_saved.get(), m_standard); }
    Redirection(const Redirection &) = delete;
    Redirection &operator=(const Redirection &) = delete;

private:
    int m_standard;
    FileDescriptor m_saved;
};

struct Pipe
{
    Pipe()
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
            reading = FileDescriptor(ends[0]);
            writing = FileDescriptor(ends[1]);
        }
    }
    [[nodiscard]] std::string content() const
    {
        std::string text(4096, '\0');
        const ssize_t got = ::read(reading.get(), text.data(), text.size());
        text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        return text;
    }

    FileDescriptor reading;
    FileDescriptor writing;
};

/// A terminal of so many columns.
struct Terminal
{
    explicit Terminal(unsigned short columns)
    {
        int master = -1;
        int slave = -1;
        winsize size { 24, columns, 0, 0 };
        if (::openpty(&master, &slave, nullptr, nullptr, &size) == 0) {
            near = FileDescriptor(master);
            far = FileDescriptor(slave);
        }
    }

    FileDescriptor near;
    FileDescriptor far;
};

TEST(StandardConsole, isNoTerminalInAPipe)
{
    const Pipe pipe;
    const Redirection output(STDOUT_FILENO, pipe.writing.get());
    StandardConsole console;

    EXPECT_FALSE(console.style().isTerminal());
    EXPECT_FALSE(console.style().isColoured);
    EXPECT_TRUE(console.print("text\n"));
    EXPECT_EQ(pipe.content(), "text\n");
}

TEST(StandardConsole, readsTheTerminalsWidthAnew)
{
    const Terminal terminal(100);
    const Redirection output(STDOUT_FILENO, terminal.far.get());
    const StandardConsole console;
    EXPECT_EQ(console.style().width, 100);

    const winsize narrower { 24, 40, 0, 0 };
    ::ioctl(terminal.near.get(), TIOCSWINSZ, &narrower);

    EXPECT_EQ(console.style().width, 40);
}

TEST(StandardConsole, takesATerminalOfUnknownWidthAsTheUsualOne)
{
    const Terminal terminal(0);
    const Redirection output(STDOUT_FILENO, terminal.far.get());

    EXPECT_EQ(StandardConsole().style().width, 80);
}

TEST(StandardConsole, isColouredInATerminalThatKnowsColours)
{
    const Terminal terminal(80);
    const Redirection output(STDOUT_FILENO, terminal.far.get());
    ::unsetenv("NO_COLOR");
    ::setenv("TERM", "xterm", 1);
    EXPECT_TRUE(StandardConsole().style().isColoured);

    ::setenv("TERM", "dumb", 1);
    EXPECT_FALSE(StandardConsole().style().isColoured);
    ::unsetenv("TERM");
    EXPECT_FALSE(StandardConsole().style().isColoured);

    ::setenv("TERM", "xterm", 1);
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(StandardConsole().style().isColoured);
    ::unsetenv("NO_COLOR");
}

TEST(StandardConsole, takesAReaderThatHasGoneAsNoFailure)
{
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    pipe.reading.reset();
    {
        const Redirection output(STDOUT_FILENO, pipe.writing.get());
        StandardConsole console;

        EXPECT_FALSE(console.print("text"));
        EXPECT_FALSE(console.hasFailed());
    }
    std::signal(SIGPIPE, before);
}

TEST(StandardConsole, saysOnceThatItsOutputIsLost)
{
    const Pipe errors;
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    StandardConsole console;
    {
        const Redirection output(STDOUT_FILENO, full.get());
        const Redirection error(STDERR_FILENO, errors.writing.get());
        EXPECT_FALSE(console.print("text"));
        EXPECT_FALSE(console.print("more"));
    }
    EXPECT_TRUE(console.hasFailed());
    EXPECT_EQ(errors.content(), "vantry: can't write the output: No space left on device\n");
}

TEST(StandardConsole, letsNoErrorSteerTheTerminal)
{
    const Pipe errors;
    {
        const Redirection error(STDERR_FILENO, errors.writing.get());
        StandardConsole().printError("a\x1B[2J\nb");
    }
    EXPECT_EQ(errors.content(), "vantry: a\\u{1b}[2J\\nb\n");
}

} // namespace
} // namespace vantry
