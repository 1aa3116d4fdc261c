#include "Eventually.h"
#include "Vantry.h"

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

std::vector<std::string> keysOf(const Json &object)
{
    std::vector<std::string> keys;
    for (const auto &[key, value] : object.items())
        keys.push_back(key);
    return keys;
}

class Status : public ::testing::Test
{
protected:
    void SetUp() override { vantry.start(); }

    Vantry vantry;
};

TEST_F(Status, answersHealthWithTheWholeResponseForm)
{
    HookCall call("GET /health HTTP/1.1\r\n\r\n");

    EXPECT_EQ(call.response(), "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 15\r\n"
                               "Connection: close\r\n\r\n{\"status\":\"ok\"}");
}

TEST_F(Status, hasItsKeysInTheirOrder)
{
    vantry.post(event("SessionStart", "one"));
    ASSERT_TRUE(vantry.shows("one", "state", "ready"));

    const Json status = vantry.runJson({ "status", "--json" });

    EXPECT_THAT(keysOf(status), ElementsAre("running", "listening", "port", "sessions"));
    EXPECT_EQ(status.at("running"), true);
    EXPECT_EQ(status.at("listening"), true);
    EXPECT_EQ(status.at("port"), 49152);
    ASSERT_EQ(status.at("sessions").size(), 1);
    EXPECT_EQ(keysOf(status.at("sessions").at(0)), (std::vector<std::string> { "id",
                                                                               "agentTool",
                                                                               "state",
                                                                               "statusText",
                                                                               "elapsedText",
                                                                               "isAlive",
                                                                               "needsAttention",
                                                                               "projectName",
                                                                               "cwd",
                                                                               "previewLine",
                                                                               "lastPrompt",
                                                                               "lastMessage",
                                                                               "toolName",
                                                                               "toolDetail",
                                                                               "questions",
                                                                               "heldPermissions",
                                                                               "hasAlwaysAllowSuggestions",
                                                                               "terminalType",
                                                                               "terminalSessionID",
                                                                               "pid",
                                                                               "shellPid",
                                                                               "pidStartTime",
                                                                               "transcriptPath",
                                                                               "gitBranch",
                                                                               "gitLinesAdded",
                                                                               "gitLinesRemoved",
                                                                               "contextPercent",
                                                                               "startedAt",
                                                                               "lastUpdated",
                                                                               "endedAt",
                                                                               "lastAttentionDate" }));
}

TEST_F(Status, showsWhatAnEventSaid)
{
    vantry.post(event("UserPromptSubmit", "one",
                      { { "prompt", "Mend the \"build\"\nplease" },
                        { "project_dir", "/tmp/no-such-project/shop" },
                        { "terminal_type", "tmux-pane" },
                        { "terminal_session_id", "/tmp/tmux,%1" } }));
    ASSERT_TRUE(vantry.shows("one", "state", "working"));

    const Json one = vantry.runJson({ "status", "--json" }).at("sessions").at(0);

    EXPECT_EQ(one.at("id"), "one");
    EXPECT_EQ(one.at("agentTool"), "claude-code");
    EXPECT_EQ(one.at("statusText"), "Working...");
    EXPECT_EQ(one.at("elapsedText"), "just now");
    EXPECT_EQ(one.at("isAlive"), true);
    EXPECT_EQ(one.at("needsAttention"), false);
    EXPECT_EQ(one.at("projectName"), "shop");
    EXPECT_EQ(one.at("cwd"), "/tmp/no-such-project/shop");
    EXPECT_EQ(one.at("lastPrompt"), "Mend the \"build\"\nplease");
    EXPECT_EQ(one.at("previewLine"), "Mend the \"build\"");
    EXPECT_EQ(one.at("terminalType"), "tmux-pane");
    EXPECT_EQ(one.at("terminalSessionID"), "/tmp/tmux,%1");
    EXPECT_EQ(one.at("heldPermissions"), 0);
    EXPECT_EQ(one.at("hasAlwaysAllowSuggestions"), false);
    for (const auto &absent : { "lastMessage", "toolName", "toolDetail", "questions", "pid", "shellPid", "pidStartTime",
                                "transcriptPath", "gitBranch", "endedAt", "lastAttentionDate" })
        EXPECT_TRUE(one.at(absent).is_null()) << absent;
}

TEST_F(Status, isPlainTextInAPipe)
{
    vantry.post(event("UserPromptSubmit", "one", { { "prompt", "\x1b[31mred" }, { "project_dir", "/tmp/none/shop" } }));
    ASSERT_TRUE(vantry.shows("one", "state", "working"));

    const CommandResult status = vantry.run({ "status" });

    EXPECT_EQ(status.exitCode, 0);
    EXPECT_EQ(status.err, "");
    EXPECT_THAT(status.out, HasSubstr("shop"));
    EXPECT_THAT(status.out, HasSubstr("Working..."));
    EXPECT_THAT(status.out, Not(HasSubstr("\x1b"))) << "neither our colours nor an agent's control characters";
}

TEST_F(Status, showsTheQuestionsOfAnAgent)
{
    const Json questions = Json::parse(R"([{"question":"Which one?","header":"Choice","multiSelect":false,
        "options":[{"label":"A","description":"the first"},{"label":"B"}]}])");
    vantry.post(event("PreToolUse", "one",
                      { { "tool_name", "AskUserQuestion" }, { "tool_input", { { "questions", questions } } } }));

    ASSERT_TRUE(vantry.shows("one", "state", "has_question"));
    const Json one = vantry.session("one");
    EXPECT_EQ(one.at("needsAttention"), true);
    EXPECT_EQ(one.at("questions").dump(), R"([{"question":"Which one?","header":"Choice","multiSelect":false,)"
                                          R"("options":[{"label":"A","description":"the first"},)"
                                          R"({"label":"B","description":null}]}])");
}

TEST_F(Status, keepsTwoAgentsApart)
{
    vantry.post(event("UserPromptSubmit", "one", { { "prompt", "first" } }));
    vantry.post(event("UserPromptSubmit", "two", { { "prompt", "second" } }));
    vantry.post(event("Stop", "two", { { "last_assistant_message", "Done." } }));

    EXPECT_TRUE(vantry.shows("two", "state", "ready"));
    EXPECT_TRUE(vantry.shows("one", "state", "working"));
    EXPECT_EQ(vantry.session("one").at("lastPrompt"), "first");
    EXPECT_EQ(vantry.session("two").at("lastMessage"), "Done.");
}

TEST_F(Status, listsNobodyWhenNobodyIsThere)
{
    EXPECT_EQ(vantry.runJson({ "status", "--json" }).at("sessions"), Json::array());
    EXPECT_EQ(vantry.run({ "status" }).exitCode, 0);
}

} // namespace
} // namespace vantry::test
