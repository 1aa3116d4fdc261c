#include "app/demo/DemoAgent.h"

#include "base/Dates.h"

#include <QFile>
#include <QUuid>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace vantry::demo {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using nlohmann::json;

/// The connection of a permission request, with nobody at its end but the agent here. The answer is given on the main
/// thread, where everything of the demonstration runs.
class HeldCall final : public HookConnection
{
public:
    explicit HeldCall(std::function<void(const std::string &)> onAnswer)
        : m_onAnswer(std::move(onAnswer))
    {}

    void respond(std::string_view, std::string body) override
    {
        if (const auto onAnswer = end())
            onAnswer(body);
    }
    void cancel() override { end(); }
    void watch(std::function<void()> onGone) override { m_onGone = std::move(onGone); }
    [[nodiscard]] bool isGone() const override { return m_isGone; }

    /// The agent no longer waits.
    void leave()
    {
        end();
        if (const auto onGone = std::exchange(m_onGone, {}))
            onGone();
    }

private:
    std::function<void(const std::string &)> end()
    {
        m_isGone = true;
        return std::exchange(m_onAnswer, {});
    }

    std::function<void(const std::string &)> m_onAnswer;
    std::function<void()> m_onGone;
    bool m_isGone { false };
};

namespace {

constexpr int contextTokens = 200'000;

std::string utf8(const QString &text)
{
    return text.toStdString();
}

QString newID()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

json inputOf(const ToolCall &call)
{
    return { { utf8(call.key), utf8(call.value) } };
}

json inputOf(const AskQuestion &question)
{
    json options = json::array();
    for (const QString &option : question.options)
        options.push_back({ { "label", utf8(option) } });
    return { { "questions",
               { { { "question", utf8(question.question) }, { "multiSelect", false }, { "options", options } } } } };
}

} // namespace

Agent::Agent(Scene scene, Identity identity, Hooks hooks, Scheduler &scheduler, const Clock &clock)
    : m_scene(std::move(scene))
    , m_identity(std::move(identity))
    , m_hooks(std::move(hooks))
    , m_scheduler(scheduler)
    , m_clock(clock)
    , m_steps(m_scene.steps)
    , m_contextUsed(m_scene.contextUsed)
{}

Agent::~Agent() = default;

void Agent::start()
{
    post(eventOf("SessionStart"));
    scheduleNext(0ms);
}

void Agent::submit(const QString &line)
{
    if (m_question) {
        bool isNumber = false;
        const qsizetype number = line.toLongLong(&isNumber);
        const bool isOption = isNumber && number >= 1 && number <= m_question->options.size();
        const QString answer = isOption ? m_question->options[number - 1] : line;
        m_question.reset();
        finishCall(true);
        writeUserText(answer);
        scheduleNext(1s);
        return;
    }
    if (m_held || line.isEmpty())
        return;
    m_steps = stepsForPrompt();
    m_steps.insert(m_steps.begin(), { 0s, Prompt { line } });
    m_next = 0;
    scheduleNext(0ms);
}

void Agent::end()
{
    m_timer.cancel();
    if (const auto held = std::exchange(m_held, {}))
        held->leave();
}

void Agent::scheduleNext(std::chrono::milliseconds delay)
{
    std::chrono::milliseconds wait = delay;
    if (m_next == m_steps.size()) {
        m_steps = m_scene.steps;
        m_next = 0;
        m_contextUsed = m_scene.contextUsed;
        wait += m_scene.rest;
    }
    if (m_next < m_steps.size())
        m_timer = m_scheduler.after(wait + m_steps[m_next].after, [this] { playNext(); });
}

void Agent::playNext()
{
    finishCall(true);
    const Step step = m_steps[m_next++];
    std::visit([this](const auto &what) { play(what); }, step.what);
}

void Agent::play(const Prompt &prompt)
{
    writeUserText(prompt.text);
    json event = eventOf("UserPromptSubmit");
    event["prompt"] = utf8(prompt.text);
    post(event);
    scheduleNext(0ms);
}

void Agent::play(const Reply &reply)
{
    m_lastReply = reply.text;
    writeAssistant({ { "type", "text" }, { "text", utf8(reply.text) } });
    scheduleNext(0ms);
}

void Agent::play(const ToolCall &call)
{
    beginCall(call, inputOf(call));
    scheduleNext(700ms);
}

void Agent::play(const AskPermission &request)
{
    beginCall(request.call, inputOf(request.call));
    json event = eventOf("PermissionRequest");
    event["tool_name"] = utf8(request.call.tool);
    event["tool_input"] = inputOf(request.call);
    event["tool_detail"] = utf8(request.call.value);
    event["tool_use_id"] = utf8(m_call->id);
    if (request.suggestsRule) {
        event["permission_suggestions"] = { { { "type", "addRules" },
                                              { "behavior", "allow" },
                                              { "destination", "localSettings" },
                                              { "rules", { { { "toolName", utf8(request.call.tool) } } } } } };
    }
    // The answer is written while its giver is still at work: the agent reads it afterwards.
    m_held = std::make_shared<HeldCall>(
        [this](const std::string &body) { m_timer = m_scheduler.after(0ms, [this, body] { answered(body); }); });
    const auto decoded = HookEvent::decode(event.dump());
    if (const auto *value = std::get_if<HookEvent>(&decoded)) {
        m_hooks.permissionRequest(*value, m_held);
        m_hooks.event(*value);
    }
}

void Agent::play(const AskQuestion &question)
{
    m_question = question;
    beginCall({ u"AskUserQuestion"_s, {}, question.question }, inputOf(question));
}

void Agent::play(const EndTurn &)
{
    json event = eventOf("Stop");
    event["last_assistant_message"] = utf8(m_lastReply);
    post(event);
    scheduleNext(0ms);
}

void Agent::answered(const std::string &body)
{
    m_held.reset();
    const json answer = json::parse(body, nullptr, false);
    const json decision =
        answer.is_object() ? answer.value("/hookSpecificOutput/decision"_json_pointer, json::object()) : json::object();
    if (decision.value("behavior", "") == "allow") {
        scheduleNext(0ms);
        return;
    }
    finishCall(false);
    if (decision.value("interrupt", false)) {
        interrupt();
        return;
    }
    m_steps = { { 1s, Reply { u"Understood, I leave that out."_s } }, { 500ms, EndTurn {} } };
    m_next = 0;
    scheduleNext(0ms);
}

void Agent::interrupt()
{
    writeUserText(u"[Request interrupted by user]"_s);
    m_next = m_steps.size();
    scheduleNext(0ms);
}

void Agent::finishCall(bool wasDone)
{
    const auto call = std::exchange(m_call, {});
    if (!call)
        return;
    writeLine("user", { { "role", "user" },
                        { "content",
                          { { { "type", "tool_result" },
                              { "tool_use_id", utf8(call->id) },
                              { "is_error", !wasDone },
                              { "content", "" } } } } });
    json event = eventOf(wasDone ? "PostToolUse" : "PostToolUseFailure");
    event["tool_name"] = utf8(call->tool.tool);
    event["tool_use_id"] = utf8(call->id);
    post(event);
}

json Agent::eventOf(const char *name) const
{
    return { { "session_id", utf8(m_identity.sessionID) },
             { "hook_event_name", name },
             { "cwd", utf8(m_identity.directory) },
             { "project_dir", utf8(m_identity.directory) },
             { "transcript_path", utf8(m_identity.transcript) },
             { "terminal_type", "demo" },
             { "terminal_session_id", utf8(m_identity.sessionID) },
             { "pid", m_identity.pid } };
}

void Agent::post(const json &event)
{
    const auto decoded = HookEvent::decode(event.dump());
    if (const auto *value = std::get_if<HookEvent>(&decoded))
        m_hooks.event(*value);
}

void Agent::beginCall(const ToolCall &call, const json &input)
{
    m_call = Call { call, newID() };
    writeAssistant(
        { { "type", "tool_use" }, { "id", utf8(m_call->id) }, { "name", utf8(call.tool) }, { "input", input } });
    json event = eventOf("PreToolUse");
    event["tool_name"] = utf8(call.tool);
    event["tool_input"] = input;
    event["tool_detail"] = utf8(call.value);
    event["tool_use_id"] = utf8(m_call->id);
    post(event);
}

void Agent::writeLine(const char *type, json message)
{
    const json line = { { "type", type },
                        { "uuid", utf8(newID()) },
                        { "sessionId", utf8(m_identity.sessionID) },
                        { "cwd", utf8(m_identity.directory) },
                        { "gitBranch", utf8(m_scene.branch) },
                        { "timestamp", utf8(isoMilliseconds(m_clock.now())) },
                        { "message", std::move(message) } };
    QFile file(m_identity.transcript);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(QByteArray::fromStdString(line.dump() + "\n"));
}

void Agent::writeUserText(const QString &text)
{
    writeLine("user", { { "role", "user" }, { "content", utf8(text) } });
}

void Agent::writeAssistant(json block)
{
    m_contextUsed = std::min(m_contextUsed + 1, 97);
    writeLine("assistant", { { "role", "assistant" },
                             { "content", json::array({ std::move(block) }) },
                             { "usage", { { "input_tokens", m_contextUsed * contextTokens / 100 } } } });
}

} // namespace vantry::demo
