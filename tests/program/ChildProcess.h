#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <string>

namespace vantry::test {

/// How a command ended, and what it wrote.
struct CommandResult
{
    int exitCode { -1 }; ///< -1 when a signal ended it, or it did not end.
    std::string out;
    std::string err;
};

/// A process of a test, which does not outlive it. Its standard error goes to the test's own unless told otherwise.
class ChildProcess : public QProcess
{
public:
    ChildProcess(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment);
    ~ChildProcess() override;

    void begin();
    void sendSignal(int signal) const;
    /// Kills it, and waits until the kernel has forgotten it.
    void killAndWait();
    /// Waits for the end, and takes what was written.
    [[nodiscard]] CommandResult finish();
    /// The next whole line of its output, without the line feed; empty when none comes.
    [[nodiscard]] std::string nextLine();
};

/// A process that stands for an agent in the program's eyes: it lives until it is told otherwise.
class FakeAgent
{
public:
    FakeAgent();

    [[nodiscard]] qint64 pid() const { return m_process.processId(); }
    void kill() { m_process.killAndWait(); }
    /// Waits until a signal has ended it, and gives that signal; 0 when it still lives.
    [[nodiscard]] int signalThatEndedIt();

private:
    ChildProcess m_process;
};

} // namespace vantry::test
