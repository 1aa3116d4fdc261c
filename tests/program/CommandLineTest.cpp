#include "Eventually.h"
#include "Vantry.h"

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using ::testing::HasSubstr;

bool isOneLine(const std::string &text)
{
    return text.size() > 1 && text.find('\n') == text.size() - 1;
}

struct Call
{
    const char *name;
    QStringList arguments;
};

void PrintTo(const Call &call, std::ostream *to)
{
    *to << call.arguments.join(u' ').toStdString();
}

std::string nameOf(const ::testing::TestParamInfo<Call> &info)
{
    return info.param.name;
}

class WrongUsage : public ::testing::TestWithParam<Call>
{};

TEST_P(WrongUsage, exitsTwoWithOneLine)
{
    const Vantry vantry;

    const CommandResult result = vantry.run(GetParam().arguments);

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, WrongUsage,
    ::testing::Values(
        Call { "UnknownCommand", { "nonsense" } }, Call { "UnknownOption", { "--nonsense" } },
        Call { "UnknownOptionOfACommand", { "status", "--nonsense" } }, Call { "TooManyWords", { "status", "now" } },
        Call { "AllowWithoutId", { "allow" } }, Call { "AllowWithEmptyId", { "allow", "" } },
        Call { "AllowWithTwoIds", { "allow", "a", "b" } }, Call { "DenyWithoutId", { "deny", "--stop" } },
        Call { "StopWhereItDoesNotBelong", { "allow", "a", "--stop" } },
        Call { "AlwaysAllowWithoutId", { "always-allow" } }, Call { "KillWithoutId", { "kill" } },
        Call { "SendWithoutText", { "send", "a" } }, Call { "SendOfBlanks", { "send", "a", " \n" } },
        Call { "AnswerWithoutIndex", { "answer", "a" } }, Call { "NegativeIndex", { "answer", "a", "-1" } },
        Call { "FocusWithoutId", { "focus" } }, Call { "LaunchWithoutPath", { "launch" } },
        Call { "UnknownMode", { "launch", "/", "--mode", "none" } },
        Call { "ResumeAndContinue", { "launch", "/", "--resume", "a", "--continue" } },
        Call { "MessagesOfNothing", { "messages" } }, Call { "ProjectsOfWhat", { "projects", "a" } },
        Call { "SearchWithoutWords", { "search" } }, Call { "LimitWithoutNumber", { "search", "a", "--limit" } },
        Call { "LimitOfWords", { "search", "a", "--limit", "many" } },
        Call { "NegativeLimit", { "recent", "--limit", "-1" } }, Call { "HookAlone", { "hook" } },
        Call { "UnknownHookCommand", { "hook", "remove" } }),
    nameOf);

class NothingRunning : public ::testing::TestWithParam<Call>
{};

TEST_P(NothingRunning, exitsThreeWithOneLine)
{
    const Vantry vantry;

    const CommandResult result = vantry.run(GetParam().arguments);

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
}

INSTANTIATE_TEST_SUITE_P(CommandLine, NothingRunning,
                         ::testing::Values(Call { "Status", { "status" } }, Call { "Watch", { "watch" } },
                                           Call { "Allow", { "allow", "one" } }, Call { "Deny", { "deny", "one" } },
                                           Call { "AlwaysAllow", { "always-allow", "one" } },
                                           Call { "Kill", { "kill", "one" } }, Call { "Send", { "send", "one", "a" } },
                                           Call { "Answer", { "answer", "one", "0" } },
                                           Call { "Focus", { "focus", "one" } }, Call { "Launch", { "launch", "/" } },
                                           Call { "Show", { "show" } }, Call { "Settings", { "settings" } },
                                           Call { "Quit", { "quit" } }),
                         nameOf);

TEST(CommandLine, statusTellsScriptsThatNothingRuns)
{
    const Vantry vantry;

    const CommandResult result = vantry.run({ "status", "--json" });

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(Json::parse(result.out).dump(), R"({"running":false,"listening":false,"port":49152,"sessions":[]})");
}

TEST(CommandLine, anApplicationWithoutWindowsShowsNone)
{
    Vantry vantry;
    vantry.start();

    for (const char *command : { "show", "settings" }) {
        const CommandResult result = vantry.run({ command });
        EXPECT_EQ(result.exitCode, 1) << command;
        EXPECT_THAT(result.err, HasSubstr("the running Vantry has no windows"));
    }
}

TEST(CommandLine, helpNamesEveryCommand)
{
    const Vantry vantry;

    const CommandResult help = vantry.run({ "--help" });

    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.err, "");
    for (const char *word :
         { "--headless", "status",   "watch",    "allow",     "deny",         "always-allow", "kill",
           "answer",     "send",     "focus",    "launch",    "--resume",     "--continue",   "--mode",
           "search",     "recent",   "projects", "messages",  "hook install", "hook status",  "doctor",
           "show",       "settings", "quit",     "--version", "--json",       "--stop",       "--limit" })
        EXPECT_THAT(help.out, HasSubstr(word));
}

TEST(CommandLine, versionIsOneLine)
{
    const CommandResult version = Vantry().run({ "--version" });

    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(isOneLine(version.out)) << version.out;
}

TEST(CommandLine, takesALeadingPartOfAnId)
{
    Vantry vantry;
    vantry.start();
    HookCall call = HookCall::post(permissionRequest("abc-1"));
    ASSERT_TRUE(vantry.shows("abc-1", "heldPermissions", 1));
    vantry.post(event("SessionStart", "xyz"));

    const CommandResult result = vantry.run({ "allow", "ab" });

    EXPECT_EQ(result.exitCode, 0) << result.err;

    EXPECT_THAT(call.body(), HasSubstr("allow"));
}

TEST(CommandLine, refusesAPartThatFitsSeveralAndNamesThem)
{
    Vantry vantry;
    vantry.start();
    HookCall call = HookCall::post(permissionRequest("abc-1"));
    vantry.post(event("SessionStart", "abc-2"));
    ASSERT_TRUE(vantry.shows("abc-2", "state", "ready"));

    const CommandResult result = vantry.run({ "allow", "abc" });

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("abc-1"));
    EXPECT_THAT(result.err, HasSubstr("abc-2"));
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
    EXPECT_TRUE(call.isWaiting());
}

TEST(CommandLine, takesAWholeIdThatAnotherOneBeginsWith)
{
    Vantry vantry;
    vantry.start();
    HookCall call = HookCall::post(permissionRequest("abc"));
    vantry.post(event("SessionStart", "abc-2"));
    ASSERT_TRUE(vantry.shows("abc", "heldPermissions", 1));

    EXPECT_EQ(vantry.run({ "allow", "abc" }).exitCode, 0);

    EXPECT_THAT(call.body(), HasSubstr("allow"));
}

TEST(CommandLine, refusesAnUnknownId)
{
    Vantry vantry;
    vantry.start();

    for (const QStringList &command :
         { QStringList { "allow", "none" }, { "deny", "none" }, { "always-allow", "none" }, { "kill", "none" } }) {
        const CommandResult result = vantry.run(command);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(isOneLine(result.err)) << result.err;
    }
}

TEST(CommandLine, doctorChecksAndAdvises)
{
    Vantry vantry;
    vantry.start();
    ASSERT_EQ(vantry.run({ "hook", "install" }).exitCode, 0);

    const Json report = vantry.runJson({ "doctor", "--json" });

    ASSERT_FALSE(report.at("checks").empty());
    for (const Json &check : report.at("checks")) {
        EXPECT_EQ(check.size(), 4);
        EXPECT_TRUE(check.at("name").is_string());
        EXPECT_TRUE(check.at("ok").is_boolean());
        EXPECT_TRUE(check.contains("detail"));
        EXPECT_TRUE(check.contains("advice"));
    }
}

TEST(CommandLine, doctorFailsWhereTheMainJobCannotBeDone)
{
    const CommandResult result = Vantry().run({ "doctor" });

    EXPECT_EQ(result.exitCode, 1) << "no hook is installed: " << result.out;
}

} // namespace
} // namespace vantry::test
