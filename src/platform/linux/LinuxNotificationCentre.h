#pragma once

#include "platform/NotificationCentre.h"
#include "platform/linux/NotificationServer.h"
#include "platform/linux/SessionBus.h"

#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QObject>

#include <cstdint>
#include <functional>
#include <vector>

namespace vantry {

/// Notifications of the desktop's server on the session bus. Servers may come, hang, end and come back: what was shown
/// by one that has gone counts as closed. A server that isn't there is started by the first notification, where the
/// desktop has one to start. What is shown goes with this object. Main thread only.
class LinuxNotificationCentre final : public QObject, public NotificationCentre
{
    Q_OBJECT

public:
    /// An empty address is that of no bus.
    explicit LinuxNotificationCentre(const QString &busAddress = sessionBusAddress());
    ~LinuxNotificationCentre() override;

    void setDelegate(Delegate *delegate) override { m_delegate = delegate; }
    void setCategories(const QList<Category> &categories) override { m_categories = categories; }
    void requestAuthorization(Authorized done) override;
    void requestStatus(StatusKnown known) override;
    void add(const Request &request, Failed failed) override;
    void remove(const QString &identifier) override;
    [[nodiscard]] Server server() const override { return m_server; }

private Q_SLOTS:
    // Found by name, as Qt connects signals of the bus.
    void takeToken(uint id, const QString &token);
    void takeAction(uint id, const QString &action);
    void takeClosing(uint id, uint reason);

private:
    enum class Stage {
        Waiting, ///< For the server's capabilities.
        Sent,
        Unwanted, ///< Sent, and to be closed once it is known how.
        Shown,
    };
    struct Entry
    {
        std::uint64_t number; ///< Ours.
        Request request;
        Failed failed;
        Stage stage { Stage::Waiting };
        uint id { 0 }; ///< The server's; of one that is shown.
        QString activationToken {};
    };
    using Entries = std::vector<Entry>;
    using Answered = std::function<void(const QDBusMessage &answer)>;

    /// Sends the call and takes the answer, which may be an error, later. One of a server that has gone is dropped.
    void call(const QDBusMessage &message, Answered answered);
    void askForCapabilities(bool startsServer);
    void takeCapabilities(const QStringList &capabilities);
    void serverFailed(const QDBusMessage &error);
    void tellServer();
    void settleAuthorization(bool isGranted, const std::optional<QString> &error);
    void ownerChanged(const QString &newOwner);
    void forgetShown();
    void sendWaiting();
    void failWaiting(const QString &error);
    void send(Entry &entry);
    void sent(std::uint64_t number, const QDBusMessage &answer);
    void close(uint id);
    [[nodiscard]] bool can(QLatin1StringView capability) const;
    [[nodiscard]] QStringList actionsOf(const Request &request) const;
    [[nodiscard]] QVariantList argumentsOf(const Request &request) const;
    [[nodiscard]] Entries::iterator findNumber(std::uint64_t number);
    [[nodiscard]] Entries::iterator findShown(uint id);

    BusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    Delegate *m_delegate { nullptr };
    QList<Category> m_categories;
    Server m_server;
    Server m_toldServer; ///< That somebody was told of last.
    Entries m_entries;   ///< In the order in which they were added.
    std::uint64_t m_lastNumber { 0 };
    QHash<uint, QString> m_earlyActions; ///< By the server's number; pressed before its answer has been taken.
    std::vector<Authorized> m_authorizing;
    int m_generation { 0 }; ///< Of the server: what one answers means nothing to the next.
    bool m_isAsking { false };
};

} // namespace vantry
