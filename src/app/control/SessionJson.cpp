#include "app/control/SessionJson.h"

#include "base/Dates.h"

#include <optional>

namespace vantry {

namespace {

// nlohmann's own conversions would not know the types of the record.
Json toJson(const QString &value)
{
    return jsonString(value);
}

Json toJson(Date value)
{
    return jsonString(isoMilliseconds(value));
}

template <typename T>
Json toJson(T value) requires std::is_arithmetic_v<T>
{
    return value;
}

Json toJson(const HookEvent::QuestionOption &option);
Json toJson(const HookEvent::Question &question);

template <typename T>
Json toJson(const std::vector<T> &values)
{
    Json array = Json::array();
    for (const T &value : values)
        array.push_back(toJson(value));
    return array;
}

template <typename T>
Json toJson(const std::optional<T> &value)
{
    return value ? toJson(*value) : Json(nullptr);
}

Json toJson(const HookEvent::QuestionOption &option)
{
    return Json { { "label", toJson(option.label) }, { "description", toJson(option.description) } };
}

Json toJson(const HookEvent::Question &question)
{
    return Json {
        { "question", toJson(question.question) },
        { "header", toJson(question.header) },
        { "multiSelect", toJson(question.multiSelect) },
        { "options", toJson(question.options) },
    };
}

} // namespace

Json sessionJson(const VantrySession &session, const SessionSurroundings &surroundings)
{
    return Json {
        { "id", toJson(session.id()) },
        { "agentTool", toJson(rawValue(session.agentTool())) },
        { "state", toJson(statusString(session.state())) },
        { "statusText", toJson(session.statusText()) },
        { "elapsedText", toJson(session.elapsedText(surroundings.now)) },
        { "isAlive", session.isAlive() },
        { "needsAttention", session.needsAttention() },
        { "projectName", toJson(session.projectName()) },
        { "cwd", toJson(session.cwd()) },
        { "previewLine", toJson(session.previewLine()) },
        { "lastPrompt", toJson(session.lastPrompt()) },
        { "lastMessage", toJson(session.lastMessage()) },
        { "toolName", toJson(session.toolName()) },
        { "toolDetail", toJson(session.toolDetail()) },
        { "questions", toJson(session.questions()) },
        { "heldPermissions", surroundings.heldPermissions },
        { "hasAlwaysAllowSuggestions", surroundings.hasAlwaysAllowSuggestions },
        { "terminalType", toJson(session.terminalType()) },
        { "terminalSessionID", toJson(session.terminalSessionID()) },
        { "pid", toJson(session.pid()) },
        { "shellPid", toJson(session.shellPid()) },
        { "pidStartTime", toJson(session.pidStartTime()) },
        { "transcriptPath", toJson(session.resolvedTranscriptPath(surroundings.home)) },
        { "gitBranch", toJson(session.gitBranch()) },
        { "gitLinesAdded", toJson(session.gitLinesAdded()) },
        { "gitLinesRemoved", toJson(session.gitLinesRemoved()) },
        { "contextPercent", toJson(session.contextPercent()) },
        { "startedAt", toJson(session.startedAt()) },
        { "lastUpdated", toJson(session.lastUpdated()) },
        { "endedAt", toJson(session.endedAt()) },
        { "lastAttentionDate", toJson(session.lastAttentionDate()) },
    };
}

Json statusJson(bool running, bool listening, std::uint16_t port, Json::array_t sessions)
{
    return Json {
        { "running", running }, { "listening", listening }, { "port", port }, { "sessions", std::move(sessions) }
    };
}

Json resultsJson(const QList<SessionSearchResult> &results, Date now, const QString &home)
{
    Json array = Json::array();
    for (const SessionSearchResult &result : results) {
        array.push_back(Json {
            { "session", sessionJson(*result.session, { .now = now, .home = home }) },
            { "rank", result.rank },
            { "snippet", toJson(result.snippet) },
        });
    }
    return Json { { "results", std::move(array) } };
}

Json changedJson(Json session)
{
    return Json { { "event", "changed" }, { "session", std::move(session) } };
}

Json removedJson(const QString &sessionID)
{
    return Json { { "event", "removed" }, { "id", toJson(sessionID) } };
}

Json listeningJson(bool listening)
{
    return Json { { "event", "listening" }, { "listening", listening } };
}

Json backfillJson(std::uint32_t done, std::uint32_t total)
{
    return Json { { "event", "backfill" }, { "done", done }, { "total", total } };
}

std::string jsonString(const QString &text)
{
    if (text.isValidUtf16())
        return text.toStdString();
    QString repaired = text;
    for (qsizetype i = 0; i < repaired.size(); ++i) {
        if (!repaired.at(i).isSurrogate())
            continue;
        const bool isPair =
            repaired.at(i).isHighSurrogate() && i + 1 < repaired.size() && repaired.at(i + 1).isLowSurrogate();
        if (isPair)
            ++i;
        else
            repaired[i] = QChar::ReplacementCharacter;
    }
    return repaired.toStdString();
}

std::string jsonLine(const Json &document)
{
    return document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace vantry
