#include "base/Subprocess.h"

#include "base/Cancellation.h"
#include "base/ChildProcess.h"
#include "base/Clock.h"

#include <QFile>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

namespace vantry {
namespace {

using std::chrono::milliseconds;

/// Whether the variable "NAME=value" has a name that the list takes out.
bool isRemoved(std::string_view variable, const QStringList &removed)
{
    const std::string_view name = variable.substr(0, variable.find('='));
    return std::ranges::any_of(removed, [name](const QString &entry) {
        const std::string pattern = entry.toStdString();
        return pattern.ends_with('*') ? name.starts_with(std::string_view(pattern).substr(0, pattern.size() - 1))
                                      : name == pattern;
    });
}

std::vector<std::string> environmentFor(const Subprocess &process)
{
    QStringList replaced = process.removedVariables;
    for (const auto &[name, value] : process.addedVariables)
        replaced.append(name);
    std::vector<std::string> variables;
    for (char **variable = environ; variable && *variable; ++variable) {
        if (!isRemoved(*variable, replaced))
            variables.emplace_back(*variable);
    }
    for (const auto &[name, value] : process.addedVariables)
        variables.push_back(QFile::encodeName(QString(name + u'=' + value)).toStdString());
    return variables;
}

/// What one of the child's outputs brings.
class Output
{
public:
    explicit Output(FileDescriptor &pipe)
        : m_pipe(pipe)
    {}

    [[nodiscard]] pollfd watch() const { return { m_pipe.get(), POLLIN, 0 }; }
    /// Takes what is there; call it when the pipe is ready.
    void read()
    {
        constexpr qsizetype blockSize = 64 * 1024;
        take(blockSize);
    }
    /// Takes what is there now and no more: another process may hold the pipe and go on writing.
    void readRest()
    {
        int waiting = 0;
        if (m_pipe && ioctl(m_pipe.get(), FIONREAD, &waiting) == 0 && waiting > 0)
            take(waiting);
    }

    [[nodiscard]] bool isTooMuch() const { return bytes.size() > Subprocess::maximumOutput; }

    QByteArray bytes;

private:
    void take(qsizetype most)
    {
        const qsizetype before = bytes.size();
        bytes.resize(before + most);
        const ssize_t got = ::read(m_pipe.get(), bytes.data() + before, static_cast<std::size_t>(most));
        bytes.resize(before + std::max<ssize_t>(got, 0));
        if (got == 0 || (got < 0 && errno != EINTR && errno != EAGAIN))
            m_pipe.reset();
    }

    FileDescriptor &m_pipe;
};

/// Reads both outputs until the child has ended. Its end counts, not that of its pipes, which its own children may hold
/// open for ever. False when it is to be killed.
bool readUntilEnd(ChildProcess &child, Output &output, Output &errors, milliseconds timeout)
{
    const SystemClock clock;
    const MonotonicTime deadline = clock.monotonicNow() + timeout;
    const Cancellation *cancellation = Cancellation::ofThisThread();
    const pollfd cancelled { cancellation ? cancellation->descriptor() : -1, POLLIN, 0 };
    while (!child.hasEnded()) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - clock.monotonicNow());
        if (left <= milliseconds::zero())
            return false;
        std::array<pollfd, 4> watched { output.watch(), errors.watch(), child.watchEnd(), cancelled };
        const milliseconds wait = std::min(left, child.longestWait());
        if (poll(watched.data(), watched.size(), static_cast<int>(wait.count())) <= 0)
            continue;
        if (watched[0].revents != 0)
            output.read();
        if (watched[1].revents != 0)
            errors.read();
        if (watched[3].revents != 0 || output.isTooMuch() || errors.isTooMuch())
            return false;
    }
    return true;
}

} // namespace

ChildProcess::Plan Subprocess::plan() const
{
    ChildProcess::Plan plan;
    plan.executable = QFile::encodeName(executable).toStdString();
    plan.arguments.push_back(plan.executable);
    for (const QString &argument : arguments)
        plan.arguments.push_back(QFile::encodeName(argument).toStdString());
    plan.environment = environmentFor(*this);
    plan.workingDirectory = QFile::encodeName(workingDirectory).toStdString();
    return plan;
}

Subprocess::Result Subprocess::run() const
{
    Result result;
    auto child = ChildProcess::start(plan());
    if (!child)
        return result;
    result.started = true;
    Output output(child->standardOutput());
    Output errors(child->standardError());
    if (!readUntilEnd(*child, output, errors, timeout))
        child->killGroup();
    result.exitStatus = child->exitStatus();
    output.readRest();
    errors.readRest();
    result.standardOutput = std::move(output.bytes);
    result.standardError = std::move(errors.bytes);
    return result;
}

Subprocess::Launch Subprocess::startDetached() const
{
    const auto end = ChildProcess::startDetached(plan(), timeout);
    return end ? Launch { true, end->exitStatus } : Launch {};
}

} // namespace vantry
