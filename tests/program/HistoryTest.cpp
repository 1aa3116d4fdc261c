#include "Eventually.h"
#include "Vantry.h"

#include <gmock/gmock.h>

#include <signal.h>

namespace vantry::test {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> idsOf(const Json &document)
{
    std::vector<std::string> ids;
    for (const Json &result : document.at("results"))
        ids.push_back(result.at("session").at("id"));
    return ids;
}

class History : public ::testing::Test
{
protected:
    void SetUp() override
    {
        vantry.start();
        remember("one", "Mend the flux capacitor in main.rs");
        remember("two", "Write a poem about the sea");
        ASSERT_TRUE(vantry.shows("two", "statusText", "Finished"));
    }

    void remember(const char *id, const char *prompt)
    {
        vantry.post(event("SessionStart", id));
        vantry.post(event("UserPromptSubmit", id, { { "prompt", prompt } }));
        vantry.post(event("PostToolUse", id, { { "tool_name", "Bash" } }));
        vantry.post(event("Stop", id, { { "last_assistant_message", "Done." } }));
        vantry.post(event("SessionEnd", id));
    }

    Vantry vantry;
};

TEST_F(History, findsAnEndedSessionByItsPrompt)
{
    const Json found = vantry.runJson({ "search", "capac", "--json" });

    EXPECT_THAT(idsOf(found), ElementsAre("one"));
    EXPECT_TRUE(found.at("results").at(0).at("rank").is_number());
    EXPECT_TRUE(found.at("results").at(0).at("snippet").is_string());
    EXPECT_EQ(found.at("results").at(0).at("session").at("lastPrompt"), "Mend the flux capacitor in main.rs");
}

TEST_F(History, findsEveryWordAndTakesAnyCharacter)
{
    EXPECT_THAT(idsOf(vantry.runJson({ "search", "main.rs", "--json" })), ElementsAre("one"));
    EXPECT_THAT(idsOf(vantry.runJson({ "search", "sea", "poem", "--json" })), ElementsAre("two"));
    EXPECT_EQ(vantry.run({ "search", "AND", "OR", "NOT", "\"'*(", "--json" }).exitCode, 0);
}

TEST_F(History, findsNothingQuietly)
{
    EXPECT_EQ(vantry.runJson({ "search", "nowhere", "--json" }).dump(), R"({"results":[]})");
    EXPECT_EQ(vantry.run({ "search", "nowhere" }).exitCode, 0);
}

TEST_F(History, listsTheNewestFirst)
{
    EXPECT_THAT(idsOf(vantry.runJson({ "recent", "--json" })), ElementsAre("two", "one"));
    EXPECT_THAT(idsOf(vantry.runJson({ "recent", "--limit", "1", "--json" })), ElementsAre("two"));
}

TEST_F(History, isThereWithoutARunningApplication)
{
    ASSERT_EQ(vantry.end(SIGTERM), 0);

    EXPECT_THAT(idsOf(vantry.runJson({ "search", "capacitor", "--json" })), ElementsAre("one"));
    EXPECT_THAT(idsOf(vantry.runJson({ "recent", "--json" })), ElementsAre("two", "one"));
    EXPECT_EQ(vantry.run({ "recent" }).exitCode, 0);
}

TEST(EmptyHistory, isEmptyWhereVantryNeverRan)
{
    const Vantry vantry;

    EXPECT_EQ(vantry.runJson({ "recent", "--json" }).dump(), R"({"results":[]})");
    EXPECT_EQ(vantry.runJson({ "search", "word", "--json" }).dump(), R"({"results":[]})");
}

} // namespace
} // namespace vantry::test
