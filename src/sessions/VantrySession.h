#pragma once

#include "base/Clock.h"
#include "hooks/HookEvent.h"
#include "sessions/AgentTool.h"
#include "sessions/SessionState.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vantry {

/// A live or remembered run of a coding agent in one terminal. SessionManager owns the live ones; everybody else holds
/// a SessionPtr and observes changed(). Main thread only, but that the store reads one from its queue while the main
/// thread waits. Every setter but those of the two histories tells changed() when the value is another than before.
class VantrySession final : public QObject
{
    Q_OBJECT

public:
    /// What a session is made from.
    struct Init
    {
        QString id;
        AgentTool agentTool { AgentTool::claudeCode };
        std::optional<QString> terminalType;
        std::optional<QString> terminalSessionID;
        SessionState state { SessionState::working };
        std::optional<QString> projectName;
        std::optional<QString> cwd;
        std::optional<QString> lastPrompt;
        std::optional<QString> toolName;
        std::optional<std::int64_t> pid;
        std::optional<double> pidStartTime;
        std::optional<QString> lastMessage;
        Date lastUpdated {};
        Date startedAt {};
        bool isAlive { true };
    };

    explicit VantrySession(Init init);

    /// The agent's session identifier, or "pending-" and a UUID for a placeholder, which is never stored.
    [[nodiscard]] const QString &id() const { return m_id; }
    [[nodiscard]] AgentTool agentTool() const { return m_agentTool; }
    /// As the hook reports it, as in "kitty-window".
    [[nodiscard]] const std::optional<QString> &terminalType() const { return m_terminalType; }
    [[nodiscard]] const std::optional<QString> &terminalSessionID() const { return m_terminalSessionID; }
    [[nodiscard]] SessionState state() const { return m_state; }
    /// When the session last asked for the user; never cleared by an event.
    [[nodiscard]] std::optional<Date> lastAttentionDate() const { return m_lastAttentionDate; }
    /// The agent's last text, or the last notification's.
    [[nodiscard]] const std::optional<QString> &lastMessage() const { return m_lastMessage; }
    /// The last change that counts as activity.
    [[nodiscard]] Date lastUpdated() const { return m_lastUpdated; }
    [[nodiscard]] Date startedAt() const { return m_startedAt; }
    /// Set when the session ended by event or by kill, not by a failed liveness check.
    [[nodiscard]] std::optional<Date> endedAt() const { return m_endedAt; }
    [[nodiscard]] bool isAlive() const { return m_isAlive; }
    [[nodiscard]] const std::optional<QString> &projectName() const { return m_projectName; }
    /// The project's directory.
    [[nodiscard]] const std::optional<QString> &cwd() const { return m_cwd; }
    [[nodiscard]] const std::optional<QString> &lastPrompt() const { return m_lastPrompt; }
    [[nodiscard]] const std::optional<QString> &toolName() const { return m_toolName; }
    /// One line by which a person can judge that tool call.
    [[nodiscard]] const std::optional<QString> &toolDetail() const { return m_toolDetail; }
    [[nodiscard]] std::optional<std::int64_t> pid() const { return m_pid; }
    [[nodiscard]] std::optional<std::int64_t> shellPid() const { return m_shellPid; }
    /// Seconds since 1970: the guard against a reused `pid`.
    [[nodiscard]] std::optional<double> pidStartTime() const { return m_pidStartTime; }
    [[nodiscard]] const std::optional<QString> &transcriptPath() const { return m_transcriptPath; }
    /// Read once.
    [[nodiscard]] const std::optional<QString> &gitBranch() const { return m_gitBranch; }
    /// The share of the context window that is still free, 0 to 100.
    [[nodiscard]] std::optional<int> contextPercent() const { return m_contextPercent; }
    /// Lines against HEAD; never stored.
    [[nodiscard]] std::optional<int> gitLinesAdded() const { return m_gitLinesAdded; }
    [[nodiscard]] std::optional<int> gitLinesRemoved() const { return m_gitLinesRemoved; }
    [[nodiscard]] std::optional<std::int64_t> telegramTopicID() const { return m_telegramTopicID; }
    [[nodiscard]] const std::optional<std::vector<HookEvent::Question>> &questions() const { return m_questions; }
    /// Carried to and from the store; reserved for a count of subagents.
    [[nodiscard]] std::int32_t activeSubagentCount() const { return m_activeSubagentCount; }
    /// Carried to and from the store; reserved for the time of a compaction.
    [[nodiscard]] bool isCompacting() const { return m_isCompacting; }
    /// Every non-empty prompt of this run, oldest first. Memory only; feeds the search.
    [[nodiscard]] const QStringList &promptHistory() const { return m_promptHistory; }
    /// The name of every finished tool call of this run, oldest first. Memory only; feeds the search.
    [[nodiscard]] const QStringList &toolHistory() const { return m_toolHistory; }

    void setTerminalType(std::optional<QString> value) { assign(m_terminalType, std::move(value)); }
    void setTerminalSessionID(std::optional<QString> value) { assign(m_terminalSessionID, std::move(value)); }
    void setState(SessionState value) { assign(m_state, value); }
    void setLastAttentionDate(std::optional<Date> value) { assign(m_lastAttentionDate, value); }
    void setLastMessage(std::optional<QString> value) { assign(m_lastMessage, std::move(value)); }
    void setLastUpdated(Date value) { assign(m_lastUpdated, value); }
    void setStartedAt(Date value) { assign(m_startedAt, value); }
    void setEndedAt(std::optional<Date> value) { assign(m_endedAt, value); }
    void setAlive(bool value) { assign(m_isAlive, value); }
    void setProjectName(std::optional<QString> value) { assign(m_projectName, std::move(value)); }
    void setCwd(std::optional<QString> value) { assign(m_cwd, std::move(value)); }
    void setLastPrompt(std::optional<QString> value) { assign(m_lastPrompt, std::move(value)); }
    void setToolName(std::optional<QString> value) { assign(m_toolName, std::move(value)); }
    void setToolDetail(std::optional<QString> value) { assign(m_toolDetail, std::move(value)); }
    void setPid(std::optional<std::int64_t> value) { assign(m_pid, value); }
    void setShellPid(std::optional<std::int64_t> value) { assign(m_shellPid, value); }
    void setPidStartTime(std::optional<double> value) { assign(m_pidStartTime, value); }
    void setTranscriptPath(std::optional<QString> value) { assign(m_transcriptPath, std::move(value)); }
    void setGitBranch(std::optional<QString> value) { assign(m_gitBranch, std::move(value)); }
    void setContextPercent(std::optional<int> value) { assign(m_contextPercent, value); }
    void setGitLinesAdded(std::optional<int> value) { assign(m_gitLinesAdded, value); }
    void setGitLinesRemoved(std::optional<int> value) { assign(m_gitLinesRemoved, value); }
    void setTelegramTopicID(std::optional<std::int64_t> value) { assign(m_telegramTopicID, value); }
    void setQuestions(std::optional<std::vector<HookEvent::Question>> value) { assign(m_questions, std::move(value)); }
    void setActiveSubagentCount(std::int32_t value) { assign(m_activeSubagentCount, value); }
    void setCompacting(bool value) { assign(m_isCompacting, value); }
    void appendPrompt(const QString &prompt) { m_promptHistory.append(prompt); }
    void appendTool(const QString &tool) { m_toolHistory.append(tool); }

    /// "Needs permission: Bash", "Ready", "Finished" …
    [[nodiscard]] QString statusText() const;
    /// How long ago `lastUpdated` was, as in "5m ago".
    [[nodiscard]] QString elapsedText(Date now) const;
    /// The one line that a row shows of the session.
    [[nodiscard]] std::optional<QString> previewLine() const;
    /// The transcript's file: `transcriptPath` if it exists, else the one where the agent keeps it under `home`, else
    /// nothing. Asks the file system.
    [[nodiscard]] std::optional<QString> resolvedTranscriptPath(const QString &home) const;
    /// `projectName`, or the first 8 characters of the identifier.
    [[nodiscard]] QString displayName() const;
    /// In a state that waits for the user, and alive.
    [[nodiscard]] bool needsAttention() const;

Q_SIGNALS:
    void changed();

private:
    template <typename T>
    void assign(T &field, T value)
    {
        if (field == value)
            return;
        field = std::move(value);
        Q_EMIT changed();
    }

    const QString m_id;
    const AgentTool m_agentTool;
    std::optional<QString> m_terminalType;
    std::optional<QString> m_terminalSessionID;
    SessionState m_state;
    std::optional<Date> m_lastAttentionDate;
    std::optional<QString> m_lastMessage;
    Date m_lastUpdated;
    Date m_startedAt;
    std::optional<Date> m_endedAt;
    bool m_isAlive;
    std::optional<QString> m_projectName;
    std::optional<QString> m_cwd;
    std::optional<QString> m_lastPrompt;
    std::optional<QString> m_toolName;
    std::optional<QString> m_toolDetail;
    std::optional<std::int64_t> m_pid;
    std::optional<std::int64_t> m_shellPid;
    std::optional<double> m_pidStartTime;
    std::optional<QString> m_transcriptPath;
    std::optional<QString> m_gitBranch;
    std::optional<int> m_contextPercent;
    std::optional<int> m_gitLinesAdded;
    std::optional<int> m_gitLinesRemoved;
    std::optional<std::int64_t> m_telegramTopicID;
    std::optional<std::vector<HookEvent::Question>> m_questions;
    std::int32_t m_activeSubagentCount { 0 };
    bool m_isCompacting { false };
    QStringList m_promptHistory;
    QStringList m_toolHistory;
};

using SessionPtr = std::shared_ptr<VantrySession>;

} // namespace vantry
