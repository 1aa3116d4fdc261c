#pragma once

#include "platform/ControlClient.h"
#include "platform/linux/SessionBus.h"

#include <QDBusMessage>
#include <QObject>
#include <QVariantList>
#include <QVariantMap>

#include <chrono>

namespace vantry {

/// Reaches the running application over the user's session bus. Starts none. Main thread only.
class DBusControlClient final : public QObject, public ControlClient
{
    Q_OBJECT

public:
    /// How long one call may take: the application's main thread never waits this long; terminals, which it asks one
    /// after the other when it launches an agent, have two seconds each.
    static constexpr std::chrono::milliseconds usualPatience { 20'000 };

    explicit DBusControlClient(const QString &address = sessionBusAddress(),
                               std::chrono::milliseconds patience = usualPatience);

    [[nodiscard]] bool isConnected() const override { return m_bus.isConnected(); }
    [[nodiscard]] std::variant<QString, ControlFailure> list() override;
    [[nodiscard]] std::optional<ControlFailure> allow(const QString &sessionID) override;
    [[nodiscard]] std::optional<ControlFailure> deny(const QString &sessionID, bool stop) override;
    [[nodiscard]] std::optional<ControlFailure> alwaysAllow(const QString &sessionID) override;
    [[nodiscard]] std::optional<ControlFailure> answer(const QString &sessionID, int index) override;
    [[nodiscard]] std::optional<ControlFailure> send(const QString &sessionID, const QString &text) override;
    [[nodiscard]] std::optional<ControlFailure> focus(const QString &sessionID) override;
    [[nodiscard]] std::optional<ControlFailure> kill(const QString &sessionID) override;
    [[nodiscard]] std::optional<ControlFailure>
    launch(const QString &path, const QString &mode, const QString &sessionID, const QString &permissionMode) override;
    [[nodiscard]] std::optional<ControlFailure> activate() override;
    [[nodiscard]] std::optional<ControlFailure> showPanel() override;
    [[nodiscard]] std::optional<ControlFailure> showSettings() override;
    [[nodiscard]] std::optional<ControlFailure> quit() override;
    void follow(Listener listener) override;

private Q_SLOTS:
    // Found by name, as Qt connects signals of the bus.
    void changed(const QString &sessionJson);
    void removed(const QString &sessionID);
    void backfill(uint done, uint total);
    void propertiesChanged(const QString &interface, const QVariantMap &values, const QStringList &invalidated);
    void ownerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);
    void disconnected();

private:
    [[nodiscard]] QDBusMessage call(const char *interface, const char *method, const QVariantList &arguments);
    [[nodiscard]] std::optional<ControlFailure> action(const char *name);
    [[nodiscard]] std::optional<ControlFailure> command(const char *interface, const char *method,
                                                        const QVariantList &arguments);

    BusConnection m_bus;
    const std::chrono::milliseconds m_patience;
    Listener m_listener;
};

} // namespace vantry
