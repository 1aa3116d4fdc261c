#include "Eventually.h"
#include "Vantry.h"

#include <gmock/gmock.h>

#include <signal.h>

namespace vantry::test {
namespace {

using ::testing::HasSubstr;

class Watch : public ::testing::Test
{
protected:
    void SetUp() override { vantry.start(); }

    static Json nextDocument(ChildProcess &watch) { return Json::parse(watch.nextLine(), nullptr, false); }

    Vantry vantry;
};

TEST_F(Watch, beginsWithTheDocumentOfStatus)
{
    vantry.post(event("SessionStart", "one"));
    ASSERT_TRUE(vantry.shows("one", "state", "ready"));

    const auto watch = vantry.begin({ "watch", "--json" });

    const Json first = nextDocument(*watch);
    EXPECT_EQ(first.at("running"), true);
    EXPECT_EQ(first.at("sessions").at(0).at("id"), "one");
}

TEST_F(Watch, tellsEachChange)
{
    const auto watch = vantry.begin({ "watch", "--json" });
    ASSERT_TRUE(nextDocument(*watch).is_object());

    vantry.post(event("UserPromptSubmit", "one", { { "prompt", "Hello" } }));
    const Json change = nextDocument(*watch);

    EXPECT_EQ(change.at("event"), "changed");
    EXPECT_EQ(change.at("session").at("id"), "one");
    EXPECT_EQ(change.at("session").at("lastPrompt"), "Hello");
    EXPECT_EQ(change.at("session").size(), vantry.session("one").size());
}

TEST_F(Watch, missesNothingBetweenTheFirstDocumentAndTheChanges)
{
    const auto watch = vantry.begin({ "watch", "--json" });
    for (int i = 0; i < 100; ++i)
        vantry.post(event("UserPromptSubmit", "one", { { "prompt", std::to_string(i) } }));

    Json line = nextDocument(*watch);
    const auto isLast = [](const Json &session) { return session.is_object() && session["lastPrompt"] == "99"; };
    while (line.is_object() && !isLast(line.contains("session") ? line["session"] : line["sessions"][0]))
        line = nextDocument(*watch);

    EXPECT_TRUE(line.is_object()) << "the last change never came";
}

TEST_F(Watch, showsAHeldRequestComeAndGo)
{
    const auto watch = vantry.begin({ "watch", "--json" });
    ASSERT_TRUE(nextDocument(*watch).is_object());

    HookCall call = HookCall::post(permissionRequest("one"));
    Json change = nextDocument(*watch);
    while (change.is_object() && change["session"]["heldPermissions"] != 1)
        change = nextDocument(*watch);
    EXPECT_EQ(change["session"]["state"], "needs_permission");

    call.hangUp();
    change = nextDocument(*watch);
    EXPECT_EQ(change["session"]["heldPermissions"], 0);
}

TEST_F(Watch, endsWithThreeWhenTheApplicationGoes)
{
    const auto watch = vantry.begin({ "watch", "--json" });
    ASSERT_TRUE(nextDocument(*watch).is_object());

    EXPECT_EQ(vantry.end(SIGTERM), 0);

    EXPECT_EQ(watch->finish().exitCode, 3);
}

TEST_F(Watch, endsWithThreeWhenTheApplicationIsKilled)
{
    const auto watch = vantry.begin({ "watch", "--json" });
    ASSERT_TRUE(nextDocument(*watch).is_object());

    vantry.killHard();

    EXPECT_EQ(watch->finish().exitCode, 3);
}

TEST_F(Watch, tellsPeopleOneLineForEachChange)
{
    const auto watch = vantry.begin({ "watch" });
    vantry.post(event("UserPromptSubmit", "one", { { "prompt", "Hello" }, { "project_dir", "/tmp/none/shop" } }));

    std::string line = watch->nextLine();
    while (!line.empty() && line.find("shop") == std::string::npos)
        line = watch->nextLine();

    EXPECT_THAT(line, HasSubstr("Working..."));
}

TEST_F(Watch, endsWhenNobodyReadsItsOutput)
{
    // A shell waits for every part of a pipe.
    const auto pipe = vantry.other("sh", { "-c", "\"$0\" watch --json | head -n 1", VANTRY_PROGRAM });
    ASSERT_NE(pipe->nextLine(), "");

    const bool ended = eventually([&] {
        vantry.post(event("UserPromptSubmit", "one", { { "prompt", "Hello" } }));
        return pipe->waitForFinished(0);
    });

    EXPECT_TRUE(ended);
}

} // namespace
} // namespace vantry::test
