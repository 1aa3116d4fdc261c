#pragma once

#include "platform/ControlEndpoint.h"
#include "platform/linux/SessionBus.h"

#include <QObject>

#include <memory>
#include <optional>

namespace vantry {

class SessionsAdaptor;

/// The control interface on the user's session bus: the name com.vantry.app, the object /com/vantry/app. A bus that
/// goes away leaves the application running, out of reach. Main thread only.
class DBusControlEndpoint final : public ControlEndpoint
{
public:
    /// The longest text that goes out in one message, in UTF-16 units: a bus ends the connection of whoever sends a
    /// message of more than 128 MiB.
    static constexpr qsizetype maximumTextLength = 32 * 1024 * 1024;

    explicit DBusControlEndpoint(QString address = sessionBusAddress());
    ~DBusControlEndpoint() override;

    Publication publish(ControlRequests &requests) override;
    void withdraw() override;
    /// A session whose text is longer than `maximumTextLength` isn't announced.
    void announceChanged(const QString &sessionJson) override;
    void announceRemoved(const QString &sessionID) override;
    void announceListening(bool listening) override;
    void announceBackfill(std::uint32_t done, std::uint32_t total) override;

private:
    const QString m_address;
    std::optional<BusConnection> m_bus;
    std::unique_ptr<QObject> m_object; ///< What is registered; owns the adaptors.
    SessionsAdaptor *m_sessions { nullptr };
};

} // namespace vantry
