#include "sessions/SessionManagerFixture.h"
#include "support/TestEvents.h"

#include <QDir>
#include <QStringList>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vantry {
namespace {

using Json = nlohmann::json;

const std::string sequencesFolder = std::string(VANTRY_FIXTURES) + "/sequences";

/// A whole recorded session, and what a person who watches the terminal would call the session after each of its
/// events: R ready, W working, P needs permission, Q has a question, F finished.
struct Sequence
{
    const char *name;
    const char *states;
};

const std::vector<Sequence> sequences {
    { "allow", "RWWPWRF" },
    { "always-allow", "RWWPWWWRF" },
    { "answered-no-in-terminal", "RWWPF" },
    { "answered-yes-in-terminal", "RWWPWRF" },
    { "api-error", "RWF" },
    { "ask-cancelled", "RWQQQF" },
    { "ask-user-question", "RWQQWRF" },
    { "auto-mode", "RWWWRF" },
    { "background-bash", "RWWWWRF" },
    { "config-change", "RWRRF" },
    { "deny", "RWWPRF" },
    { "deny-interrupt", "RWWPF" },
    { "edit", "RWWWWPWRF" },
    { "exit-plan-mode", "RWWWPPWRF" },
    { "failing-command", "RWWPWRF" },
    { "idle-notification", "RWQQF" },
    { "instructions-loaded", "RRRRWWWRF" },
    { "mcp-tools", "RWWPWWPWWPWWPWWPWWPWRF" },
    { "permission-notification", "RWWPPWRF" },
    { "print-mode", "RWWPWRF" },
    { "subagent-and-main-request-at-once", "RWWWWRWPPPPPPPWWWPF" },
    { "task-list", "RWWWWWWWWRF" },
    { "write", "RWWPWRF" },
};

/// What the hook script does to payloads, as far as these recordings need it.
class HookScript
{
public:
    /// The payload as it is posted; null for one that is held back.
    Json treat(Json payload)
    {
        const std::string kind = payload["hook_event_name"];
        const std::string tool = payload.value("tool_name", "");
        const bool opensDialog = tool == "AskUserQuestion" || tool == "ExitPlanMode";
        if (kind == "PreToolUse")
            m_dialogIsOpen = opensDialog;
        else if (kind == "Stop" || kind == "UserPromptSubmit" || (kind.starts_with("PostToolUse") && opensDialog))
            m_dialogIsOpen = false;

        if (kind == "TaskCompleted" && payload.contains("task_id"))
            return nullptr;
        if (payload.value("notification_type", "") == "permission_prompt" && m_dialogIsOpen)
            return nullptr;
        if (payload.value("prompt", "").starts_with("<task-notification>"))
            payload.erase("prompt");
        if (payload.contains("tool_response") && !payload["tool_response"].is_object())
            payload["tool_response"] = { { "content", payload["tool_response"] } };
        if (payload.contains("tool_input") && payload["tool_input"].contains("description"))
            payload["tool_detail"] = payload["tool_input"]["description"];
        return payload;
    }

    /// Whether a hook that waits for this request learns by the event that it is over.
    [[nodiscard]] static bool isOver(const Json &request, const Json &event)
    {
        const std::string kind = event["hook_event_name"];
        if (kind == "Stop" || kind == "UserPromptSubmit")
            return !request.contains("agent_id") && !event.contains("agent_id");
        return kind.starts_with("PostToolUse") && request.value("agent_id", "") == event.value("agent_id", "") &&
               request["tool_name"] == event["tool_name"] && request["tool_input"] == event["tool_input"];
    }

private:
    bool m_dialogIsOpen { false };
};

class RecordedSequence : public test::SessionManagerFixture, public ::testing::WithParamInterface<Sequence>
{
protected:
    struct Request
    {
        Json payload;
        std::shared_ptr<test::FakeHookConnection> connection;
    };
    /// The lines of the recording, and the moments at which waiting hooks ended, by time.
    struct Moment
    {
        double time;
        std::size_t line;
        bool isEnd;
    };

    RecordedSequence()
    {
        QObject::connect(&held, &PendingPermissionStore::pendingChanged, &manager,
                         &SessionManager::heldRequestsChanged);
        std::ifstream file(sequencesFolder + '/' + GetParam().name + ".jsonl");
        for (std::string line; std::getline(file, line);)
            lines.push_back(Json::parse(line));
        for (std::size_t i = 0; i < lines.size(); ++i) {
            moments.push_back({ lines[i]["at"], i, false });
            moments.push_back({ lines[i]["until"], i, true });
        }
        std::ranges::stable_sort(moments, {}, &Moment::time);
    }

    void begin(std::size_t line)
    {
        const Json payload = script.treat(lines[line]["payload"]);
        if (payload.is_null())
            return;
        const HookEvent event = test::eventFromJson(payload.dump());
        sessionID = event.sessionID;
        if (asksForHeldPermission(event)) {
            requests[line] = { payload, std::make_shared<test::FakeHookConnection>() };
            held.add(event, requests[line].connection);
        }
        fanOut(event);
        for (const auto &[other, request] : requests) {
            if (HookScript::isOver(request.payload, payload))
                request.connection->closeFromPeer();
        }
    }
    void fanOut(const HookEvent &event)
    {
        const SessionPtr known = session(event.sessionID);
        const bool wasWaiting = known && known->state() == SessionState::needsPermission;
        handle(event);
        if (event.isInterrupt.value_or(false) && wasWaiting)
            held.dismissAll(event.sessionID, event.agentId);
        if (event.eventType() == HookEventType::sessionEnd || event.eventType() == HookEventType::taskCompleted)
            held.dismissAll(event.sessionID);
    }
    /// A waiting hook ends: the user has answered in Vantry, or it was killed.
    void end(std::size_t line)
    {
        const auto found = requests.find(line);
        if (found == requests.end())
            return;
        const Json answer = lines[line]["answer"];
        if (answer.is_null()) {
            found->second.connection->closeFromPeer();
            return;
        }
        const PendingPermission *first = held.firstHeld(sessionID);
        ASSERT_TRUE(first);
        ASSERT_EQ(first->connection, found->second.connection) << "the answer goes to the request that is shown";
        decide(*first, answer["hookSpecificOutput"]["decision"]);
        EXPECT_EQ(Json::parse(found->second.connection->body), answer);
    }
    void decide(const PendingPermission &request, const Json &decision)
    {
        const SessionPtr waiting = session(sessionID);
        ASSERT_EQ(waiting->state(), SessionState::needsPermission);
        const bool stops = decision.value("interrupt", false);
        if (decision.contains("updatedPermissions"))
            held.resolveAlwaysAllow(request.id, *request.event.permissionSuggestions);
        else if (stops)
            held.interrupt(request.id);
        else
            held.resolve(request.id,
                         decision["behavior"] == "allow" ? PermissionDecision::allow : PermissionDecision::deny);
        manager.answered(waiting, stops ? SessionState::ready : SessionState::working);
    }

    [[nodiscard]] char stateLetter() const
    {
        const SessionPtr shown = session(sessionID);
        if (!shown->isAlive())
            return 'F';
        switch (shown->state()) {
        case SessionState::working:
            return 'W';
        case SessionState::needsPermission:
            return 'P';
        case SessionState::hasQuestion:
            return 'Q';
        case SessionState::ready:
            return 'R';
        case SessionState::launching:
            break;
        }
        return '?';
    }
    void expectToolOfFirstRequest() const
    {
        const PendingPermission *first = held.firstHeld(sessionID);
        const SessionPtr shown = session(sessionID);
        if (!first || shown->state() != SessionState::needsPermission)
            return;
        EXPECT_EQ(shown->toolName(), first->event.toolName);
        if (first->event.toolDetail) {
            EXPECT_EQ(shown->toolDetail(), first->event.toolDetail);
        }
    }

    HookScript script;
    std::vector<Json> lines;
    std::vector<Moment> moments;
    std::map<std::size_t, Request> requests; ///< Held ones, by line.
    QString sessionID;
};

TEST_P(RecordedSequence, givesTheStatesThatAWatcherWouldName)
{
    std::string states;
    for (const Moment &moment : moments) {
        if (moment.isEnd) {
            ASSERT_NO_FATAL_FAILURE(end(moment.line));
        } else {
            begin(moment.line);
            states += stateLetter();
        }
        expectToolOfFirstRequest();
    }

    EXPECT_EQ(states, GetParam().states);
    EXPECT_TRUE(held.pending().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Recordings, RecordedSequence, ::testing::ValuesIn(sequences), [](const auto &instance) {
    std::string name = instance.param.name;
    std::ranges::replace(name, '-', '_');
    return name;
});

TEST(RecordedSequences, areAllReplayed)
{
    QStringList files =
        QDir(QString::fromStdString(sequencesFolder)).entryList({ QStringLiteral("*.jsonl") }, QDir::Files);
    QStringList named;
    for (const Sequence &sequence : sequences)
        named.append(QString::fromUtf8(sequence.name) + QStringLiteral(".jsonl"));
    files.sort();
    named.sort();

    EXPECT_EQ(files, named);
}

} // namespace
} // namespace vantry
