#include "platform/linux/LinuxScriptHost.h"

#include "base/WorkerPool.h"
#include "support/FakeApplications.h"
#include "support/ManualMainQueue.h"

#include <gmock/gmock.h>

#include <thread>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LinuxScriptHostTest : public ::testing::Test
{
protected:
    std::optional<ScriptHost::Outcome> run(const AppleScript &script)
    {
        std::optional<ScriptHost::Outcome> result;
        host.run(script, [&](const ScriptHost::Outcome &outcome) { result = outcome; });
        EXPECT_FALSE(result) << "it was not called back from within";
        EXPECT_TRUE(mainQueue.drainWhenPosted());
        return result;
    }
    std::optional<ScriptHost::Outcome> runTool(const QString &executable, const QStringList &arguments)
    {
        std::optional<ScriptHost::Outcome> result;
        host.runTool(executable, arguments, [&](const ScriptHost::Outcome &outcome) {
            EXPECT_EQ(std::this_thread::get_id(), testThread);
            result = outcome;
        });
        EXPECT_FALSE(result) << "it was not called back from within";
        EXPECT_TRUE(mainQueue.drainWhenPosted());
        return result;
    }

    const std::thread::id testThread { std::this_thread::get_id() };
    FakeApplications applications;
    ManualMainQueue mainQueue;
    WorkerPool workers;
    LinuxScriptHost host { applications, workers, mainQueue };
};

TEST_F(LinuxScriptHostTest, bringsTheApplicationForwardThatAScriptActivates)
{
    applications.names = { u"kitty"_s };

    EXPECT_EQ(run({ u"tell application \"kitty\" to activate"_s, u"kitty"_s }), ScriptHost::Outcome {});

    EXPECT_THAT(applications.calls(), ElementsAre(u"activate kitty"_s));
}

TEST_F(LinuxScriptHostTest, saysThatAnApplicationDoesNotRun)
{
    const auto outcome = run({ u"tell application \"kitty\" to activate"_s, u"kitty"_s });

    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->unsupported, u"kitty is not running"_s);
    EXPECT_FALSE(outcome->launchError);
}

TEST_F(LinuxScriptHostTest, runsNoOtherScript)
{
    const auto outcome = run({ u"do shell script \"id\""_s, {} });

    ASSERT_TRUE(outcome);
    EXPECT_TRUE(outcome->unsupported);
    EXPECT_THAT(applications.calls(), IsEmpty());
}

TEST_F(LinuxScriptHostTest, runsATool)
{
    EXPECT_EQ(runTool(u"/bin/sh"_s, { u"-c"_s, u"exit $1"_s, u"sh"_s, u"0"_s }), ScriptHost::Outcome {});
    EXPECT_EQ(runTool(u"/bin/sh"_s, { u"-c"_s, u"exit $1"_s, u"sh"_s, u"3"_s })->exitStatus, 3);
}

TEST_F(LinuxScriptHostTest, saysWhyAToolCannotStart)
{
    EXPECT_EQ(runTool(u"/nowhere/kitty"_s, {})->launchError, u"there is no such program"_s);
    EXPECT_EQ(runTool(u"/etc/passwd"_s, {})->launchError, u"it can't be run"_s);
}

TEST_F(LinuxScriptHostTest, isDoneWithOnceItHasGone)
{
    {
        LinuxScriptHost other(applications, workers, mainQueue);
        other.run({ u"a"_s, u"kitty"_s }, [](const ScriptHost::Outcome &) {});
        other.runTool(u"/bin/true"_s, {}, [](const ScriptHost::Outcome &) {});
    }
    workers.waitForDone();

    EXPECT_EQ(mainQueue.drainAll(), 2U);
}

} // namespace
} // namespace vantry::test
