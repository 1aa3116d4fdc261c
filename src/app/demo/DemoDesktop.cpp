#include "app/demo/DemoDesktop.h"

namespace vantry::demo {

namespace {

constexpr double started = 1'000'000'000;

} // namespace

std::optional<double> Processes::startTime(std::int64_t pid) const
{
    return m_running.contains(pid) ? std::optional(started) : std::nullopt;
}

ProcessTable::Signalled Processes::terminate(std::int64_t pid, double)
{
    if (!m_running.remove(pid))
        return Signalled::NoSuchProcess;
    if (onTerminate)
        onTerminate(pid);
    return Signalled::Yes;
}

TerminalDriver::Failure Terminal::typeText(const TerminalTarget &target, const QString &text)
{
    m_mainQueue.post([this, sessionID = target.sessionID, text] { type(sessionID, text); });
    return {};
}

TerminalDriver::Failure Terminal::pressReturn(const TerminalTarget &target)
{
    m_mainQueue.post([this, sessionID = target.sessionID] { onLine(sessionID, m_typed.take(sessionID)); });
    return {};
}

TerminalDriver::Failure Terminal::open(const TerminalTarget &, const TerminalCommand &command)
{
    m_mainQueue.post([this, command] { onOpen(command); });
    return {};
}

void Terminal::type(const QString &sessionID, const QString &text)
{
    m_typed[sessionID] += text;
    // The agent's dialogs take a digit by itself, without Return.
    if (text.size() == 1 && text.front().isDigit())
        onLine(sessionID, m_typed.take(sessionID));
}

} // namespace vantry::demo
