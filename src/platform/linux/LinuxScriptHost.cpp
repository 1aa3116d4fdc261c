#include "platform/linux/LinuxScriptHost.h"

#include "base/MainQueue.h"
#include "base/Subprocess.h"
#include "base/WorkerPool.h"
#include "platform/Applications.h"

#include <QFileInfo>

namespace vantry {

using namespace Qt::StringLiterals;

LinuxScriptHost::LinuxScriptHost(Applications &applications, WorkerPool &workers, MainQueue &mainQueue)
    : m_applications(applications)
    , m_workers(workers)
    , m_mainQueue(mainQueue)
{}

void LinuxScriptHost::run(const AppleScript &script, Done done)
{
    if (script.activates.isEmpty()) {
        Outcome outcome;
        outcome.unsupported = u"this system has no AppleScript"_s;
        m_mainQueue.post([outcome, done = std::move(done)] { done(outcome); });
        return;
    }
    runOnWorker(
        [&applications = m_applications, name = script.activates] {
            Outcome outcome;
            if (!applications.activate(name))
                outcome.unsupported = name + u" is not running"_s;
            return outcome;
        },
        std::move(done));
}

void LinuxScriptHost::runTool(const QString &executable, const QStringList &arguments, Done done)
{
    runOnWorker(
        [executable, arguments] {
            Subprocess tool;
            tool.executable = executable;
            tool.arguments = arguments;
            const Subprocess::Result result = tool.run();
            Outcome outcome;
            outcome.exitStatus = result.exitStatus;
            if (!result.started) {
                outcome.launchError =
                    QFileInfo::exists(executable) ? u"it can't be run"_s : u"there is no such program"_s;
            }
            return outcome;
        },
        std::move(done));
}

void LinuxScriptHost::runOnWorker(std::function<Outcome()> work, Done done)
{
    m_workers.run([&mainQueue = m_mainQueue, work = std::move(work), done = std::move(done)] {
        mainQueue.post([outcome = work(), done] { done(outcome); });
    });
}

} // namespace vantry
