#include "Eventually.h"
#include "InstalledHook.h"

#include <QDir>
#include <QFileInfo>

#include <gmock/gmock.h>

#include <signal.h>

namespace vantry::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << path.toStdString();
    return file.readAll();
}

std::string payload(const char *name)
{
    return contentsOf(QStringLiteral(VANTRY_FIXTURES "/hook-events/") + name + ".json").toStdString();
}

class HookScript : public ::testing::Test
{
protected:
    void SetUp() override { vantry.start(); }

    [[nodiscard]] int deliveries() const { return vantry.logLinesWith("onEvent fired: "); }
    [[nodiscard]] bool delivered(int count) const
    {
        return eventually([&] { return deliveries() >= count; });
    }

    Vantry vantry;
    InstalledHook hook { vantry };
};

TEST_F(HookScript, isInstalledOnce)
{
    EXPECT_EQ(vantry.runJson({ "hook", "status", "--json" }).dump(), R"({"installed":true})");
    const QByteArray settings = contentsOf(vantry.home() + "/.claude/settings.json");

    const Json again = vantry.runJson({ "hook", "install", "--json" });

    EXPECT_EQ(again.at("installed"), true);
    EXPECT_EQ(again.at("message"), "Hook installed. Restart Claude Code sessions to activate.");
    EXPECT_EQ(contentsOf(vantry.home() + "/.claude/settings.json"), settings);
    EXPECT_TRUE(QFileInfo(vantry.home() + "/.claude/hooks/vantry_hook.py").isExecutable());
    EXPECT_THAT(settings.toStdString(), HasSubstr("vantry_hook.py --port 49152"));
}

TEST(HookStatus, isFalseBeforeTheInstallation)
{
    const CommandResult result = Vantry().run({ "hook", "status", "--json" });

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(Json::parse(result.out).dump(), R"({"installed":false})");
}

TEST(HookInstallation, leavesABrokenSettingsFileAlone)
{
    const Vantry vantry;
    ASSERT_TRUE(QDir(vantry.home()).mkdir(".claude"));
    QFile file(vantry.home() + "/.claude/settings.json");
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write("{ broken");
    file.close();

    const CommandResult result = vantry.run({ "hook", "install" });

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("Install failed: "));
    EXPECT_EQ(contentsOf(file.fileName()), "{ broken");
}

TEST_F(HookScript, deliversEveryRecordedPayload)
{
    const QStringList heldBack = {
        "Notification.elicitation_response.json", // changes nothing that is shown
        "TaskCompleted.json",                     // one item of a list, not the end of a turn
    };
    const QDir folder(VANTRY_FIXTURES "/hook-events");
    const QStringList names = folder.entryList({ "*.json" });
    ASSERT_GT(names.size(), 100);
    for (const QString &name : names) {
        if (heldBack.contains(name) || name.startsWith("Worktree"))
            continue;
        SCOPED_TRACE(name.toStdString());
        const int before = deliveries();
        // A session for each: the recordings are of many agents, and here one process stands for them all.
        Json recorded = Json::parse(contentsOf(folder.filePath(name)).toStdString());
        recorded["session_id"] = name.toStdString();

        const auto running = hook.begin(recorded.dump());
        ASSERT_TRUE(delivered(before + 1));
        const bool holds = name.startsWith("PermissionRequest") && !name.contains("AskUserQuestion");
        if (holds) {
            ASSERT_EQ(vantry.run({ "allow", name }).exitCode, 0);
        }

        const CommandResult result = running->finish();
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(!result.out.empty(), name.startsWith("PermissionRequest")) << result.out;
    }
    EXPECT_EQ(vantry.logLinesWith("failed to decode JSON"), 0);
}

TEST_F(HookScript, holdsBackWhatWouldMislead)
{
    EXPECT_EQ(hook.run(payload("Notification.elicitation_response")), "");
    EXPECT_EQ(hook.run(payload("TaskCompleted")), "");

    EXPECT_EQ(deliveries(), 0);
}

TEST_F(HookScript, tellsWhereTheAgentRuns)
{
    EXPECT_EQ(hook.run(payload("SessionStart.startup")), "");

    const std::string id = Json::parse(payload("SessionStart.startup")).at("session_id");
    ASSERT_TRUE(vantry.shows(id, "pid", hook.agent().pid()));
    EXPECT_FALSE(vantry.session(id).at("pidStartTime").is_null());
    EXPECT_EQ(vantry.session(id).at("projectName"), "demo");
}

struct Answer
{
    const char *name;
    QStringList command;
    const char *output;
};

std::string nameOf(const ::testing::TestParamInfo<Answer> &info)
{
    return info.param.name;
}

class HookAnswer : public HookScript, public ::testing::WithParamInterface<Answer>
{};

TEST_P(HookAnswer, isPrintedForTheAgent)
{
    const std::string request = payload("PermissionRequest.Bash.addRules");
    const std::string id = Json::parse(request).at("session_id");
    const auto waiting = hook.begin(request);
    ASSERT_TRUE(vantry.shows(id, "heldPermissions", 1));

    QStringList command = GetParam().command;
    command.insert(1, QString::fromStdString(id));
    EXPECT_EQ(vantry.run(command).exitCode, 0);

    const CommandResult result = waiting->finish();
    EXPECT_EQ(result.exitCode, 0);
    Json expected = Json::parse(GetParam().output);
    if (expected["hookSpecificOutput"]["decision"].contains("updatedPermissions"))
        expected["hookSpecificOutput"]["decision"]["updatedPermissions"] =
            Json::parse(request).at("permission_suggestions");
    // The order of keys is not the answer's matter.
    EXPECT_EQ(nlohmann::json::parse(result.out), nlohmann::json::parse(expected.dump()));
}

#define DECISION(members) R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{)" members "}}}"

INSTANTIATE_TEST_SUITE_P(
    HookScript, HookAnswer,
    ::testing::Values(
        Answer { "allow", { "allow" }, DECISION(R"("behavior":"allow")") },
        Answer { "deny", { "deny" }, DECISION(R"("behavior":"deny")") },
        Answer { "denyAndStop",
                 { "deny", "--stop" },
                 DECISION(R"("behavior":"deny","interrupt":true,"message":"Stopped by user from Vantry")") },
        Answer { "alwaysAllow", { "always-allow" }, DECISION(R"("behavior":"allow","updatedPermissions":[])") }),
    nameOf);

TEST_F(HookScript, leavesWithTheAgent)
{
    const std::string request = payload("PermissionRequest.Bash");
    const std::string id = Json::parse(request).at("session_id");
    const auto waiting = hook.begin(request);
    ASSERT_TRUE(vantry.shows(id, "heldPermissions", 1));

    hook.agent().kill();

    EXPECT_EQ(waiting->finish().out, "");
    EXPECT_TRUE(vantry.shows(id, "heldPermissions", 0));
}

TEST_F(HookScript, killedEndsItsRequest)
{
    const std::string request = payload("PermissionRequest.Bash");
    const std::string id = Json::parse(request).at("session_id");
    const auto waiting = hook.begin(request);
    ASSERT_TRUE(vantry.shows(id, "heldPermissions", 1));

    waiting->killAndWait();

    EXPECT_TRUE(vantry.shows(id, "heldPermissions", 0));
}

TEST_F(HookScript, leavesTheAgentToItsOwnPromptWhenVantryGoes)
{
    const std::string request = payload("PermissionRequest.Bash");
    const auto waiting = hook.begin(request);
    ASSERT_TRUE(vantry.shows(std::string(Json::parse(request).at("session_id")), "heldPermissions", 1));

    vantry.killHard();

    const CommandResult result = waiting->finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(hook.run(payload("Stop")), "") << "and nothing listens now";
}

TEST_F(HookScript, makesAndRemovesTheAgentsWorktrees)
{
    const QString repository = vantry.home() + "/shop";
    ASSERT_EQ(vantry.other("git", { "init", "-q", repository })->finish().exitCode, 0);
    ASSERT_EQ(vantry
                  .other("git", { "-C", repository, "-c", "user.name=A", "-c", "user.email=a@example.org", "commit",
                                  "-q", "--allow-empty", "-m", "Begin" })
                  ->finish()
                  .exitCode,
              0);
    Json create = Json::parse(payload("WorktreeCreate"));
    create["cwd"] = repository.toStdString();

    const std::string printed = hook.run(create.dump());

    EXPECT_THAT(printed, HasSubstr("/shop/.claude/worktrees/wt-check"));
    const QString tree = QString::fromStdString(printed).trimmed();
    EXPECT_TRUE(QFileInfo::exists(tree + "/.git"));
    EXPECT_TRUE(delivered(1));

    Json remove = Json::parse(payload("WorktreeRemove"));
    remove["cwd"] = repository.toStdString();
    remove["worktree_path"] = tree.toStdString();
    EXPECT_EQ(hook.run(remove.dump()), "");
    EXPECT_FALSE(QFileInfo::exists(tree));
    EXPECT_TRUE(delivered(2));
}

} // namespace
} // namespace vantry::test
