#pragma once

#include "base/JsonText.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vantry {

/// The kinds of hook event. The last seven are the older names of the first seven; they fold to these and exist so that
/// an old hook script keeps working.
enum class HookEventType {
    sessionStart,
    sessionEnd,
    notification,
    stop,
    userPromptSubmit,
    preToolUse,
    postToolUse,
    postToolUseFailure,
    permissionRequest,
    subagentStart,
    subagentStop,
    preCompact,
    taskCompleted,
    teammateIdle,
    configChange,
    instructionsLoaded,
    worktreeCreate,
    worktreeRemove,
    legacySessionStart,
    legacySessionEnd,
    legacyNotification,
    legacyStop,
    legacyUserPromptSubmit,
    legacyPreToolUse,
    legacyPostToolUse,
};

/// The wire name, as in "SessionStart".
[[nodiscard]] std::string_view rawValue(HookEventType type);
[[nodiscard]] std::optional<HookEventType> hookEventTypeFromRawValue(std::string_view raw);
/// A legacy kind's current twin; every other kind itself.
[[nodiscard]] HookEventType folded(HookEventType type);

enum class NotificationType { permissionPrompt, idlePrompt, taskComplete, elicitationDialog, authSuccess };

[[nodiscard]] std::string_view rawValue(NotificationType type);
[[nodiscard]] std::optional<NotificationType> notificationTypeFromRawValue(std::string_view raw);

/// One hook event of an agent, as the hook script posts it: a plain value, decoded all or nothing. The fields stand in
/// the order of decoding; each has the wire's snake-case key of the same name.
struct HookEvent
{
    struct QuestionOption
    {
        QString label;
        std::optional<QString> description;

        friend bool operator==(const QuestionOption &, const QuestionOption &) = default;
    };

    /// One question of an AskUserQuestion call.
    struct Question
    {
        QString question;
        std::optional<QString> header;
        std::optional<std::vector<QuestionOption>> options;
        std::optional<bool> multiSelect;

        friend bool operator==(const Question &, const Question &) = default;
    };

    QString sessionID;
    std::optional<QString> cwd;
    std::optional<QString> transcriptPath;
    std::optional<QString> permissionMode;
    std::optional<HookEventType> hookEventName;
    std::optional<HookEventType> legacyType; ///< Wire key "type".
    std::optional<QString> toolName;
    std::optional<AnyCodableMap> toolInput;
    std::optional<AnyCodableMap> toolResponse;
    std::optional<QString> toolUseId;
    std::optional<std::vector<AnyCodableMap>> permissionSuggestions;
    std::optional<NotificationType> notificationType;
    std::optional<QString> message;
    std::optional<QString> source;
    std::optional<QString> model;
    std::optional<QString> agentType;
    std::optional<QString> agentId; ///< Absent for the session's main agent.
    std::optional<QString> error;
    std::optional<bool> isInterrupt;
    std::optional<bool> stopHookActive;
    std::optional<QString> lastAssistantMessage;
    std::optional<QString> prompt;
    std::optional<QString> terminalType;
    std::optional<QString> terminalSessionID;
    std::optional<double> timestamp;
    std::optional<std::int64_t> pid; ///< The one field that may be changed after decoding.
    std::optional<std::int64_t> shellPid;
    std::optional<QString> projectDir;
    std::optional<QString> toolDetail;

    /// The event's kind with legacy names folded: `hookEventName`, else `legacyType`, else a notification. All
    /// branching on the kind uses this.
    [[nodiscard]] HookEventType eventType() const;
    /// The questions in `toolInput`, read forgivingly; nothing when there is no list of them.
    [[nodiscard]] std::optional<std::vector<Question>> questions() const;

    /// Decodes a request's body, strictly: either the whole record or the reason why not, for the log. `json` is UTF-8
    /// and needs no padding. Of a key that occurs twice the last one counts. Any thread; runs out of memory with
    /// std::bad_alloc.
    [[nodiscard]] static std::variant<HookEvent, std::string> decode(std::string_view json);

    /// So many bytes must be readable behind a text for decodePadded(); what they hold doesn't matter.
    static constexpr std::size_t padding { 64 };
    /// The same without a copy of the text.
    [[nodiscard]] static std::variant<HookEvent, std::string> decodePadded(std::string_view json);
};

} // namespace vantry
