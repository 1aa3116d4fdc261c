#pragma once

#include "terminal/AgentCommandLine.h"
#include "terminal/TerminalBridge.h"

#include <deque>
#include <memory>

namespace vantry {

class ScriptRunner;
class TerminalLanes;

/// Starts agents: beside the newest session of a terminal that can be driven, else in a new place of such a terminal,
/// else by script. Main thread only.
class AgentLauncher
{
public:
    /// All outlive it, but for the lanes, whose end ends its work.
    AgentLauncher(const TerminalBridge::Ports &ports, TerminalLanes &lanes, ScriptRunner &scripts,
                  TerminalCompletions &completions);

    void launch(const QString &projectPath, const TerminalBridge::LaunchMode &mode, const AgentLaunchFlags &flags,
                const std::optional<QString> &prompt, TerminalCompletion completion);
    [[nodiscard]] QString preferredTerminal() const;

private:
    struct Request;
    /// Without a target, the driver looks for one.
    struct Place
    {
        TerminalDriver *driver;
        std::optional<TerminalTarget> target {};
    };
    using Places = std::deque<Place>;

    [[nodiscard]] Places places() const;
    void openInFirst(const Request &request, Places places);
    void findAndOpen(const Request &request, Places places);
    void openByScript(const Request &request);
    void log(const QString &message) const;
    void logLaunch(const Request &request, const QString &terminal) const;

    const TerminalBridge::Ports &m_ports;
    TerminalLanes &m_lanes;
    ScriptRunner &m_scripts;
    TerminalCompletions &m_completions;
    /// Once the agent has been asked. Touched by the preparations of launches alone, which come one after another.
    std::shared_ptr<std::optional<AgentOptions>> m_knownOptions;
};

} // namespace vantry
