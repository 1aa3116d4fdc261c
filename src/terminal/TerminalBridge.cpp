#include "terminal/TerminalBridge.h"

namespace vantry {

TerminalBridge::TerminalBridge(Ports ports, QString pythonPath)
    : m_ports(std::move(ports))
    , m_pythonPath(std::move(pythonPath))
{}

TerminalBridge::~TerminalBridge() = default;

void TerminalBridge::focusTerminal(const VantrySession &, Completion) {}

void TerminalBridge::sendText(const VantrySession &, const QString &, Completion) {}

void TerminalBridge::pressReturn(const VantrySession &, Completion) {}

void TerminalBridge::answerQuestion(const VantrySession &, int, Completion) {}

void TerminalBridge::approvePlan(const VantrySession &, Completion) {}

bool TerminalBridge::canType(const VantrySession &) const
{
    return false;
}

std::optional<QString> TerminalBridge::refusalOfText(const VantrySession &) const
{
    return std::nullopt;
}

std::optional<QString> TerminalBridge::refusalOfAnswer(const VantrySession &, int) const
{
    return std::nullopt;
}

std::optional<QString> TerminalBridge::terminalName(const VantrySession &session) const
{
    return session.terminalType();
}

void TerminalBridge::launchClaude(const QString &, const LaunchMode &, const AgentLaunchFlags &,
                                  const std::optional<QString> &, Completion)
{}

void TerminalBridge::closeTab(const VantrySession &, Completion) {}

QString TerminalBridge::preferredTerminal() const
{
    return QStringLiteral("Terminal");
}

} // namespace vantry
