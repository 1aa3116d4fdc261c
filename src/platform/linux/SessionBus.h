#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QLatin1StringView>
#include <QString>

namespace vantry {

// Names on the session bus. They are a promise to other programs.
namespace bus {
inline constexpr auto serviceName = "com.vantry.app";
inline constexpr auto objectPath = "/com/vantry/app";
inline constexpr auto sessionsInterface = "com.vantry.Sessions";
inline constexpr auto applicationInterface = "org.freedesktop.Application";
inline constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";
inline constexpr auto peerInterface = "org.freedesktop.DBus.Peer";
inline constexpr auto noSuchSession = "com.vantry.Error.NoSuchSession";
inline constexpr auto notPossible = "com.vantry.Error.NotPossible";
inline constexpr auto showAction = "show";
inline constexpr auto settingsAction = "settings";
inline constexpr auto quitAction = "quit";
} // namespace bus

/// Where the user's session bus listens: DBUS_SESSION_BUS_ADDRESS, else the bus in XDG_RUNTIME_DIR, else empty. None is
/// ever started: a bus that nobody else is on serves nobody.
[[nodiscard]] QString sessionBusAddress();

/// The bus's error for a name that nobody owns.
inline constexpr QLatin1StringView nameHasNoOwner { "org.freedesktop.DBus.Error.NameHasNoOwner" };
/// Whether the answer says that nobody has the name that was called.
[[nodiscard]] bool isNobodyThere(const QDBusMessage &error);
/// The call that asks the bus for the services that it starts when they are needed.
[[nodiscard]] QDBusMessage startableServicesCall();

/// One connection to a bus, closed with this object. Any thread, one at a time.
class BusConnection
{
public:
    /// An empty address gives a connection that isn't connected.
    explicit BusConnection(const QString &address);
    ~BusConnection();
    BusConnection(const BusConnection &) = delete;
    BusConnection &operator=(const BusConnection &) = delete;

    [[nodiscard]] bool isConnected() const { return m_connection.isConnected(); }
    [[nodiscard]] QDBusConnection &operator*() { return m_connection; }
    [[nodiscard]] QDBusConnection *operator->() { return &m_connection; }

private:
    QString m_name; ///< Under which Qt knows the connection.
    QDBusConnection m_connection;
};

} // namespace vantry
