#pragma once

#include "platform/ScriptHost.h"

namespace vantry {

class Applications;
class MainQueue;
class WorkerPool;

/// There is no AppleScript here. What a script asks for is carried out where it can be: an application that runs is
/// brought forward; none is started. Tools are run as anywhere.
class LinuxScriptHost final : public ScriptHost
{
public:
    /// All of them outlive this object, and the applications outlive the workers.
    LinuxScriptHost(Applications &applications, WorkerPool &workers, MainQueue &mainQueue);

    void run(const AppleScript &script, Done done) override;
    void runTool(const QString &executable, const QStringList &arguments, Done done) override;

private:
    void runOnWorker(std::function<Outcome()> work, Done done);

    Applications &m_applications;
    WorkerPool &m_workers;
    MainQueue &m_mainQueue;
};

} // namespace vantry
