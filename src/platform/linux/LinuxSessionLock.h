#pragma once

#include "base/Scheduler.h"
#include "platform/SessionLock.h"
#include "platform/linux/SessionBus.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QSet>
#include <QVariantMap>

#include <functional>

namespace vantry {

/// The lock as the login manager tells it on the system bus, and the desktop's screen saver on the session bus: locked
/// is what either says is locked. Services that come later are asked then; for one that goes, nothing is locked.
/// Nobody is waited for, and no service is started. Main thread only.
class LinuxSessionLock final : public QObject, public SessionLock
{
    Q_OBJECT

public:
    /// Somebody wants the session to be locked: it counts as locked for so long, in which whoever does it says so. Not
    /// every desktop has anybody who does.
    static constexpr std::chrono::seconds requestHolds { 10 };

    /// An empty address is that of no bus. The scheduler must outlive this.
    explicit LinuxSessionLock(Scheduler &scheduler, const QString &sessionBus = sessionBusAddress(),
                              const QString &systemBus = systemBusAddress());

    [[nodiscard]] bool isLocked() const override { return m_wasLocked; }

    /// Where the machine's bus listens; empty when there is none.
    [[nodiscard]] static QString systemBusAddress();

private Q_SLOTS:
    // Found by name, as Qt connects signals of the bus.
    void lockRequested();
    void unlockRequested();
    void propertiesChanged(const QString &interface, const QVariantMap &changed, const QStringList &invalidated);
    void saverChanged(bool isActive, const QDBusMessage &signal);

private:
    using Answer = std::function<void(const QVariant &)>;

    void askForSession();
    void followSession(const QDBusObjectPath &session);
    void askForHint();
    void askSaver(const QString &service);
    void ask(BusConnection &bus, const QDBusMessage &question, const Answer &take);
    void setHint(bool isLocked);
    void setSaver(const QString &service, bool isActive);
    void update();

    Scheduler &m_scheduler;
    BusConnection m_sessionBus;
    BusConnection m_systemBus;
    QDBusServiceWatcher m_savers;
    QDBusServiceWatcher m_loginManager;
    QString m_session;        ///< The login manager's object for the user's session; empty as long as it is unknown.
    bool m_hint { false };    ///< What the login manager says.
    ScheduledTimer m_request; ///< Runs as long as a request to lock holds.
    QSet<QString> m_activeSavers; ///< Services.
    bool m_wasLocked { false };
};

} // namespace vantry
