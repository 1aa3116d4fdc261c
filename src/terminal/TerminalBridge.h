#pragma once

#include "sessions/AgentPermissionMode.h"
#include "sessions/VantrySession.h"

#include <functional>
#include <optional>
#include <variant>
#include <vector>

namespace vantry {

class Applications;
class Log;
class MainQueue;
class Scheduler;
class ScriptHost;
class TerminalDriver;

/// The one place that reaches into the terminals that host agents: brings them forward, types into them, opens and
/// closes them. What it knows of a terminal is what the session's hook reported. Operations return at once; what they
/// start outside runs without blocking the caller. Each writes what it does, and what fails, to the log; who wants to
/// tell the user gives a completion. Main thread only.
class TerminalBridge
{
public:
    /// How a new agent begins.
    struct Resume
    {
        QString sessionID;
        friend bool operator==(const Resume &, const Resume &) = default;
    };
    struct Fresh
    {
        friend bool operator==(const Fresh &, const Fresh &) = default;
    };
    struct ContinueLatest
    {
        friend bool operator==(const ContinueLatest &, const ContinueLatest &) = default;
    };
    using LaunchMode = std::variant<Resume, Fresh, ContinueLatest>;

    /// How an operation ended: nothing when it was done as asked for, else one line for a person. Called once, on the
    /// main thread, never from within the operation; not called after the bridge has gone.
    using Completion = std::function<void(const std::optional<QString> &failure)>;

    struct Ports
    {
        MainQueue &mainQueue;
        Scheduler &scheduler;
        Log &log;
        ScriptHost &scripts;
        Applications &applications;
        /// Asked in this order; they and all else here outlive the bridge.
        std::vector<TerminalDriver *> drivers {};
        /// The live sessions, for finding a terminal to open something in. May be unset: there are none.
        std::function<QList<SessionPtr>()> liveSessions {};
        /// What the agent prints about its options; nothing when it can't be asked. Called once at most, off the main
        /// thread. May be unset: nothing.
        std::function<std::optional<QString>()> agentHelp {};
    };

    /// `pythonPath` is reserved for terminals that are driven by Python; nothing reads it.
    TerminalBridge(Ports ports, QString pythonPath);
    ~TerminalBridge();

    /// Brings the session's terminal to the front.
    void focusTerminal(const VantrySession &session, Completion completion = {});

    /// Types a line and submits it. Line breaks are removed. Where that can't be done, or would answer an open dialog
    /// by accident, the terminal is brought forward instead, and the completion is given the reason.
    void sendText(const VantrySession &session, const QString &text, Completion completion = {});
    /// Submits what stands in the terminal: approves an open permission prompt.
    void pressReturn(const VantrySession &session, Completion completion = {});
    /// Takes an option (from 0) of the question that the session asks.
    void answerQuestion(const VantrySession &session, int index, Completion completion = {});
    /// Approves the plan whose dialog is open; edits are still asked for. Does nothing where it can't type.
    void approvePlan(const VantrySession &session, Completion completion = {});

    /// Whether text typed by this bridge would arrive in the session's terminal.
    [[nodiscard]] bool canType(const VantrySession &session) const;
    /// Why sendText() would refuse now, as one line for a person; nothing when it would type.
    [[nodiscard]] std::optional<QString> refusalOfText(const VantrySession &session) const;
    /// Why answerQuestion() would refuse now; nothing when it would type.
    [[nodiscard]] std::optional<QString> refusalOfAnswer(const VantrySession &session, int index) const;
    /// The terminal's name for people: that of its driver ("tmux"), else its type; nothing when none was reported.
    [[nodiscard]] std::optional<QString> terminalName(const VantrySession &session) const;

    /// Starts an agent in a new window or tab.
    void launchClaude(const QString &projectPath, const LaunchMode &mode, const AgentLaunchFlags &flags,
                      const std::optional<QString> &prompt, Completion completion = {});
    /// Closes the session's tab.
    void closeTab(const VantrySession &session, Completion completion = {});
    /// The application that a new agent is started in where no driver opens one.
    [[nodiscard]] QString preferredTerminal() const;

private:
    Ports m_ports;
    const QString m_pythonPath;
};

} // namespace vantry
