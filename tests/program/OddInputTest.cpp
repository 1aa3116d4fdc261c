#include "Eventually.h"
#include "Vantry.h"

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

struct Odd
{
    const char *name;
    std::string bytes;
    const char *status;
    const char *body;
};

std::string posted(std::string_view body)
{
    return HookCall::request(body);
}

std::string nested(int depth)
{
    return R"({"session_id":"s","tool_input":{"a":)" + std::string(static_cast<std::size_t>(depth), '[') +
           std::string(static_cast<std::size_t>(depth), ']') + "}}";
}

const char *const ok = "200 OK";
const char *const bad = "400 Bad Request";
const char *const missing = "404 Not Found";
const char *const notFound = R"({"error":"not found"})";

/// Every one of these leaves the program without a session, and as healthy as before.
const std::vector<Odd> odds = {
    { "nothing", "", bad, R"({"error":"no body"})" },
    { "noBlankLine", "POST /hook HTTP/1.1\r\n", bad, R"({"error":"no body"})" },
    { "onlyLineFeeds", "POST /hook HTTP/1.1\n\n{}", bad, R"({"error":"no body"})" },
    { "notUtf8", "POST /hook HTTP/1.1\r\n\r\n\xff\xfe", bad, R"({"error":"bad request"})" },
    { "overlongUtf8", posted("{\"session_id\":\"\xc0\xaf\"}"), bad, R"({"error":"bad request"})" },
    { "surrogateInUtf8", posted("{\"session_id\":\"\xed\xa0\x80\"}"), bad, R"({"error":"bad request"})" },
    { "otherPath", "GET / HTTP/1.1\r\n\r\n", missing, notFound },
    { "otherMethod", "PUT /hook HTTP/1.1\r\n\r\n", missing, notFound },
    { "lowerCaseMethod", "post /hook HTTP/1.1\r\n\r\n", missing, notFound },
    { "browsersOrigin", HookCall::request(R"({"session_id":"s"})", "Origin: http://127.0.0.1:49152\r\n"), missing,
      notFound },
    { "browsersFetch", HookCall::request(R"({"session_id":"s"})", "sec-fetch-site: cross-site\r\n"), missing,
      notFound },
    { "foreignHost",
      "POST /hook HTTP/1.1\r\nHost: evil.example\r\nContent-Length: 18\r\nA: b\r\n\r\n{\"session_id\":\"s\"}", missing,
      notFound },
    { "noJson", posted("hello"), ok, "{}" },
    { "emptyBody", posted(""), ok, "{}" },
    { "array", posted("[]"), ok, "{}" },
    { "cutJson", posted(R"({"session_id":"s")"), ok, "{}" },
    { "trailingText", posted(R"({"session_id":"s"} x)"), ok, "{}" },
    { "nulByte", posted(std::string_view("{\"session_id\":\"a\0b\"}", 20)), ok, "{}" },
    { "noSession", posted(R"({"hook_event_name":"Stop"})"), ok, "{}" },
    { "sessionOfANumber", posted(R"({"session_id":5})"), ok, "{}" },
    { "unknownEvent", posted(R"({"session_id":"s","hook_event_name":"Unknown"})"), ok, "{}" },
    { "unknownNotification", posted(R"({"session_id":"s","notification_type":"other"})"), ok, "{}" },
    { "fractionalPid", posted(R"({"session_id":"s","pid":3.5})"), ok, "{}" },
    { "hugePid", posted(R"({"session_id":"s","pid":123456789012345678901234567890})"), ok, "{}" },
    { "textForAFlag", posted(R"({"session_id":"s","is_interrupt":"yes"})"), ok, "{}" },
    { "arrayForAMap", posted(R"({"session_id":"s","tool_response":[]})"), ok, "{}" },
    { "malformedWhereNobodyReads", posted(R"({"session_id":"s","other":{"a":tru}})"), ok, "{}" },
    { "deepNesting", posted(nested(600)), ok, "{}" },
    { "deeperNesting", posted(nested(200'000)), ok, "{}" },
    { "endOfAnUnknownSession", posted(R"({"session_id":"s","hook_event_name":"SessionEnd"})"), ok, "{}" },
};

class OddRequest : public ::testing::Test
{
protected:
    void SetUp() override { vantry.start(); }

    Vantry vantry;
};

TEST_F(OddRequest, isAnsweredInKindAndChangesNothing)
{
    for (const Odd &odd : odds) {
        SCOPED_TRACE(odd.name);
        HookCall call(odd.bytes);
        call.finishSending();

        const std::string response = call.response();
        EXPECT_EQ(response.substr(0, response.find("\r\n")), std::string("HTTP/1.1 ") + odd.status);
        EXPECT_THAT(response, ::testing::EndsWith(std::string("\r\n\r\n") + odd.body));
    }
    EXPECT_TRUE(isHealthy());
    EXPECT_EQ(vantry.document().at("sessions"), Json::array());
}

TEST_F(OddRequest, mayBreakOffAtEveryByte)
{
    const std::string whole = posted(R"({"session_id":"s","tool_input":{"a":[1,2,"ä"]}})");
    for (std::size_t length = 0; length < whole.size(); ++length)
        HookCall(std::string_view(whole).substr(0, length));

    EXPECT_TRUE(isHealthy());
}

TEST_F(OddRequest, mayComeByteByByte)
{
    HookCall call("");
    for (const char byte :
         posted(R"({"session_id":"s","hook_event_name":"Stop","last_assistant_message":"Fertig: ä€😀"})"))
        call.send(std::string_view(&byte, 1));

    EXPECT_EQ(call.body(), "{}");
    EXPECT_TRUE(vantry.shows("s", "lastMessage", "Fertig: ä€😀"));
}

TEST_F(OddRequest, mayStallWhileOthersAreServed)
{
    const HookCall stalled("POST /hook HTTP/1.1\r\nContent-Length: 100\r\nA: b\r\n\r\n{");

    EXPECT_EQ(vantry.post(event("SessionStart", "s")), "{}");
    EXPECT_TRUE(stalled.isWaiting());
}

TEST_F(OddRequest, mayBeLarge)
{
    const std::string text(20'000'000, 'x');

    EXPECT_EQ(vantry.post(event("Stop", "s", { { "last_assistant_message", text } })), "{}");

    EXPECT_TRUE(vantry.shows("s", "state", "ready"));
}

TEST_F(OddRequest, mayCarryValuesThatCannotBeUsed)
{
    for (const char *pid : { "0", "1", "-5", "4294967297", "9223372036854775807", "-9223372036854775808" }) {
        const std::string numbers = std::string(R"({"session_id":"s","pid":)") + pid + R"(,"shell_pid":)" + pid + "}";
        EXPECT_EQ(HookCall(HookCall::request(numbers)).body(), "{}");
    }
    ASSERT_TRUE(vantry.shows("s", "state", "ready"));
    EXPECT_TRUE(vantry.session("s").at("pid").is_null());
    EXPECT_EQ(vantry.run({ "kill", "s" }).exitCode, 0) << "no process stands behind these, so none is signalled";
}

TEST_F(OddRequest, mayNamePathsThatAreNoPlainFiles)
{
    vantry.post(event("Stop", "s", { { "cwd", "/proc/self/fd" }, { "transcript_path", "/dev/zero" } }));
    vantry.post(event("Stop", "t", { { "cwd", std::string(10'000, 'a') }, { "transcript_path", "" } }));
    vantry.post(event("Stop", "u", { { "project_dir", "/" }, { "cwd", "relative/../path" } }));

    EXPECT_TRUE(vantry.shows("u", "state", "ready"));
    EXPECT_TRUE(isHealthy());
}

TEST_F(OddRequest, mayHaveLoneSurrogates)
{
    HookCall call(
        HookCall::request(R"({"session_id":"s","hook_event_name":"Stop","last_assistant_message":"a\ud83db"})"));

    EXPECT_EQ(call.body(), "{}");
    EXPECT_TRUE(vantry.shows("s", "lastMessage", "a\uFFFDb"));
}

TEST_F(OddRequest, thousandConnectionsCanBeOpenAtOnce)
{
    std::vector<HookCall> calls;
    for (int i = 0; i < 1000; ++i)
        calls.push_back(HookCall::post(permissionRequest("s" + std::to_string(i))));

    EXPECT_TRUE(vantry.shows("s999", "heldPermissions", 1));
    EXPECT_TRUE(isHealthy());
    EXPECT_EQ(vantry.run({ "allow", "s500" }).exitCode, 0);
    EXPECT_THAT(calls.at(500).body(), ::testing::HasSubstr("allow"));
}

} // namespace
} // namespace vantry::test
