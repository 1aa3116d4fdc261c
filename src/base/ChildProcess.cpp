#include "base/ChildProcess.h"

#include "base/Subprocess.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <mutex>

namespace vantry {
namespace {

using std::chrono::milliseconds;

/// The soft limit of open files before it was raised; zero as long as it wasn't.
std::atomic<rlim_t> originalSoftLimit { 0 };

struct Pipe
{
    FileDescriptor reading;
    FileDescriptor writing;
};

/// Both ends lie above the standard descriptors, also where the program was started with these closed.
std::optional<Pipe> aboveStandardDescriptors(Pipe pipe)
{
    for (FileDescriptor *end : { &pipe.reading, &pipe.writing }) {
        if (end->get() <= STDERR_FILENO)
            *end = FileDescriptor(fcntl(end->get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        if (!*end)
            return std::nullopt;
    }
    return pipe;
}

std::optional<Pipe> makePipe()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return std::nullopt;
    return aboveStandardDescriptors({ FileDescriptor(ends[0]), FileDescriptor(ends[1]) });
}

std::optional<Pipe> makeSocketPair()
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return std::nullopt;
    return aboveStandardDescriptors({ FileDescriptor(ends[0]), FileDescriptor(ends[1]) });
}

/// Swallows what is written; above the standard descriptors, too.
FileDescriptor openSink()
{
    FileDescriptor sink(open("/dev/null", O_WRONLY | O_CLOEXEC));
    return sink.get() > STDERR_FILENO ? std::move(sink)
                                      : FileDescriptor(fcntl(sink.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

std::vector<char *> pointersTo(const std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string &text : texts)
        pointers.push_back(const_cast<char *>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

bool holdsNul(const ChildProcess::Plan &plan)
{
    const auto has = [](const std::string &text) { return text.find('\0') != std::string::npos; };
    return has(plan.executable) || has(plan.workingDirectory) || std::ranges::any_of(plan.arguments, has) ||
           std::ranges::any_of(plan.environment, has);
}

/// All that the child needs between vfork() and execve(), made before: there it shares our memory and may call nothing
/// but plain system calls.
struct Start
{
    const char *executable;
    char *const *arguments;
    char *const *environment;
    const char *workingDirectory;
    int input; ///< Negative: none.
    int output;
    int errors;
    int failure; ///< Where a failure's errno goes; closed by a successful execve().
    rlimit openFiles;
    bool setsOpenFiles;
    sigset_t noSignals;
};

/// The two lists are those of the plan, and live as long as the result.
Start makeStart(const ChildProcess::Plan &plan, const std::vector<char *> &arguments,
                const std::vector<char *> &environment, int input, int output, int errors, int failure)
{
    Start start { plan.executable.c_str(),
                  arguments.data(),
                  environment.data(),
                  plan.workingDirectory.c_str(),
                  input,
                  output,
                  errors,
                  failure,
                  {},
                  false,
                  {} };
    sigemptyset(&start.noSignals);
    if (const rlim_t original = originalSoftLimit; original != 0 && getrlimit(RLIMIT_NOFILE, &start.openFiles) == 0) {
        start.openFiles.rlim_cur = std::min(original, start.openFiles.rlim_max);
        start.setsOpenFiles = true;
    }
    return start;
}

void resetSignals(const Start &start)
{
    struct sigaction usual
    {};
    usual.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        sigaction(signal, &usual, nullptr);
    sigprocmask(SIG_SETMASK, &start.noSignals, nullptr);
}

[[noreturn]] void becomeProgram(const Start &start)
{
    setsid();
    resetSignals(start);
    const int input = start.input >= 0 ? start.input : open("/dev/null", O_RDONLY);
    const bool isReady = input >= 0 && (input == STDIN_FILENO || dup2(input, STDIN_FILENO) >= 0) &&
                         dup2(start.output, STDOUT_FILENO) >= 0 && dup2(start.errors, STDERR_FILENO) >= 0 &&
                         (!start.setsOpenFiles || setrlimit(RLIMIT_NOFILE, &start.openFiles) == 0) &&
                         (!*start.workingDirectory || chdir(start.workingDirectory) == 0);
    if (isReady) {
        // Descriptors are close-on-exec, but a library may open one in two steps on another thread just now.
        const auto failure = static_cast<unsigned>(start.failure);
        constexpr unsigned first = STDERR_FILENO + 1;
        if (failure > first)
            close_range(first, failure - 1, 0);
        close_range(failure + 1, ~0U, 0);
        execve(start.executable, start.arguments, start.environment);
    }
    const int error = errno;
    static_cast<void>(!write(start.failure, &error, sizeof error));
    _exit(127);
}

/// vfork() and not fork(): that would copy the page tables of the whole program. And not posix_spawn(), which can't set
/// the limit of open files.
pid_t launch(const Start &start)
{
    // A handler that ran in the child would run in our memory.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t process = vfork(); // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (process == 0)
        becomeProgram(start); // NOLINT(clang-analyzer-unix.Vfork)
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return process;
}

/// The errno that the child has written, zero once it has become the program.
int failureFrom(Pipe &failure)
{
    failure.writing.reset();
    int error = 0;
    ssize_t got = 0;
    do
        got = read(failure.reading.get(), &error, sizeof error);
    while (got < 0 && errno == EINTR);
    return got > 0 ? error : 0;
}

int exitStatusIn(int waitStatus)
{
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1;
}

/// What the process between us and the program does: starts it, watches it for a while, reports its end, and ends
/// itself, upon which the program is nobody's child. It is a copy of us with one thread, and may call nothing but plain
/// system calls.
[[noreturn]] void startAndWatch(const Start &start, int report, milliseconds watched)
{
    const pid_t process = launch(start);
    if (process < 0) {
        const int error = errno;
        static_cast<void>(!write(start.failure, &error, sizeof error));
        _exit(1);
    }
    // Nothing of ours stays open meanwhile, nor `failure`, whose end tells that the program has begun.
    const auto kept = static_cast<unsigned>(report);
    close_range(0, kept - 1, 0);
    close_range(kept + 1, ~0U, 0);
    pollfd end { static_cast<int>(syscall(SYS_pidfd_open, process, 0)), POLLIN, 0 };
    poll(&end, 1, static_cast<int>(watched.count()));
    int status = 0;
    if (waitpid(process, &status, WNOHANG) == process)
        static_cast<void>(!write(report, &status, sizeof status));
    _exit(0);
}

/// fork() with all signals blocked in the child: a handler there would write to what we share.
pid_t forkBlocked()
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t process = fork();
    if (process != 0)
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return process;
}

/// Where our parent ignored SIGCHLD, the kernel would throw the exit status of our children away.
void keepExitStatus()
{
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction present
        {};
        if (sigaction(SIGCHLD, nullptr, &present) == 0 && present.sa_handler == SIG_IGN)
            signal(SIGCHLD, SIG_DFL);
    });
}

} // namespace

void raiseOpenFileLimit()
{
    rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == limit.rlim_max)
        return;
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = limit.rlim_max;
    if (setrlimit(RLIMIT_NOFILE, &limit) == 0)
        originalSoftLimit = before;
}

std::optional<ChildProcess> ChildProcess::start(const Plan &plan)
{
    if (holdsNul(plan))
        return std::nullopt;
    keepExitStatus();
    auto input = plan.hasInput ? makeSocketPair() : Pipe();
    auto output = makePipe();
    auto errors = makePipe();
    auto failure = makePipe();
    if (!input || !output || !errors || !failure)
        return std::nullopt;

    const std::vector<char *> arguments = pointersTo(plan.arguments);
    const std::vector<char *> environment = pointersTo(plan.environment);
    const Start start = makeStart(plan, arguments, environment, input->reading.get(), output->writing.get(),
                                  errors->writing.get(), failure->writing.get());

    ChildProcess child;
    child.m_process = launch(start);
    if (child.m_process < 0)
        return std::nullopt;
    if (failureFrom(*failure) != 0) {
        waitpid(child.m_process, nullptr, 0);
        return std::nullopt;
    }
    child.m_handle = FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, child.m_process, 0)));
    child.m_input = std::move(input->writing);
    child.m_output = std::move(output->reading);
    child.m_errors = std::move(errors->reading);
    return child;
}

std::optional<ChildProcess::Beginning> ChildProcess::startDetached(const Plan &plan, milliseconds watched)
{
    if (holdsNul(plan))
        return std::nullopt;
    keepExitStatus();
    const FileDescriptor sink = openSink();
    auto failure = makePipe();
    auto report = makePipe();
    if (!sink || !failure || !report)
        return std::nullopt;

    const std::vector<char *> arguments = pointersTo(plan.arguments);
    const std::vector<char *> environment = pointersTo(plan.environment);
    const Start start = makeStart(plan, arguments, environment, -1, sink.get(), sink.get(), failure->writing.get());
    const pid_t between = forkBlocked();
    if (between < 0)
        return std::nullopt;
    if (between == 0)
        startAndWatch(start, report->writing.get(), watched);

    const bool hasFailed = failureFrom(*failure) != 0;
    report->writing.reset();
    int status = 0;
    ssize_t got = 0;
    do
        got = read(report->reading.get(), &status, sizeof status);
    while (got < 0 && errno == EINTR);
    waitpid(between, nullptr, 0);
    if (hasFailed)
        return std::nullopt;
    return Beginning { got == sizeof status ? std::optional(exitStatusIn(status)) : std::nullopt };
}

pollfd ChildProcess::watchEnd() const
{
    return { m_handle.get(), POLLIN, 0 };
}

milliseconds ChildProcess::longestWait() const
{
    return m_handle ? milliseconds { 60'000 } : milliseconds { 10 };
}

bool ChildProcess::hasEnded()
{
    int status = 0;
    if (m_hasEnded || waitpid(m_process, &status, WNOHANG) == 0)
        return m_hasEnded;
    m_hasEnded = true;
    m_exitStatus = exitStatusIn(status);
    return true;
}

void ChildProcess::killGroup()
{
    if (!m_hasEnded)
        kill(-m_process, SIGKILL);
}

int ChildProcess::exitStatus()
{
    constexpr milliseconds patience { 500 };
    for (milliseconds waited {}; !hasEnded() && waited < patience; waited += milliseconds { 10 }) {
        pollfd end = watchEnd();
        poll(&end, 1, 10);
    }
    return m_exitStatus;
}

} // namespace vantry
