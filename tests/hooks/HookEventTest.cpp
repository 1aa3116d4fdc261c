#include "hooks/HookEvent.h"

#include "support/TestEvents.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::StrEq;

/// Why the text is no event; a failed test when it is one.
std::string defectOf(std::string_view json)
{
    const auto decoded = HookEvent::decode(json);
    if (const auto *reason = std::get_if<std::string>(&decoded))
        return *reason;
    ADD_FAILURE() << "decodes: " << json;
    return {};
}

bool decodes(std::string_view json)
{
    return std::holds_alternative<HookEvent>(HookEvent::decode(json));
}

/// A record with one more member.
std::string recordWith(std::string_view member)
{
    return R"({"session_id":"s",)" + std::string(member) + "}";
}

nlohmann::json inputValue(std::string_view json)
{
    const HookEvent event = eventFromJson(recordWith(R"("tool_input":{"v":)" + std::string(json) + "}"));
    return event.toolInput ? event.toolInput->value("v").value_or(AnyCodableValue {}).value : nlohmann::json();
}

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

TEST(HookEvent, replacesLoneSurrogates)
{
    const HookEvent event = eventFromJson(recordWith(R"("prompt":"a\ud83dz","message":"\udc00","cwd":"\ud83d\ude00")"));

    EXPECT_EQ(event.prompt, u"a\uFFFDz"_s);
    EXPECT_EQ(event.message, u"\uFFFD"_s);
    EXPECT_EQ(event.cwd, QString::fromUtf8("\xF0\x9F\x98\x80"));
    EXPECT_EQ(inputValue(R"("\ud83d")"), "\xEF\xBF\xBD");
    EXPECT_TRUE(decodes(recordWith(R"("a\ud800key":1)")));
}

TEST(HookEvent, decodesEscapesAndZeros)
{
    const HookEvent event = eventFromJson(recordWith(R"("prompt":"a\"\\\/\b\f\n\r\t\u00e9\u0000z")"));

    EXPECT_EQ(event.prompt, QString(u"a\"\\/\b\f\n\r\t\u00e9"_s + QChar(0) + u'z'));
}

class MalformedJson : public ::testing::TestWithParam<const char *>
{};

TEST_P(MalformedJson, failsTheRecord)
{
    EXPECT_THAT(defectOf(GetParam()), ::testing::Not(::testing::IsEmpty()));
}

INSTANTIATE_TEST_SUITE_P(
    HookEvent, MalformedJson,
    ::testing::Values("", " ", "{", "}", "nope", "null", "[]", "\"s\"", "7", R"({"session_id":"s")",
                      R"({"session_id":"s})", R"({"session_id":"s"}})", R"({"session_id":"s"} x)",
                      R"({"session_id":"s"}{"session_id":"s"})", R"({"session_id":"s"},)", R"({"session_id":"s",})",
                      R"({"session_id" "s"})", R"({session_id:"s"})", R"({'session_id':'s'})",
                      R"([{"session_id":"s"}])", R"({"session_id":"s" "cwd":"/"})",
                      R"({"session_id":"s","unread":nope})", R"({"session_id":"s","unread":[1,]})",
                      R"({"session_id":"s","unread":{"a":tru}})", R"({"session_id":"s","unread":01})",
                      R"({"session_id":"s","unread":1.})", R"({"session_id":"s","unread":"\x"})",
                      R"({"session_id":"s","unread":"\u12g4"})", R"({"session_id":"s","un\qread":1})",
                      R"({"session_id":"s","unread":[1 2]})", R"({"session_id":"s","unread":{"a" 1}})",
                      R"({"session_id":"s","unread":{"a":}})", R"({"session_id":"s","tool_input":{"a":nope}})",
                      R"({"session_id":"s","tool_input":{"a":"\q"}})", R"({"session_id":"s","cwd":nul})",
                      R"({"session_id":"s","cwd":nulls})", R"({"session_id":"s","is_interrupt":trve})",
                      R"({"session_id":"s","pid":1x})", R"({"session_id":"s","pid":--1})",
                      R"({"session_id":"s","cwd":nope,"cwd":"/"})", R"({"session_id":"s","pid":NaN})",
                      "{\"session_id\":\"a\nb\"}", "{\"session_id\":\"s\xC3\"}", "{\"session_id\":\"s\xED\xA0\x80\"}",
                      "\xEF\xBB\xBF{\"session_id\":\"s\"}"));

TEST(HookEvent, refusesNestingBeyondTheLimit)
{
    const auto nested = [](int depth) {
        return recordWith(R"("unread":)" + std::string(static_cast<std::size_t>(depth), '[') +
                          std::string(static_cast<std::size_t>(depth), ']'));
    };

    EXPECT_TRUE(decodes(nested(maximumJsonDepth - 1)));
    EXPECT_FALSE(decodes(nested(maximumJsonDepth)));
    EXPECT_FALSE(decodes(nested(100'000)));
}

TEST(HookEvent, refusesNestingBeyondTheLimitInMaps)
{
    std::string value = "1";
    for (int i = 0; i < maximumJsonDepth; ++i)
        value = R"({"a":)" + value + "}";

    EXPECT_FALSE(decodes(recordWith(R"("tool_input":)" + value)));
}

TEST(HookEvent, allowsBlanksAroundTheRecord)
{
    EXPECT_EQ(eventFromJson(" \r\n\t{ \"session_id\" : \"s\" } \r\n\t").sessionID, u"s"_s);
}

TEST(HookEvent, decodesTextsOfEveryLengthWithoutReadingBeyondThem)
{
    for (std::size_t length = 0; length < 300; ++length) {
        // An allocation of just this size, so that a look behind its end is noticed.
        const std::string text = R"({"session_id":")" + std::string(length, 'x') + R"("})";
        const std::unique_ptr<char[]> exact = std::make_unique<char[]>(text.size());
        std::ranges::copy(text, exact.get());

        const auto decoded = HookEvent::decode({ exact.get(), text.size() });

        ASSERT_TRUE(std::holds_alternative<HookEvent>(decoded));
        ASSERT_EQ(std::get<HookEvent>(decoded).sessionID.size(), static_cast<qsizetype>(length));
    }
}

TEST(HookEvent, failsWithEveryTextThatWasCutOff)
{
    const std::string text =
        R"({"session_id":"s","tool_input":{"a":[1,2.5,"x\u0041",null]},"pid":12,"is_interrupt":true})";

    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_FALSE(decodes(std::string_view(text).substr(0, length))) << length;
}

TEST(HookEvent, keepsALargeResponseAsItCame)
{
    const std::string response = R"({"stdout":")" + std::string(20'000'000, 'x') + R"("})";

    const HookEvent event = eventFromJson(recordWith(R"("tool_response":)" + response));

    EXPECT_TRUE(event.toolResponse->sourceText() == response);
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

std::optional<std::vector<HookEvent::Question>> questionsIn(std::string_view questions)
{
    return eventFromJson(recordWith(R"("tool_input":{"questions":)" + std::string(questions) + "}")).questions();
}

TEST(HookEventQuestions, keepWhatCanBeRead)
{
    const auto questions = questionsIn(R"([{"question":"a"},{"header":"b"},{}])");

    ASSERT_TRUE(questions);
    EXPECT_EQ(*questions, (std::vector<HookEvent::Question> { { u"a"_s, {}, {}, {} } }));
}

TEST(HookEventQuestions, readEveryField)
{
    const auto questions = questionsIn(
        R"([{"question":"q","header":"h","multiSelect":true,"options":[{"label":"l","description":"d"},{"label":"m"}]}])");

    const HookEvent::Question expected { u"q"_s, u"h"_s,
                                         std::vector<HookEvent::QuestionOption> { { u"l"_s, u"d"_s }, { u"m"_s, {} } },
                                         true };
    ASSERT_TRUE(questions);
    EXPECT_EQ(*questions, std::vector<HookEvent::Question> { expected });
}

TEST(HookEventQuestions, areAbsentWhenOneElementIsNoMap)
{
    EXPECT_FALSE(questionsIn(R"([{"question":"a"},"b"])"));
    EXPECT_FALSE(questionsIn(R"("a")"));
    EXPECT_FALSE(questionsIn("{}"));
    EXPECT_FALSE(questionsIn("null"));
}

TEST(HookEventQuestions, areAbsentWithoutAList)
{
    EXPECT_FALSE(eventFromJson(R"({"session_id":"s"})").questions());
    EXPECT_FALSE(eventFromJson(recordWith(R"("tool_input":{})")).questions());
    EXPECT_FALSE(eventFromJson(recordWith(R"("tool_input":{"question":"a"})")).questions());
}

TEST(HookEventQuestions, areEmptyForAnEmptyList)
{
    const auto questions = questionsIn("[]");

    ASSERT_TRUE(questions);
    EXPECT_TRUE(questions->empty());
}

TEST(HookEventQuestions, treatPartsOfAnotherTypeAsAbsent)
{
    const auto questions = questionsIn(
        R"([{"question":1},{"question":"a","header":2,"multiSelect":"x","options":{"label":"l"}},{"question":"b","options":["l"]}])");

    ASSERT_TRUE(questions);
    EXPECT_EQ(*questions, (std::vector<HookEvent::Question> { { u"a"_s, {}, {}, {} }, { u"b"_s, {}, {}, {} } }));
}

TEST(HookEventQuestions, dropOptionsWithoutALabel)
{
    const auto questions = questionsIn(
        R"([{"question":"a","options":[{"description":"d"},{},{"label":3},{"label":"l","description":4}]}])");

    ASSERT_TRUE(questions);
    EXPECT_EQ(*questions->front().options, (std::vector<HookEvent::QuestionOption> { { u"l"_s, {} } }));
}

TEST(HookEventQuestions, keepAnEmptyListOfOptions)
{
    const auto questions = questionsIn(R"([{"question":"a","options":[]}])");

    ASSERT_TRUE(questions);
    ASSERT_TRUE(questions->front().options);
    EXPECT_TRUE(questions->front().options->empty());
}

/// What a strict decoder refuses of what agents really send: responses that are no map, and a kind of notification that
/// changes nothing here.
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
