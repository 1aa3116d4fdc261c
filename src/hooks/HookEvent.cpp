#include "hooks/HookEvent.h"

#include "base/JsonScalars.h"
#include "base/JsonWalk.h"

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <new>
#include <type_traits>
#include <utility>

namespace vantry {

namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

constexpr std::array hookEventTypes {
    std::pair { HookEventType::sessionStart, std::string_view("SessionStart") },
    std::pair { HookEventType::sessionEnd, std::string_view("SessionEnd") },
    std::pair { HookEventType::notification, std::string_view("Notification") },
    std::pair { HookEventType::stop, std::string_view("Stop") },
    std::pair { HookEventType::userPromptSubmit, std::string_view("UserPromptSubmit") },
    std::pair { HookEventType::preToolUse, std::string_view("PreToolUse") },
    std::pair { HookEventType::postToolUse, std::string_view("PostToolUse") },
    std::pair { HookEventType::postToolUseFailure, std::string_view("PostToolUseFailure") },
    std::pair { HookEventType::permissionRequest, std::string_view("PermissionRequest") },
    std::pair { HookEventType::subagentStart, std::string_view("SubagentStart") },
    std::pair { HookEventType::subagentStop, std::string_view("SubagentStop") },
    std::pair { HookEventType::preCompact, std::string_view("PreCompact") },
    std::pair { HookEventType::taskCompleted, std::string_view("TaskCompleted") },
    std::pair { HookEventType::teammateIdle, std::string_view("TeammateIdle") },
    std::pair { HookEventType::configChange, std::string_view("ConfigChange") },
    std::pair { HookEventType::instructionsLoaded, std::string_view("InstructionsLoaded") },
    std::pair { HookEventType::worktreeCreate, std::string_view("WorktreeCreate") },
    std::pair { HookEventType::worktreeRemove, std::string_view("WorktreeRemove") },
    std::pair { HookEventType::legacySessionStart, std::string_view("session_start") },
    std::pair { HookEventType::legacySessionEnd, std::string_view("session_end") },
    std::pair { HookEventType::legacyNotification, std::string_view("notification") },
    std::pair { HookEventType::legacyStop, std::string_view("stop") },
    std::pair { HookEventType::legacyUserPromptSubmit, std::string_view("user_prompt_submit") },
    std::pair { HookEventType::legacyPreToolUse, std::string_view("pre_tool_use") },
    std::pair { HookEventType::legacyPostToolUse, std::string_view("post_tool_use") },
};

constexpr std::array notificationTypes {
    std::pair { NotificationType::permissionPrompt, std::string_view("permission_prompt") },
    std::pair { NotificationType::idlePrompt, std::string_view("idle_prompt") },
    std::pair { NotificationType::taskComplete, std::string_view("task_complete") },
    std::pair { NotificationType::elicitationDialog, std::string_view("elicitation_dialog") },
    std::pair { NotificationType::authSuccess, std::string_view("auth_success") },
};

template <typename Table, typename Case>
std::string_view rawOf(const Table &table, Case wanted)
{
    const auto found = std::ranges::find(table, wanted, &Table::value_type::first);
    return found == table.end() ? std::string_view() : found->second;
}

template <typename Table>
auto caseOf(const Table &table, std::string_view raw) -> std::optional<typename Table::value_type::first_type>
{
    const auto found = std::ranges::find(table, raw, &Table::value_type::second);
    if (found == table.end())
        return std::nullopt;
    return found->first;
}

/// How the value of one key suited its field. Malformed JSON is told apart, as an error_code.
enum class Fit { Good, WrongType, UnknownName };

/// The value was looked at for its type alone: what it holds is still to be checked.
error_code refuse(ondemand::value value, int depth, Fit &fit)
{
    fit = Fit::WrongType;
    return checkValue(value, depth);
}

constexpr int fieldDepth = 1; ///< Around a field's value stands the record's object.

error_code readSource(ondemand::value value, int depth, std::optional<AnyCodableMap> &field, Fit &fit)
{
    ondemand::json_type type {};
    if (const auto error = value.type().get(type))
        return error;
    if (type != ondemand::json_type::object)
        return refuse(value, depth, fit);
    std::string_view source;
    if (const auto error = checkedSource(value, depth).get(source))
        return error;
    field.emplace(std::string(source));
    return simdjson::SUCCESS;
}

// One overload for each type that a field can have. The value is no null.

error_code readField(ondemand::value value, std::optional<AnyCodableMap> &field, Fit &fit)
{
    return readSource(value, fieldDepth, field, fit);
}

error_code readField(ondemand::value value, std::optional<QString> &field, Fit &fit)
{
    std::string_view inside;
    const auto error = checkedString(value).get(inside);
    if (error == simdjson::INCORRECT_TYPE)
        return refuse(value, fieldDepth, fit);
    if (!error)
        field = decodeJsonString(inside);
    return error;
}

error_code readField(ondemand::value value, QString &field, Fit &fit)
{
    std::optional<QString> text;
    const auto error = readField(value, text, fit);
    field = std::move(text).value_or(QString());
    return error;
}

template <typename Enumeration>
error_code readName(ondemand::value value, std::optional<Enumeration> (*fromRawValue)(std::string_view),
                    std::optional<Enumeration> &field, Fit &fit)
{
    std::string_view inside;
    const auto error = checkedString(value).get(inside);
    if (error == simdjson::INCORRECT_TYPE)
        return refuse(value, fieldDepth, fit);
    if (error)
        return error;
    field = fromRawValue(decodeJsonStringToUtf8(inside).value_or(std::string()));
    if (!field)
        fit = Fit::UnknownName;
    return simdjson::SUCCESS;
}

error_code readField(ondemand::value value, std::optional<HookEventType> &field, Fit &fit)
{
    return readName(value, hookEventTypeFromRawValue, field, fit);
}

error_code readField(ondemand::value value, std::optional<NotificationType> &field, Fit &fit)
{
    return readName(value, notificationTypeFromRawValue, field, fit);
}

/// The source text of a scalar of this type; sets `fit` when the value is of another one.
error_code readScalar(ondemand::value value, ondemand::json_type wanted, std::string_view &source, Fit &fit)
{
    ondemand::json_type type {};
    if (const auto error = value.type().get(type))
        return error;
    if (type != wanted)
        return refuse(value, fieldDepth, fit);
    return checkedScalar(value).get(source);
}

error_code readField(ondemand::value value, std::optional<bool> &field, Fit &fit)
{
    std::string_view source;
    const auto error = readScalar(value, ondemand::json_type::boolean, source, fit);
    if (!error && fit == Fit::Good)
        field = source == "true";
    return error;
}

error_code readField(ondemand::value value, std::optional<std::int64_t> &field, Fit &fit)
{
    std::string_view source;
    const auto error = readScalar(value, ondemand::json_type::number, source, fit);
    if (error || fit != Fit::Good)
        return error;
    field = exactJsonInteger(source);
    if (!field)
        fit = Fit::WrongType;
    return simdjson::SUCCESS;
}

error_code readField(ondemand::value value, std::optional<double> &field, Fit &fit)
{
    std::string_view source;
    const auto error = readScalar(value, ondemand::json_type::number, source, fit);
    if (error || fit != Fit::Good)
        return error;
    field = nearestJsonDouble(source);
    if (!field)
        fit = Fit::WrongType;
    return simdjson::SUCCESS;
}

error_code readField(ondemand::value value, std::optional<std::vector<AnyCodableMap>> &field, Fit &fit)
{
    ondemand::json_type type {};
    if (const auto error = value.type().get(type))
        return error;
    if (type != ondemand::json_type::array)
        return refuse(value, fieldDepth, fit);
    ondemand::array array;
    if (const auto error = value.get_array().get(array))
        return error;
    field.emplace();
    for (auto element : array) {
        ondemand::value inner;
        if (const auto error = std::move(element).get(inner))
            return error;
        std::optional<AnyCodableMap> map;
        if (const auto error = readSource(inner, fieldDepth + 1, map, fit))
            return error;
        if (map)
            field->push_back(std::move(*map));
    }
    return simdjson::SUCCESS;
}

/// Reads one key's value into its field. A null empties the field.
template <auto Member>
error_code read(ondemand::value value, HookEvent &event, Fit &fit)
{
    auto &field = event.*Member;
    using Field = std::remove_reference_t<decltype(field)>;
    field = Field();
    ondemand::json_type type {};
    if (const auto error = value.type().get(type))
        return error;
    if (type != ondemand::json_type::null)
        return readField(value, field, fit);
    if constexpr (std::is_same_v<Field, QString>) // The required one.
        fit = Fit::WrongType;
    return checkedScalar(value).error();
}

struct FieldRule
{
    std::string_view key;
    error_code (*read)(ondemand::value value, HookEvent &event, Fit &fit);
};

constexpr std::array fieldRules {
    FieldRule { "session_id", read<&HookEvent::sessionID> },
    FieldRule { "cwd", read<&HookEvent::cwd> },
    FieldRule { "transcript_path", read<&HookEvent::transcriptPath> },
    FieldRule { "permission_mode", read<&HookEvent::permissionMode> },
    FieldRule { "hook_event_name", read<&HookEvent::hookEventName> },
    FieldRule { "type", read<&HookEvent::legacyType> },
    FieldRule { "tool_name", read<&HookEvent::toolName> },
    FieldRule { "tool_input", read<&HookEvent::toolInput> },
    FieldRule { "tool_response", read<&HookEvent::toolResponse> },
    FieldRule { "tool_use_id", read<&HookEvent::toolUseId> },
    FieldRule { "permission_suggestions", read<&HookEvent::permissionSuggestions> },
    FieldRule { "notification_type", read<&HookEvent::notificationType> },
    FieldRule { "message", read<&HookEvent::message> },
    FieldRule { "source", read<&HookEvent::source> },
    FieldRule { "model", read<&HookEvent::model> },
    FieldRule { "agent_type", read<&HookEvent::agentType> },
    FieldRule { "agent_id", read<&HookEvent::agentId> },
    FieldRule { "error", read<&HookEvent::error> },
    FieldRule { "is_interrupt", read<&HookEvent::isInterrupt> },
    FieldRule { "stop_hook_active", read<&HookEvent::stopHookActive> },
    FieldRule { "last_assistant_message", read<&HookEvent::lastAssistantMessage> },
    FieldRule { "prompt", read<&HookEvent::prompt> },
    FieldRule { "terminal_type", read<&HookEvent::terminalType> },
    FieldRule { "terminal_session_id", read<&HookEvent::terminalSessionID> },
    FieldRule { "timestamp", read<&HookEvent::timestamp> },
    FieldRule { "pid", read<&HookEvent::pid> },
    FieldRule { "shell_pid", read<&HookEvent::shellPid> },
    FieldRule { "project_dir", read<&HookEvent::projectDir> },
    FieldRule { "tool_detail", read<&HookEvent::toolDetail> },
};
static_assert(HookEvent::padding >= simdjson::SIMDJSON_PADDING);

/// The rule for a key as it stands in the text, escapes included; the table's end for a key that isn't listed.
auto findRule(std::string_view keyInside)
{
    if (keyInside.find('\\') == std::string_view::npos)
        return std::ranges::find(fieldRules, keyInside, &FieldRule::key);
    return std::ranges::find(fieldRules, decodeJsonStringToUtf8(keyInside).value_or(std::string()), &FieldRule::key);
}

/// Goes through the record's members; of each key the last one counts, also in how it suits.
class RecordReader
{
public:
    error_code read(ondemand::object object)
    {
        for (auto member : object) {
            ondemand::field field;
            if (const auto error = std::move(member).get(field))
                return error;
            if (const auto error = readMember(field))
                return error;
        }
        return simdjson::SUCCESS;
    }

    /// The event, or why the members make none.
    std::variant<HookEvent, std::string> result() &&
    {
        constexpr std::size_t sessionID = 0;
        if (!m_present.test(sessionID))
            return "session_id is missing";
        for (std::size_t i = 0; i < m_fits.size(); ++i) {
            if (m_fits.at(i) == Fit::WrongType)
                return std::string(fieldRules.at(i).key) + " holds a value of the wrong type";
            if (m_fits.at(i) == Fit::UnknownName)
                return std::string(fieldRules.at(i).key) + " holds an unknown name";
        }
        return std::move(m_event);
    }

private:
    error_code readMember(ondemand::field &field)
    {
        std::string_view key;
        if (const auto error = checkedKey(field).get(key))
            return error;
        const auto rule = findRule(key);
        if (rule == fieldRules.end())
            return checkValue(field.value(), fieldDepth);
        const auto index = static_cast<std::size_t>(rule - fieldRules.begin());
        m_present.set(index);
        m_fits.at(index) = Fit::Good;
        return rule->read(field.value(), m_event, m_fits.at(index));
    }

    HookEvent m_event;
    std::bitset<fieldRules.size()> m_present;
    std::array<Fit, fieldRules.size()> m_fits {};
};

std::variant<HookEvent, std::string> decodeWith(ondemand::parser &parser, std::string_view json)
{
    const auto reason = [](error_code error) { return std::string(describe(error)); };
    ondemand::document document;
    if (const auto error = parser.iterate(json.data(), json.size(), json.size() + HookEvent::padding).get(document))
        return reason(error);
    ondemand::object object;
    if (const auto error = document.get_object().get(object))
        return reason(error);
    RecordReader reader;
    if (const auto error = reader.read(object))
        return reason(error);
    if (document.current_location().error() != simdjson::OUT_OF_BOUNDS)
        return reason(simdjson::TRAILING_CONTENT);
    return std::move(reader).result();
}

// What an AskUserQuestion call asks, read by hand and forgivingly.

std::optional<QString> textOf(const nlohmann::json &map, const char *key)
{
    const auto found = map.find(key);
    if (found == map.end() || !found->is_string())
        return std::nullopt;
    return QString::fromStdString(found->get_ref<const std::string &>());
}

bool isListOfMaps(const nlohmann::json &value)
{
    return value.is_array() &&
           std::ranges::all_of(value, [](const nlohmann::json &element) { return element.is_object(); });
}

std::optional<std::vector<HookEvent::QuestionOption>> optionsOf(const nlohmann::json &question)
{
    const auto found = question.find("options");
    if (found == question.end() || !isListOfMaps(*found))
        return std::nullopt;
    std::vector<HookEvent::QuestionOption> options;
    for (const nlohmann::json &element : *found) {
        if (auto label = textOf(element, "label"))
            options.push_back({ std::move(*label), textOf(element, "description") });
    }
    return options;
}

std::optional<HookEvent::Question> questionOf(const nlohmann::json &map)
{
    auto text = textOf(map, "question");
    if (!text)
        return std::nullopt;
    HookEvent::Question question { std::move(*text), textOf(map, "header"), optionsOf(map), std::nullopt };
    if (const auto found = map.find("multiSelect"); found != map.end() && found->is_boolean())
        question.multiSelect = found->get<bool>();
    return question;
}

} // namespace

std::string_view rawValue(HookEventType type)
{
    return rawOf(hookEventTypes, type);
}

std::optional<HookEventType> hookEventTypeFromRawValue(std::string_view raw)
{
    return caseOf(hookEventTypes, raw);
}

HookEventType folded(HookEventType type)
{
    switch (type) {
    case HookEventType::legacySessionStart:
        return HookEventType::sessionStart;
    case HookEventType::legacySessionEnd:
        return HookEventType::sessionEnd;
    case HookEventType::legacyNotification:
        return HookEventType::notification;
    case HookEventType::legacyStop:
        return HookEventType::stop;
    case HookEventType::legacyUserPromptSubmit:
        return HookEventType::userPromptSubmit;
    case HookEventType::legacyPreToolUse:
        return HookEventType::preToolUse;
    case HookEventType::legacyPostToolUse:
        return HookEventType::postToolUse;
    default:
        return type;
    }
}

std::string_view rawValue(NotificationType type)
{
    return rawOf(notificationTypes, type);
}

std::optional<NotificationType> notificationTypeFromRawValue(std::string_view raw)
{
    return caseOf(notificationTypes, raw);
}

HookEventType HookEvent::eventType() const
{
    return folded(hookEventName ? *hookEventName : legacyType.value_or(HookEventType::notification));
}

std::optional<std::vector<HookEvent::Question>> HookEvent::questions() const
{
    if (!toolInput || toolInput->isEmpty())
        return std::nullopt;
    const std::optional<AnyCodableValue> list = toolInput->value("questions");
    if (!list || !isListOfMaps(list->value))
        return std::nullopt;
    std::vector<Question> questions;
    for (const nlohmann::json &element : list->value) {
        if (auto question = questionOf(element))
            questions.push_back(std::move(*question));
    }
    return questions;
}

std::variant<HookEvent, std::string> HookEvent::decode(std::string_view json)
{
    const simdjson::padded_string padded(json);
    if (padded.size() != json.size())
        throw std::bad_alloc();
    return decodePadded(padded);
}

std::variant<HookEvent, std::string> HookEvent::decodePadded(std::string_view json)
{
    // A parser's memory is several times its largest text: only that for ordinary texts is kept.
    constexpr std::size_t largestForKeptParser = std::size_t { 1 } << 20;
    if (json.size() > largestForKeptParser) {
        ondemand::parser parser;
        return decodeWith(parser, json);
    }
    thread_local ondemand::parser parser;
    return decodeWith(parser, json);
}

} // namespace vantry
