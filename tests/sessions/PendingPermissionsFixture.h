#pragma once

#include "sessions/PendingPermissionStore.h"
#include "support/EventBuilder.h"
#include "support/FakeHookConnection.h"
#include "support/ManualClock.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"

#include <QStringList>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace vantry::test {

using ConnectionPtr = std::shared_ptr<FakeHookConnection>;

inline EventBuilder request(const QString &session = QStringLiteral("s"))
{
    return EventBuilder(HookEventType::permissionRequest).session(session).tool(QStringLiteral("Bash"));
}

/// A store of held permissions over fakes, which notes its callbacks and its signal as "change COUNT", "resolved
/// SESSION" and "changed SESSION".
class PendingPermissions : public ::testing::Test
{
protected:
    PendingPermissions()
    {
        store->onPendingChange = [this] { calls.append(QStringLiteral("change %1").arg(store->pending().size())); };
        store->onResolved = [this](const HookEvent &event, ResolutionOutcome outcome) {
            calls.append(QStringLiteral("resolved %1").arg(event.sessionID));
            outcomes.append(outcome);
        };
        QObject::connect(store.get(), &PendingPermissionStore::pendingChanged, store.get(),
                         [this](const QString &id) { calls.append(QStringLiteral("changed %1").arg(id)); });
    }

    ConnectionPtr add(const HookEvent &event)
    {
        auto connection = std::make_shared<FakeHookConnection>();
        store->add(event, connection);
        return connection;
    }
    /// Forgets what adding has called and logged.
    void forgetCalls()
    {
        calls.clear();
        log.clear();
    }
    [[nodiscard]] QUuid id(qsizetype index) const { return store->pending().at(index).id; }

    ManualClock clock;
    ManualScheduler scheduler { clock };
    RecordingLog log;
    std::unique_ptr<PendingPermissionStore> store = std::make_unique<PendingPermissionStore>(clock, scheduler, log);
    QStringList calls;
    QList<ResolutionOutcome> outcomes;
};

} // namespace vantry::test
