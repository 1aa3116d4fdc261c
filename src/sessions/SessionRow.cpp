#include "sessions/SessionRow.h"

#include "base/Dates.h"

#include <QCoreApplication>

#include <limits>

namespace vantry {
namespace {

std::optional<QString> storedDate(std::optional<Date> date)
{
    return date ? std::optional(isoMilliseconds(*date)) : std::nullopt;
}

std::optional<Date> readDate(const std::optional<QString> &text)
{
    return text ? parseIsoDate(*text) : std::nullopt;
}

AgentTool readAgentTool(const std::optional<QString> &text)
{
    return text ? agentToolFromRawValue(*text).value_or(AgentTool::unknown) : AgentTool::claudeCode;
}

SessionState readState(const std::optional<QString> &text)
{
    return text ? sessionStateFromStatus(*text) : SessionState::launching;
}

/// A count that the record can't hold is ignored.
std::int32_t readCount(std::int64_t value)
{
    using Limits = std::numeric_limits<std::int32_t>;
    return value >= Limits::min() && value <= Limits::max() ? static_cast<std::int32_t>(value) : 0;
}

} // namespace

void bindSession(Statement &save, const VantrySession &session)
{
    save.bind(session.id(), session.id(), rawValue(session.agentTool()), session.cwd(), session.projectName(),
              statusString(session.state()), session.terminalType(), session.terminalSessionID(), session.pid(),
              session.shellPid(), std::int64_t { session.activeSubagentCount() },
              std::int64_t { session.isCompacting() }, session.toolName(), session.lastPrompt(), session.lastMessage(),
              session.transcriptPath(), session.pidStartTime(), session.gitBranch(), session.telegramTopicID(),
              isoMilliseconds(session.startedAt()), isoMilliseconds(session.lastUpdated()),
              storedDate(session.endedAt()));
}

SessionPtr readSession(const Statement &row, Date now)
{
    VantrySession::Init init;
    init.id = row.text(0).value_or(QStringLiteral("unknown"));
    init.agentTool = readAgentTool(row.text(2));
    init.cwd = row.text(3);
    init.projectName = row.text(4);
    init.state = readState(row.text(5));
    init.terminalType = row.text(6);
    init.terminalSessionID = row.text(7);
    init.pid = row.optionalInteger(8);
    init.toolName = row.text(12);
    init.lastPrompt = row.text(13);
    init.lastMessage = row.text(14);
    init.pidStartTime = row.isNull(16) ? std::nullopt : std::optional(row.real(16));
    init.startedAt = readDate(row.text(19)).value_or(now);
    init.lastUpdated = readDate(row.text(20)).value_or(now);
    init.isAlive = row.isNull(21);

    auto session = std::make_shared<VantrySession>(std::move(init));
    session->setShellPid(row.optionalInteger(9));
    session->setActiveSubagentCount(readCount(row.integer(10)));
    session->setCompacting(row.integer(11) != 0);
    session->setTranscriptPath(row.text(15));
    session->setGitBranch(row.text(17));
    session->setTelegramTopicID(row.optionalInteger(18));
    session->setEndedAt(readDate(row.text(21)));
    if (const QCoreApplication *application = QCoreApplication::instance())
        session->moveToThread(application->thread());
    return session;
}

} // namespace vantry
