#pragma once

#include "platform/SecretStore.h"
#include "platform/linux/SessionBus.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>

#include <deque>
#include <functional>
#include <optional>

namespace vantry {

/// Keeps secrets in the Secret Service, whoever gives it, as items of its default collection with the attributes
/// "service" (com.vantry.app) and "account". One change after the other. Taking a secret away starts no service,
/// unlocks nothing and asks nobody: what is locked stays as it is.
class LinuxSecretStore final : public QObject, public SecretStore
{
    Q_OBJECT

public:
    /// An empty address is that of no bus.
    explicit LinuxSecretStore(const QString &busAddress = sessionBusAddress());

    void set(const QString &account, const QString &secret, Failed failed) override;

    /// What keeps secrets from being kept, if anything. Starts nobody, and asks with a connection of its own; waits a
    /// second for each of a few answers at most. Any thread.
    [[nodiscard]] static std::optional<Problem> problem(const QString &busAddress = sessionBusAddress());

private Q_SLOTS:
    void promptCompleted(bool isDismissed, const QDBusVariant &result);

private:
    struct Change
    {
        QString account;
        QString secret;
        Failed failed;
    };
    using Then = std::function<void(const QDBusMessage &reply)>;

    void beginNext();
    void finish(const std::optional<QString> &error);

    void keep();
    void unlock(const QDBusObjectPath &session, const QDBusObjectPath &collection);
    void createItem(const QDBusObjectPath &session, const QDBusObjectPath &collection);
    void takeAway();

    /// Calls the service and goes on with a good answer that has these types; any other ends the change.
    void call(const QDBusMessage &message, const QString &signature, const Then &then);
    /// Has the user asked, where the service wants that, and goes on when it is done.
    void askUser(const QDBusObjectPath &prompt, std::function<void()> then);

    BusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    std::deque<Change> m_changes; ///< The first is under way when `m_isBusy`.
    bool m_isBusy { false };
    int m_changeNumber { 0 }; ///< Of the change under way: answers for earlier ones come to nothing.
    QString m_prompt;         ///< What the user is asked by; empty: nothing.
    std::function<void()> m_afterPrompt;
};

} // namespace vantry
