#include "Eventually.h"
#include "InstalledHook.h"

#include <QFile>

#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <map>

namespace vantry::test {
namespace {

/// A recorded session, and the state that a person who watches the terminal would name after each step: Ready, Working,
/// Permission needed, Question, Finished. A step is an event, in the order in which the hooks began; and the end of a
/// held permission request, where it was answered or its hook killed. "." stands where no event tells: the agent's own
/// dialog stays open or goes away without a word.
struct Recording
{
    const char *name;
    const char *states;
};

void PrintTo(const Recording &recording, std::ostream *to)
{
    *to << recording.name;
}

std::string nameOf(const ::testing::TestParamInfo<Recording> &info)
{
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

const std::map<std::string, char> letters = {
    { "ready", 'R' }, { "working", 'W' }, { "needs_permission", 'P' }, { "has_question", 'Q' }
};

struct Step
{
    double at;
    bool isEnd;        ///< The end of the hook, else its begin.
    std::size_t index; ///< Of the hook in the recording.
};

class Sequence : public ::testing::TestWithParam<Recording>
{
protected:
    void SetUp() override
    {
        vantry.start();
        QFile file(QStringLiteral(VANTRY_FIXTURES "/sequences/") + GetParam().name + ".jsonl");
        ASSERT_TRUE(file.open(QFile::ReadOnly));
        while (!file.atEnd())
            hooks.push_back(Json::parse(file.readLine().toStdString()));
        id = hooks.at(0).at("payload").at("session_id");
        running.resize(hooks.size());
    }

    [[nodiscard]] static bool isHeld(const Json &hook)
    {
        const Json &payload = hook.at("payload");
        return payload.at("hook_event_name") == "PermissionRequest" && payload.at("tool_name") != "AskUserQuestion";
    }

    [[nodiscard]] std::vector<Step> steps() const
    {
        std::vector<Step> steps;
        for (std::size_t i = 0; i < hooks.size(); ++i) {
            steps.push_back({ hooks[i].at("at"), false, i });
            if (isHeld(hooks[i]))
                steps.push_back({ hooks[i].at("until"), true, i });
        }
        std::stable_sort(steps.begin(), steps.end(), [](const Step &a, const Step &b) { return a.at < b.at; });
        return steps;
    }

    void begin(std::size_t index)
    {
        const std::string payload = hooks[index].at("payload").dump();
        if (isHeld(hooks[index])) {
            running[index] = hook.begin(payload);
            ++held;
            EXPECT_TRUE(vantry.shows(id, "heldPermissions", held));
            return;
        }
        EXPECT_EQ(hook.run(payload).empty(), hooks[index].at("answer").is_null());
    }

    /// Ends a held request as it ended then: answered, or its hook killed by the agent.
    void end(std::size_t index)
    {
        ChildProcess &process = *running[index];
        const Json answer = hooks[index].value("answer", Json());
        if (!answer.is_object()) {
            process.sendSignal(SIGTERM);
            EXPECT_EQ(process.finish().out, "");
        } else {
            EXPECT_EQ(vantry.run(commandFor(answer)).exitCode, 0);
            EXPECT_EQ(nlohmann::json::parse(process.finish().out), nlohmann::json::parse(answer.dump()));
        }
        held = 0;
        for (const auto &other : running)
            held += other && other->state() != QProcess::NotRunning ? 1 : 0;
        EXPECT_TRUE(vantry.shows(id, "heldPermissions", held));
    }

    [[nodiscard]] QStringList commandFor(const Json &answer) const
    {
        const Json &decision = answer.at("hookSpecificOutput").at("decision");
        const QString session = QString::fromStdString(id);
        if (decision.at("behavior") == "deny")
            return decision.value("interrupt", false) ? QStringList { "deny", session, "--stop" }
                                                      : QStringList { "deny", session };
        return decision.contains("updatedPermissions") ? QStringList { "always-allow", session }
                                                       : QStringList { "allow", session };
    }

    /// Waits until everything posted so far has been handled: what comes behind it in the queue has been.
    void settle()
    {
        const std::string mark = std::to_string(++marks);
        vantry.post(event("UserPromptSubmit", "mark", { { "prompt", mark } }));
        ASSERT_TRUE(vantry.shows("mark", "lastPrompt", mark));
    }

    [[nodiscard]] char shownState() const
    {
        const Json session = vantry.session(id);
        if (!session.is_object())
            return '-';
        return session.at("isAlive") == false ? 'F' : letters.at(session.at("state"));
    }

    Vantry vantry;
    InstalledHook hook { vantry };
    std::vector<Json> hooks;
    std::vector<std::unique_ptr<ChildProcess>> running;
    std::string id;
    int held { 0 };
    int marks { 0 };
};

TEST_P(Sequence, showsTheStatesThatThePersonAtTheTerminalSees)
{
    std::string shown;
    for (const Step &step : steps()) {
        step.isEnd ? end(step.index) : begin(step.index);
        settle();
        const std::string_view expected = GetParam().states;
        const bool isTold = shown.size() < expected.size() && expected[shown.size()] != '.';
        shown += isTold ? shownState() : '.';
    }

    EXPECT_EQ(shown, GetParam().states);
    EXPECT_EQ(vantry.logLinesWith("failed to decode JSON"), 0);
    const Json prompt = vantry.session(id).at("lastPrompt");
    EXPECT_TRUE(prompt.is_null() || prompt.get<std::string>().find("SCENARIO") == 0) << "a person wrote no " << prompt;
}

INSTANTIATE_TEST_SUITE_P(
    Recorded, Sequence,
    ::testing::Values(Recording { "allow", "RWWPWWRF" }, Recording { "always-allow", "RWWPWWWWRF" },
                      Recording { "answered-no-in-terminal", "RWWP.F" },
                      Recording { "answered-yes-in-terminal", "RWWPWRRF" }, Recording { "api-error", "RWF" },
                      Recording { "ask-cancelled", "RWQQQF" }, Recording { "ask-user-question", "RWQQWRF" },
                      Recording { "auto-mode", "RWWWRF" }, Recording { "background-bash", "RWWWWRF" },
                      Recording { "config-change", "RWRRF" }, Recording { "deny-interrupt", "RWWPRF" },
                      Recording { "deny", "RWWPWRF" }, Recording { "edit", "RWWWWPWWRF" },
                      Recording { "exit-plan-mode", "RWWWPP.WRF" }, Recording { "failing-command", "RWWPWWRF" },
                      Recording { "idle-notification", "RWQQF" }, Recording { "instructions-loaded", "RRRRWWWRF" },
                      Recording { "mcp-tools", "RWWPWWWPWWWPWWWPWWWPWWWPWWRF" },
                      Recording { "permission-notification", "RWWPPWWRF" }, Recording { "print-mode", "RWWPWWRF" },
                      Recording { "subagent-and-main-request-at-once", "RWWWWRWPPPPPPPPWWWWP.F" },
                      Recording { "task-list", "RWWWWWWWWRF" }, Recording { "write", "RWWPWWRF" }),
    nameOf);

} // namespace
} // namespace vantry::test
