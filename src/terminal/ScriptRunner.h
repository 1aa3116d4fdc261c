#pragma once

#include "platform/ScriptHost.h"
#include "terminal/TerminalCompletions.h"

#include <memory>

namespace vantry {

class Log;

/// Has scripts and tools run, and writes to the log how they ended. Main thread only.
class ScriptRunner
{
public:
    /// The host and the log outlive what is run.
    ScriptRunner(ScriptHost &host, const std::shared_ptr<TerminalCompletions> &completions, Log &log)
        : m_host(host)
        , m_completions(completions)
        , m_log(log)
    {}

    void runAppleScript(const AppleScript &script, TerminalCompletion completion = {});
    /// A tool that could be started counts as done, whatever its exit status.
    void runTool(const QString &executable, const QStringList &arguments, TerminalCompletion completion = {});

private:
    ScriptHost &m_host;
    std::weak_ptr<TerminalCompletions> m_completions; ///< What was run may end after it has gone.
    Log &m_log;
};

} // namespace vantry
