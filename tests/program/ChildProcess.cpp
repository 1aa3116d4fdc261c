#include "ChildProcess.h"

#include "Eventually.h"

#include <signal.h>
#include <sys/prctl.h>

namespace vantry::test {

namespace {

constexpr int longEnough = 60'000; // milliseconds

} // namespace

ChildProcess::ChildProcess(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment)
{
    setProgram(program);
    setArguments(arguments);
    setProcessEnvironment(environment);
    // When the test is killed, nobody else would end its children.
    setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

ChildProcess::~ChildProcess()
{
    killAndWait();
}

void ChildProcess::begin()
{
    start();
    waitForStarted(longEnough);
}

void ChildProcess::sendSignal(int signal) const
{
    if (const auto pid = processId(); pid > 0)
        ::kill(static_cast<pid_t>(pid), signal);
}

void ChildProcess::killAndWait()
{
    if (state() == NotRunning)
        return;
    kill();
    waitForFinished(longEnough);
}

CommandResult ChildProcess::finish()
{
    if (state() != NotRunning && !waitForFinished(longEnough))
        killAndWait();
    const bool ended = exitStatus() == NormalExit && error() != FailedToStart;
    return { ended ? exitCode() : -1, readAllStandardOutput().toStdString(), readAllStandardError().toStdString() };
}

std::string ChildProcess::nextLine()
{
    while (!canReadLine()) {
        if (!waitForReadyRead(longEnough) && !canReadLine())
            return {};
    }
    std::string line = readLine().toStdString();
    line.pop_back();
    return line;
}

FakeAgent::FakeAgent()
    : m_process(QStringLiteral("sleep"), { QStringLiteral("3600") }, QProcessEnvironment::systemEnvironment())
{
    m_process.begin();
}

int FakeAgent::signalThatEndedIt()
{
    // QProcess gives the signal as the exit code of a crash.
    return m_process.waitForFinished(longEnough) ? m_process.exitCode() : 0;
}

} // namespace vantry::test
