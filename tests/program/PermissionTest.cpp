#include "Eventually.h"
#include "Vantry.h"

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using ::testing::HasSubstr;

Json decisionOf(const std::string &body)
{
    const Json answer = Json::parse(body, nullptr, false);
    EXPECT_EQ(answer["hookSpecificOutput"]["hookEventName"], "PermissionRequest") << body;
    return answer["hookSpecificOutput"]["decision"];
}

class Permission : public ::testing::Test
{
protected:
    void SetUp() override { vantry.start(); }

    [[nodiscard]] HookCall hold(const Json &request, int held = 1)
    {
        HookCall call = HookCall::post(request);
        const std::string id = request.at("session_id");
        EXPECT_TRUE(vantry.shows(id, "heldPermissions", held));
        EXPECT_TRUE(call.isWaiting());
        return call;
    }

    void expectDone(const QStringList &command)
    {
        const CommandResult result = vantry.run(command);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
    }

    Vantry vantry;
};

TEST_F(Permission, isShownWhileItIsHeld)
{
    const HookCall call = hold(permissionRequest("one"));

    const Json one = vantry.session("one");
    EXPECT_EQ(one.at("state"), "needs_permission");
    EXPECT_EQ(one.at("statusText"), "Needs permission: Bash");
    EXPECT_EQ(one.at("previewLine"), "make all");
    EXPECT_EQ(one.at("needsAttention"), true);
    EXPECT_FALSE(one.at("lastAttentionDate").is_null());
}

TEST_F(Permission, allowAnswersOnTheHeldConnection)
{
    HookCall call = hold(permissionRequest("one"));

    expectDone({ "allow", "one" });

    const std::string response = call.response();
    EXPECT_THAT(response,
                ::testing::StartsWith("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: "));
    EXPECT_THAT(response, HasSubstr("\r\nConnection: close\r\n\r\n{"));
    EXPECT_EQ(decisionOf(response.substr(response.find("\r\n\r\n") + 4)), (Json { { "behavior", "allow" } }));
    EXPECT_TRUE(vantry.shows("one", "state", "working"));
    EXPECT_EQ(vantry.session("one").at("heldPermissions"), 0);
    EXPECT_TRUE(vantry.session("one").at("toolName").is_null());
}

TEST_F(Permission, denyLetsTheAgentGoOn)
{
    HookCall call = hold(permissionRequest("one"));

    expectDone({ "deny", "one" });

    EXPECT_EQ(decisionOf(call.body()), (Json { { "behavior", "deny" } }));
    EXPECT_TRUE(vantry.shows("one", "state", "working"));
}

TEST_F(Permission, denyWithStopEndsTheTurn)
{
    HookCall call = hold(permissionRequest("one"));

    expectDone({ "deny", "one", "--stop" });

    const Json decision = decisionOf(call.body());
    EXPECT_EQ(decision.at("behavior"), "deny");
    EXPECT_EQ(decision.at("interrupt"), true);
    EXPECT_EQ(decision.at("message"), "Stopped by user from Vantry");
    EXPECT_EQ(decision.size(), 3);
    EXPECT_TRUE(vantry.shows("one", "state", "ready"));
}

TEST_F(Permission, alwaysAllowPassesTheRulesThroughUnchanged)
{
    // Through the text: a 30-digit number would lose its digits in a JSON value.
    const std::string rule = R"({"behavior":"allow","count":123456789012345678901234567890,"weight":1.50})";
    HookCall call(HookCall::request(
        R"({"session_id":"one","hook_event_name":"PermissionRequest","tool_name":"Bash","permission_suggestions":[)" +
        rule + "]}"));
    ASSERT_TRUE(vantry.shows("one", "hasAlwaysAllowSuggestions", true));

    expectDone({ "always-allow", "one" });

    const std::string body = call.body();
    EXPECT_EQ(decisionOf(body).at("behavior"), "allow");
    EXPECT_EQ(decisionOf(body).at("updatedPermissions").size(), 1);
    EXPECT_THAT(body, HasSubstr("123456789012345678901234567890"));
    EXPECT_THAT(body, HasSubstr("1.50"));
}

TEST_F(Permission, alwaysAllowWithoutSuggestionsIsAllow)
{
    HookCall call = hold(permissionRequest("one"));
    EXPECT_EQ(vantry.session("one").at("hasAlwaysAllowSuggestions"), false);

    expectDone({ "always-allow", "one" });

    EXPECT_EQ(decisionOf(call.body()), (Json { { "behavior", "allow" } }));
}

TEST_F(Permission, endsWhenTheHookIsKilled)
{
    HookCall call = hold(permissionRequest("one"));

    call.hangUp();

    EXPECT_TRUE(vantry.shows("one", "heldPermissions", 0));
    EXPECT_TRUE(eventually(
        [this] { return vantry.logLinesWith("PendingPermissionStore: auto-dismissed Bash (remaining: 0)") == 1; }));
}

TEST_F(Permission, isAnsweredThoughTheHookSentMoreThanItAnnounced)
{
    HookCall call = hold(permissionRequest("one"));
    call.send(std::string(100'000, 'x'));

    expectDone({ "allow", "one" });

    EXPECT_EQ(decisionOf(call.body()).at("behavior"), "allow");
}

TEST_F(Permission, ofAnotherSessionStays)
{
    HookCall first = hold(permissionRequest("one"));
    HookCall second = hold(permissionRequest("two"));

    expectDone({ "deny", "two" });

    EXPECT_EQ(decisionOf(second.body()).at("behavior"), "deny");
    EXPECT_TRUE(first.isWaiting());
    EXPECT_EQ(vantry.session("one").at("state"), "needs_permission");
}

TEST_F(Permission, staleOneOfTheSameAgentIsClosedWithoutAnAnswer)
{
    HookCall first = hold(permissionRequest("one"));
    HookCall second = hold(permissionRequest("one"), 2);

    expectDone({ "allow", "one" });

    EXPECT_EQ(decisionOf(first.body()).at("behavior"), "allow");
    EXPECT_EQ(second.response(), "");
}

TEST_F(Permission, showsTheRequestThatAllowWouldAnswer)
{
    HookCall main = hold(permissionRequest("one"));
    HookCall background =
        hold(permissionRequest("one",
                               { { "tool_name", "Write" }, { "tool_detail", "notes.txt" }, { "agent_id", "helper" } }),
             2);
    EXPECT_EQ(vantry.session("one").at("toolName"), "Bash");
    EXPECT_EQ(vantry.session("one").at("previewLine"), "make all");

    expectDone({ "allow", "one" });

    EXPECT_EQ(decisionOf(main.body()).at("behavior"), "allow");
    EXPECT_TRUE(background.isWaiting());
    EXPECT_TRUE(vantry.shows("one", "toolName", "Write"));
    EXPECT_EQ(vantry.session("one").at("state"), "needs_permission");
    EXPECT_EQ(vantry.session("one").at("previewLine"), "notes.txt");

    expectDone({ "deny", "one" });

    EXPECT_EQ(decisionOf(background.body()).at("behavior"), "deny");
    EXPECT_TRUE(vantry.shows("one", "state", "working"));
}

TEST_F(Permission, ofABackgroundAgentOutlastsTheMainTurn)
{
    HookCall background = hold(permissionRequest("one", { { "agent_id", "helper" } }));

    vantry.post(event("Stop", "one", { { "last_assistant_message", "All done." } }));
    ASSERT_TRUE(vantry.shows("one", "lastMessage", "All done."));

    EXPECT_EQ(vantry.session("one").at("state"), "needs_permission");
    EXPECT_EQ(vantry.session("one").at("toolName"), "Bash");
    EXPECT_TRUE(background.isWaiting());
    expectDone({ "allow", "one" });
    EXPECT_EQ(decisionOf(background.body()).at("behavior"), "allow");
}

TEST_F(Permission, isGivenUpWithoutAnAnswerWhenTheSessionEnds)
{
    HookCall call = hold(permissionRequest("one"));

    vantry.post(event("SessionEnd", "one"));

    ASSERT_TRUE(vantry.shows("one", "statusText", "Finished"));
    EXPECT_EQ(vantry.session("one").at("heldPermissions"), 0);
    EXPECT_TRUE(call.isWaiting()) << "the connection is the hook's to close";
}

TEST_F(Permission, forAQuestionIsAllowedAtOnce)
{
    EXPECT_EQ(vantry.post(permissionRequest("one", { { "tool_name", "AskUserQuestion" } })),
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})");
    EXPECT_TRUE(vantry.shows("one", "state", "has_question"));
    EXPECT_EQ(vantry.session("one").at("heldPermissions"), 0);
}

TEST_F(Permission, isRefusedWhereNothingWaits)
{
    vantry.post(event("SessionStart", "one"));
    ASSERT_TRUE(vantry.shows("one", "state", "ready"));

    for (const QStringList &command :
         { QStringList { "allow", "one" }, { "deny", "one" }, { "always-allow", "one" } }) {
        const CommandResult result = vantry.run(command);
        EXPECT_EQ(result.exitCode, 1) << command.join(u' ').toStdString();
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(vantry.session("one").at("state"), "ready");
}

} // namespace
} // namespace vantry::test
