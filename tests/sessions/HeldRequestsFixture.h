#pragma once

#include "sessions/SessionManagerFixture.h"

#include <memory>
#include <optional>

namespace vantry::test {

using ConnectionPtr = std::shared_ptr<FakeHookConnection>;
using Agent = std::optional<QString>;

inline const Agent mainAgent = std::nullopt;
inline const Agent helper = QStringLiteral("helper");
inline const Agent otherHelper = QStringLiteral("other-helper");

/// What is shown of a session while requests of it are held, with the store and the manager wired as in the program.
class HeldRequests : public SessionManagerFixture
{
protected:
    HeldRequests()
    {
        QObject::connect(&held, &PendingPermissionStore::pendingChanged, &manager,
                         &SessionManager::heldRequestsChanged);
        handle(EventBuilder(HookEventType::sessionStart));
        handle(EventBuilder(HookEventType::userPromptSubmit).prompt(QStringLiteral("go")));
    }

    static HookEvent from(const Agent &agent, HookEvent event)
    {
        event.agentId = agent;
        return event;
    }
    /// As the intake delivers one: held first, then fanned out.
    ConnectionPtr ask(const HookEvent &event)
    {
        auto connection = std::make_shared<FakeHookConnection>();
        held.add(event, connection);
        handle(event);
        return connection;
    }
    ConnectionPtr ask(const Agent &agent, const QString &tool, const QString &detail)
    {
        return ask(from(agent, EventBuilder(HookEventType::permissionRequest).tool(tool).detail(detail)));
    }
    ConnectionPtr askForBash(const Agent &agent) { return ask(agent, QStringLiteral("Bash"), QStringLiteral("ls")); }
    ConnectionPtr askForWrite(const Agent &agent)
    {
        return ask(agent, QStringLiteral("Write"), QStringLiteral("/tmp/file"));
    }

    void allow()
    {
        held.resolve(held.firstHeld(QStringLiteral("s"))->id, PermissionDecision::allow);
        manager.answered(session(), SessionState::working);
    }
    void denyAndStop()
    {
        held.interrupt(held.firstHeld(QStringLiteral("s"))->id);
        manager.answered(session(), SessionState::ready);
    }

    void expectShown(SessionState state, const std::optional<QString> &tool, const std::optional<QString> &detail) const
    {
        EXPECT_EQ(session()->state(), state);
        EXPECT_EQ(session()->toolName(), tool);
        EXPECT_EQ(session()->toolDetail(), detail);
        EXPECT_EQ(store.rows[QStringLiteral("s")].state, state) << "stored as shown";
        EXPECT_EQ(store.rows[QStringLiteral("s")].toolName, tool) << "stored as shown";
    }
    void expectBashWaits() const
    {
        expectShown(SessionState::needsPermission, QStringLiteral("Bash"), QStringLiteral("ls"));
    }
    void expectWriteWaits() const
    {
        expectShown(SessionState::needsPermission, QStringLiteral("Write"), QStringLiteral("/tmp/file"));
    }
};

} // namespace vantry::test
