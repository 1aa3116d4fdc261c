#pragma once

#include "app/demo/DemoScene.h"
#include "base/Clock.h"
#include "base/Scheduler.h"
#include "hooks/HookConnection.h"
#include "hooks/HookEvent.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <memory>
#include <optional>

namespace vantry::demo {

class HeldCall;

/// An agent that isn't there: plays a scene, writes its transcript, tells its events, waits for answers and takes what
/// is typed. Main thread only.
class Agent
{
public:
    /// Where its events go, as if they had come in over HTTP.
    struct Hooks
    {
        std::function<void(const HookEvent &)> event;
        std::function<void(const HookEvent &, HookConnectionPtr)> permissionRequest;
    };

    struct Identity
    {
        QString sessionID;
        std::int64_t pid { 0 };
        QString directory;  ///< Of the project.
        QString transcript; ///< The file; its folder is there.
    };

    Agent(Scene scene, Identity identity, Hooks hooks, Scheduler &scheduler, const Clock &clock);
    ~Agent();

    void start();
    [[nodiscard]] const Identity &identity() const { return m_identity; }

    /// A line was typed and submitted in its terminal: the number of an option while a question waits, else a prompt.
    void submit(const QString &line);
    /// Its process was ended.
    void end();

private:
    struct Call
    {
        ToolCall tool;
        QString id;
    };

    void scheduleNext(std::chrono::milliseconds delay);
    void playNext();
    void play(const Prompt &prompt);
    void play(const Reply &reply);
    void play(const ToolCall &call);
    void play(const AskPermission &request);
    void play(const AskQuestion &question);
    void play(const EndTurn &);

    void answered(const std::string &body);
    void finishCall(bool wasDone);
    void interrupt();

    [[nodiscard]] nlohmann::json eventOf(const char *name) const;
    void post(const nlohmann::json &event);
    void beginCall(const ToolCall &call, const nlohmann::json &input);
    void writeLine(const char *type, nlohmann::json message);
    void writeUserText(const QString &text);
    void writeAssistant(nlohmann::json block);

    const Scene m_scene;
    const Identity m_identity;
    const Hooks m_hooks;
    Scheduler &m_scheduler;
    const Clock &m_clock;
    std::vector<Step> m_steps;
    std::size_t m_next { 0 };
    int m_contextUsed;
    QString m_lastReply;
    std::optional<Call> m_call;            ///< What is under way.
    std::optional<AskQuestion> m_question; ///< What waits for an answer.
    std::shared_ptr<HeldCall> m_held;      ///< While a permission is waited for.
    ScheduledTimer m_timer;
};

} // namespace vantry::demo
