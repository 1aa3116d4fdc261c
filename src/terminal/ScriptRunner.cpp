#include "terminal/ScriptRunner.h"

#include "base/DebugLog.h"

using namespace Qt::StringLiterals;

namespace vantry {

namespace {

void end(Log &log, const std::weak_ptr<TerminalCompletions> &completions, const TerminalCompletion &completion,
         const std::optional<QString> &line, const std::optional<QString> &failure)
{
    if (line)
        log.write(u"TerminalBridge: "_s + *line);
    if (const auto poster = completions.lock())
        poster->post(completion, failure);
}

} // namespace

void ScriptRunner::runAppleScript(const AppleScript &script, TerminalCompletion completion)
{
    m_host.run(script, [&log = m_log, completions = m_completions,
                        completion = std::move(completion)](const ScriptHost::Outcome &outcome) {
        if (outcome.launchError)
            end(log, completions, completion, u"failed to run AppleScript: "_s + *outcome.launchError,
                outcome.launchError);
        else if (outcome.unsupported)
            end(log, completions, completion, u"AppleScript not run: "_s + *outcome.unsupported, outcome.unsupported);
        else if (outcome.exitStatus != 0)
            end(log, completions, completion, u"AppleScript exited with status %1"_s.arg(outcome.exitStatus),
                u"the terminal's script failed with status %1"_s.arg(outcome.exitStatus));
        else
            end(log, completions, completion, {}, {});
    });
}

void ScriptRunner::runTool(const QString &executable, const QStringList &arguments, TerminalCompletion completion)
{
    m_host.runTool(executable, arguments,
                   [&log = m_log, completions = m_completions, executable,
                    completion = std::move(completion)](const ScriptHost::Outcome &outcome) {
                       const auto &error = outcome.launchError ? outcome.launchError : outcome.unsupported;
                       const QString what = u"failed to run "_s + executable + u": "_s;
                       if (error)
                           end(log, completions, completion, what + *error, what + *error);
                       else
                           end(log, completions, completion, {}, {});
                   });
}

} // namespace vantry
