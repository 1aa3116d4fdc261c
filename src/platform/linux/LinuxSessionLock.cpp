#include "platform/linux/LinuxSessionLock.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr auto loginManager = "org.freedesktop.login1"_L1;
constexpr auto loginManagerPath = "/org/freedesktop/login1"_L1;
constexpr auto managerInterface = "org.freedesktop.login1.Manager"_L1;
constexpr auto sessionInterface = "org.freedesktop.login1.Session"_L1;
constexpr auto lockedHint = "LockedHint"_L1;

/// A screen saver's service, whose interface has the same name.
struct Saver
{
    QLatin1StringView service;
    QLatin1StringView path;
};

constexpr std::array savers { Saver { "org.freedesktop.ScreenSaver"_L1, "/org/freedesktop/ScreenSaver"_L1 },
                              Saver { "org.gnome.ScreenSaver"_L1, "/org/gnome/ScreenSaver"_L1 },
                              Saver { "org.cinnamon.ScreenSaver"_L1, "/org/cinnamon/ScreenSaver"_L1 },
                              Saver { "org.mate.ScreenSaver"_L1, "/org/mate/ScreenSaver"_L1 },
                              Saver { "org.xfce.ScreenSaver"_L1, "/org/xfce/ScreenSaver"_L1 } };

const Saver *saverOf(const QString &service)
{
    const auto *found = std::ranges::find(savers, service, &Saver::service);
    return found == savers.end() ? nullptr : found;
}

/// False for what is no boolean at all.
bool isTrue(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<bool>() && value.toBool();
}

} // namespace

QString LinuxSessionLock::systemBusAddress()
{
    QString named = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    if (!named.isEmpty())
        return named;
    const QString socket = u"/run/dbus/system_bus_socket"_s;
    return QFileInfo::exists(socket) ? u"unix:path="_s + socket : QString();
}

LinuxSessionLock::LinuxSessionLock(Scheduler &scheduler, const QString &sessionBus, const QString &systemBus)
    : m_scheduler(scheduler)
    , m_sessionBus(sessionBus)
    , m_systemBus(systemBus)
{
    if (m_systemBus.isConnected()) {
        m_loginManager.setConnection(*m_systemBus);
        m_loginManager.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
        m_loginManager.addWatchedService(loginManager);
        connect(&m_loginManager, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString &, const QString &, const QString &owner) {
                    if (owner.isEmpty())
                        setHint(false);
                    else
                        askForSession();
                });
        askForSession();
    }
    if (m_sessionBus.isConnected()) {
        m_savers.setConnection(*m_sessionBus);
        m_savers.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
        connect(&m_savers, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString &service, const QString &, const QString &owner) {
                    if (owner.isEmpty())
                        setSaver(service, false);
                    else
                        askSaver(service);
                });
        for (const Saver &saver : savers) {
            m_savers.addWatchedService(saver.service);
            // Not every service sends this from the object that is asked.
            m_sessionBus->connect(saver.service, QString(), saver.service, u"ActiveChanged"_s, this,
                                  SLOT(saverChanged(bool, QDBusMessage)));
            askSaver(saver.service);
        }
    }
}

/// The one that this process belongs to, or, for a process of the user's own service manager, the one with a display.
void LinuxSessionLock::askForSession()
{
    auto question = QDBusMessage::createMethodCall(loginManager, loginManagerPath, managerInterface, u"GetSession"_s);
    question << u"auto"_s;
    ask(m_systemBus, question, [this](const QVariant &answer) { followSession(answer.value<QDBusObjectPath>()); });
}

void LinuxSessionLock::followSession(const QDBusObjectPath &session)
{
    if (session.path().isEmpty())
        return;
    if (session.path() != m_session) {
        const auto follow = [&](const QString &interface, const QString &signal, const char *slot, bool isWanted) {
            if (isWanted)
                m_systemBus->connect(loginManager, session.path(), interface, signal, this, slot);
            else
                m_systemBus->disconnect(loginManager, m_session, interface, signal, this, slot);
        };
        for (const bool isWanted : { false, true }) {
            if (!isWanted && m_session.isEmpty())
                continue;
            follow(sessionInterface, u"Lock"_s, SLOT(lockRequested()), isWanted);
            follow(sessionInterface, u"Unlock"_s, SLOT(unlockRequested()), isWanted);
            follow(QString::fromLatin1(bus::propertiesInterface), u"PropertiesChanged"_s,
                   SLOT(propertiesChanged(QString, QVariantMap, QStringList)), isWanted);
        }
        m_session = session.path();
    }
    askForHint();
}

void LinuxSessionLock::askForHint()
{
    auto question = QDBusMessage::createMethodCall(loginManager, m_session,
                                                   QString::fromLatin1(bus::propertiesInterface), u"Get"_s);
    question << QString(sessionInterface) << QString(lockedHint);
    ask(m_systemBus, question,
        [this](const QVariant &answer) { setHint(isTrue(answer.value<QDBusVariant>().variant())); });
}

void LinuxSessionLock::askSaver(const QString &service)
{
    const Saver *saver = saverOf(service);
    if (!saver)
        return;
    const auto question = QDBusMessage::createMethodCall(saver->service, saver->path, saver->service, u"GetActive"_s);
    ask(m_sessionBus, question, [this, service](const QVariant &answer) { setSaver(service, isTrue(answer)); });
}

void LinuxSessionLock::ask(BusConnection &bus, const QDBusMessage &question, const Answer &take)
{
    QDBusMessage call = question;
    call.setAutoStartService(false);
    auto *pending = new QDBusPendingCallWatcher(bus->asyncCall(call), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this, [pending, take] {
        pending->deleteLater();
        // Nobody there, or nobody who knows.
        if (!pending->isError())
            take(pending->reply().arguments().value(0));
    });
}

void LinuxSessionLock::lockRequested()
{
    m_request = m_scheduler.after(requestHolds, [this] { update(); });
    update();
}

void LinuxSessionLock::unlockRequested()
{
    m_request.cancel();
    update();
}

void LinuxSessionLock::propertiesChanged(const QString &interface, const QVariantMap &changed,
                                         const QStringList &invalidated)
{
    if (interface != sessionInterface)
        return;
    if (changed.contains(lockedHint))
        setHint(isTrue(changed.value(lockedHint)));
    else if (invalidated.contains(lockedHint))
        askForHint();
}

void LinuxSessionLock::saverChanged(bool isActive, const QDBusMessage &signal)
{
    setSaver(signal.interface(), isActive);
}

void LinuxSessionLock::setHint(bool isLocked)
{
    // Whoever does what was requested tells of it by this.
    if (m_hint && !isLocked)
        m_request.cancel();
    m_hint = isLocked;
    update();
}

void LinuxSessionLock::setSaver(const QString &service, bool isActive)
{
    if (isActive)
        m_activeSavers.insert(service);
    else if (m_activeSavers.remove(service))
        m_request.cancel();
    update();
}

void LinuxSessionLock::update()
{
    const bool isLocked = m_hint || m_request.isActive() || !m_activeSavers.isEmpty();
    if (std::exchange(m_wasLocked, isLocked) != isLocked && onChanged)
        onChanged();
}

} // namespace vantry
