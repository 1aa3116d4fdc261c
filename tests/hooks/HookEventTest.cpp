#include "hooks/HookEvent.h"

#include "hooks/HookEventSupport.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::StrEq;

std::string readFile(const std::filesystem::path &path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

TEST(HookEvent, needsNoMoreThanASessionId)
{
    const HookEvent event = eventFromJson(R"({"session_id":"s"})");

    EXPECT_EQ(event.sessionID, u"s"_s);
    EXPECT_EQ(event.eventType(), HookEventType::notification);
    EXPECT_FALSE(event.cwd || event.toolInput || event.pid || event.isInterrupt);
}

TEST(HookEvent, decodesEveryFieldFromItsKey)
{
    const HookEvent event = eventFromJson(R"({
        "session_id":"id", "cwd":"/c", "transcript_path":"/t", "permission_mode":"plan",
        "hook_event_name":"PreToolUse", "type":"stop", "tool_name":"Bash", "tool_input":{"command":"ls"},
        "tool_response":{"stdout":"x"}, "tool_use_id":"u", "permission_suggestions":[{"a":1},{}],
        "notification_type":"auth_success", "message":"m", "source":"startup", "model":"o", "agent_type":"at",
        "agent_id":"ai", "error":"e", "is_interrupt":true, "stop_hook_active":false, "last_assistant_message":"l",
        "prompt":"p", "terminal_type":"tt", "terminal_session_id":"ti", "timestamp":1.5, "pid":12, "shell_pid":-3,
        "project_dir":"/p", "tool_detail":"d"})");

    EXPECT_EQ(event.sessionID, u"id"_s);
    EXPECT_EQ(event.cwd, u"/c"_s);
    EXPECT_EQ(event.transcriptPath, u"/t"_s);
    EXPECT_EQ(event.permissionMode, u"plan"_s);
    EXPECT_EQ(event.hookEventName, HookEventType::preToolUse);
    EXPECT_EQ(event.legacyType, HookEventType::legacyStop);
    EXPECT_EQ(event.toolName, u"Bash"_s);
    EXPECT_THAT(event.toolInput->sourceText(), R"({"command":"ls"})");
    EXPECT_THAT(event.toolResponse->sourceText(), R"({"stdout":"x"})");
    EXPECT_EQ(event.toolUseId, u"u"_s);
    ASSERT_EQ(event.permissionSuggestions->size(), 2U);
    EXPECT_EQ(event.permissionSuggestions->front().value("a")->value, 1);
    EXPECT_EQ(event.notificationType, NotificationType::authSuccess);
    EXPECT_EQ(event.message, u"m"_s);
    EXPECT_EQ(event.source, u"startup"_s);
    EXPECT_EQ(event.model, u"o"_s);
    EXPECT_EQ(event.agentType, u"at"_s);
    EXPECT_EQ(event.agentId, u"ai"_s);
    EXPECT_EQ(event.error, u"e"_s);
    EXPECT_EQ(event.isInterrupt, true);
    EXPECT_EQ(event.stopHookActive, false);
    EXPECT_EQ(event.lastAssistantMessage, u"l"_s);
    EXPECT_EQ(event.prompt, u"p"_s);
    EXPECT_EQ(event.terminalType, u"tt"_s);
    EXPECT_EQ(event.terminalSessionID, u"ti"_s);
    EXPECT_EQ(event.timestamp, 1.5);
    EXPECT_EQ(event.pid, 12);
    EXPECT_EQ(event.shellPid, -3);
    EXPECT_EQ(event.projectDir, u"/p"_s);
    EXPECT_EQ(event.toolDetail, u"d"_s);
}

TEST(HookEvent, failsWithoutASessionId)
{
    EXPECT_THAT(defectOf("{}"), StrEq("session_id is missing"));
    EXPECT_THAT(defectOf(R"({"Session_ID":"s","sessionID":"s"})"), StrEq("session_id is missing"));
    EXPECT_THAT(defectOf(R"({"session_id":null})"), StrEq("session_id holds a value of the wrong type"));
    EXPECT_THAT(defectOf(R"({"session_id":7})"), StrEq("session_id holds a value of the wrong type"));
}

TEST(HookEvent, takesAnEmptySessionId)
{
    EXPECT_EQ(eventFromJson(R"({"session_id":""})").sessionID, QString());
}

/// Every key but session_id, each with a value that doesn't suit it.
constexpr std::array optionalKeysWithWrongValues {
    std::pair { "cwd", "1" },
    std::pair { "transcript_path", "[]" },
    std::pair { "permission_mode", "true" },
    std::pair { "hook_event_name", "1" },
    std::pair { "type", "{}" },
    std::pair { "tool_name", "{}" },
    std::pair { "tool_input", "[]" },
    std::pair { "tool_response", R"("text")" },
    std::pair { "tool_use_id", "0" },
    std::pair { "permission_suggestions", "{}" },
    std::pair { "notification_type", "false" },
    std::pair { "message", "1.5" },
    std::pair { "source", "[\"s\"]" },
    std::pair { "model", "1" },
    std::pair { "agent_type", "1" },
    std::pair { "agent_id", "1" },
    std::pair { "error", "{}" },
    std::pair { "is_interrupt", R"("true")" },
    std::pair { "stop_hook_active", "1" },
    std::pair { "last_assistant_message", "1" },
    std::pair { "prompt", "[]" },
    std::pair { "terminal_type", "1" },
    std::pair { "terminal_session_id", "1" },
    std::pair { "timestamp", R"("1")" },
    std::pair { "pid", "3.5" },
    std::pair { "shell_pid", R"("1")" },
    std::pair { "project_dir", "1" },
    std::pair { "tool_detail", "1" },
};

class HookEventKey : public ::testing::TestWithParam<std::pair<const char *, const char *>>
{};

TEST_P(HookEventKey, failsTheRecordWithAValueOfAnotherType)
{
    const auto [key, value] = GetParam();

    EXPECT_THAT(defectOf(recordWith('"' + std::string(key) + "\":" + value)),
                StrEq(std::string(key) + " holds a value of the wrong type"));
}

TEST_P(HookEventKey, isAbsentWhenNull)
{
    const std::string key = GetParam().first;

    const HookEvent event = eventFromJson(recordWith('"' + key + "\":null"));

    EXPECT_EQ(event.sessionID, u"s"_s);
    EXPECT_FALSE(event.toolName || event.toolInput || event.pid || event.isInterrupt || event.timestamp ||
                 event.hookEventName || event.legacyType || event.permissionSuggestions);
}

INSTANTIATE_TEST_SUITE_P(Optional, HookEventKey, ::testing::ValuesIn(optionalKeysWithWrongValues),
                         [](const auto &key) { return std::string(key.param.first); });

TEST(HookEvent, takesTheOlderNamesToo)
{
    EXPECT_EQ(eventFromJson(recordWith(R"("type":"pre_tool_use")")).eventType(), HookEventType::preToolUse);
    EXPECT_EQ(eventFromJson(recordWith(R"("hook_event_name":"session_start")")).eventType(),
              HookEventType::sessionStart);
}

TEST(HookEvent, takesHookEventNameBeforeType)
{
    const HookEvent event = eventFromJson(recordWith(R"("hook_event_name":"Stop","type":"session_end")"));

    EXPECT_EQ(event.eventType(), HookEventType::stop);
}

TEST(HookEvent, failsWithANameThatItDoesNotKnow)
{
    EXPECT_THAT(defectOf(recordWith(R"("cwd":"/c","hook_event_name":"Unknown")")),
                StrEq("hook_event_name holds an unknown name"));
    EXPECT_THAT(defectOf(recordWith(R"("hook_event_name":"Stop","type":"Unknown")")),
                StrEq("type holds an unknown name"));
    EXPECT_THAT(defectOf(recordWith(R"("notification_type":"elicitation_response")")),
                StrEq("notification_type holds an unknown name"));
    EXPECT_THAT(defectOf(recordWith(R"("hook_event_name":"")")), StrEq("hook_event_name holds an unknown name"));
    EXPECT_THAT(defectOf(recordWith(R"("hook_event_name":"STOP")")), StrEq("hook_event_name holds an unknown name"));
}

TEST(HookEvent, ignoresKeysThatItDoesNotKnow)
{
    const HookEvent event = eventFromJson(
        recordWith(R"("extra":{"a":[1,2,{"b":null}]},"Cwd":1,"cwd ":2,"tool_input":{"x":1,"y":{"z":[]}})"));

    EXPECT_FALSE(event.cwd);
    EXPECT_EQ(event.toolInput->value("x")->value, 1);
}

TEST(HookEvent, comparesKeysAndNamesDecoded)
{
    const HookEvent event = eventFromJson(R"({"session\u005fid":"a","\u0063wd":"/c","hook_event_name":"\u0053top"})");

    EXPECT_EQ(event.sessionID, u"a"_s);
    EXPECT_EQ(event.cwd, u"/c"_s);
    EXPECT_EQ(event.eventType(), HookEventType::stop);
}

TEST(HookEvent, takesTheLastOfADoubledKey)
{
    EXPECT_EQ(eventFromJson(R"({"session_id":"a","session_id":"b"})").sessionID, u"b"_s);
    EXPECT_EQ(eventFromJson(R"({"session_id":"a","session\u005fid":"b"})").sessionID, u"b"_s);
    EXPECT_FALSE(eventFromJson(recordWith(R"("cwd":"/c","cwd":null)")).cwd);
    EXPECT_EQ(eventFromJson(recordWith(R"("cwd":1,"cwd":"/c")")).cwd, u"/c"_s);
    EXPECT_FALSE(decodes(recordWith(R"("cwd":"/c","cwd":1)")));
    EXPECT_FALSE(decodes(R"({"session_id":"a","session_id":null})"));
}

TEST(HookEvent, takesAnyWayToWriteAnInteger)
{
    EXPECT_EQ(eventFromJson(recordWith(R"("pid":3.0)")).pid, 3);
    EXPECT_EQ(eventFromJson(recordWith(R"("pid":3e0)")).pid, 3);
    EXPECT_EQ(eventFromJson(recordWith(R"("pid":30E-1)")).pid, 3);
    EXPECT_EQ(eventFromJson(recordWith(R"("pid":-0)")).pid, 0);
    EXPECT_EQ(eventFromJson(recordWith(R"("pid":9223372036854775807)")).pid, INT64_MAX);
    EXPECT_EQ(eventFromJson(recordWith(R"("pid":-9223372036854775808)")).pid, INT64_MIN);
    EXPECT_EQ(eventFromJson(recordWith(R"("shell_pid":4294967297)")).shellPid, 4294967297);
}

TEST(HookEvent, failsWithAnIntegerThatIsNone)
{
    for (const char *pid : { "3.5", "9223372036854775808", "1e400", "1e-400", "123456789012345678901234567890" })
        EXPECT_FALSE(decodes(recordWith(R"("pid":)" + std::string(pid)))) << pid;
}

TEST(HookEvent, takesAnyNumberThatADoubleHoldsAsTimestamp)
{
    EXPECT_EQ(eventFromJson(recordWith(R"("timestamp":3)")).timestamp, 3.0);
    EXPECT_EQ(eventFromJson(recordWith(R"("timestamp":1769850307.25)")).timestamp, 1769850307.25);
    EXPECT_EQ(eventFromJson(recordWith(R"("timestamp":123456789012345678901234567890)")).timestamp,
              123456789012345678901234567890.0);
    EXPECT_FALSE(decodes(recordWith(R"("timestamp":1e400)")));
}

TEST(HookEvent, typesTheValuesInMaps)
{
    EXPECT_EQ(inputValue("3"), nlohmann::json(std::int64_t { 3 }));
    EXPECT_TRUE(inputValue("3").is_number_integer());
    EXPECT_TRUE(inputValue("3.0").is_number_integer());
    EXPECT_TRUE(inputValue("3.5").is_number_float());
    EXPECT_TRUE(inputValue("true").is_boolean());
    EXPECT_TRUE(inputValue("null").is_null());
    EXPECT_TRUE(inputValue("1e400").is_null());
    EXPECT_TRUE(inputValue("123456789012345678901234567890").is_number_float());
    EXPECT_EQ(inputValue(R"([1,{"a":"b"}])"), nlohmann::json::parse(R"([1,{"a":"b"}])"));
}

TEST(HookEvent, keepsTheSourceOfPermissionSuggestions)
{
    const HookEvent event =
        eventFromJson(recordWith(R"("permission_suggestions":[ {"n":1.50,"big":123456789012345678901234567890} ])"));

    EXPECT_THAT(event.permissionSuggestions->front().sourceText(),
                R"({"n":1.50,"big":123456789012345678901234567890})");
}

TEST(HookEvent, failsWithASuggestionThatIsNoMap)
{
    EXPECT_FALSE(decodes(recordWith(R"("permission_suggestions":[{},1])")));
    EXPECT_FALSE(decodes(recordWith(R"("permission_suggestions":[null])")));
    EXPECT_TRUE(decodes(recordWith(R"("permission_suggestions":[])")));
}

TEST(HookEvent, namesAreFoundByTheirRawValues)
{
    for (int i = 0; i <= static_cast<int>(HookEventType::legacyPostToolUse); ++i) {
        const auto type = static_cast<HookEventType>(i);
        EXPECT_EQ(hookEventTypeFromRawValue(rawValue(type)), type);
        EXPECT_EQ(folded(folded(type)), folded(type));
    }
    for (int i = 0; i <= static_cast<int>(NotificationType::authSuccess); ++i) {
        const auto type = static_cast<NotificationType>(i);
        EXPECT_EQ(notificationTypeFromRawValue(rawValue(type)), type);
    }
    EXPECT_FALSE(hookEventTypeFromRawValue(""));
}

TEST(HookEvent, foldsTheOlderNames)
{
    const std::array<std::pair<std::string_view, std::string_view>, 7> folds { {
        { "session_start", "SessionStart" },
        { "session_end", "SessionEnd" },
        { "notification", "Notification" },
        { "stop", "Stop" },
        { "user_prompt_submit", "UserPromptSubmit" },
        { "pre_tool_use", "PreToolUse" },
        { "post_tool_use", "PostToolUse" },
    } };
    for (const auto &[older, current] : folds)
        EXPECT_EQ(rawValue(folded(*hookEventTypeFromRawValue(older))), current);
}

bool isRefused(const std::string &fileName)
{
    const auto holds = [&](const char *part) { return fileName.find(part) != std::string::npos; };
    return holds(".response-array.") || holds(".response-string.") ||
           fileName == "PostToolUse.ListMcpResourcesTool.json" || fileName == "Notification.elicitation_response.json";
}

TEST(HookEvent, decodesWhatAgentsReallySend)
{
    int decoded = 0;
    for (const auto &entry : std::filesystem::directory_iterator(VANTRY_FIXTURES "/hook-events")) {
        const std::string name = entry.path().filename().string();
        const auto result = HookEvent::decode(readFile(entry.path()));

        const auto *reason = std::get_if<std::string>(&result);
        EXPECT_EQ(reason != nullptr, isRefused(name)) << name << ": " << (reason ? *reason : "decodes");
        if (!reason) {
            const HookEvent &event = std::get<HookEvent>(result);
            EXPECT_EQ(rawValue(event.eventType()), name.substr(0, name.find('.'))) << name;
            ++decoded;
        }
    }
    EXPECT_GT(decoded, 100);
}

} // namespace
} // namespace vantry::test
