#include "platform/linux/LinuxSessionLock.h"

#include "PrivateBus.h"
#include "support/ManualScheduler.h"
#include "support/WaitFor.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusVariant>
#include <QDBusVirtualObject>

#include <gmock/gmock.h>

#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

const QString loginManager = u"org.freedesktop.login1"_s;
const QString sessionPath = u"/org/freedesktop/login1/session/_37"_s;
const QString sessionInterface = u"org.freedesktop.login1.Session"_s;

/// The login manager, with the user's session, which a test locks.
class FakeLoginManager final : public QDBusVirtualObject
{
public:
    explicit FakeLoginManager(const QString &busAddress)
        : m_bus(busAddress)
    {
        EXPECT_TRUE(m_bus->registerVirtualObject(u"/org/freedesktop/login1"_s, this, QDBusConnection::SubPath));
    }
    ~FakeLoginManager() override
    {
        m_bus->unregisterObject(u"/org/freedesktop/login1"_s, QDBusConnection::UnregisterTree);
    }

    void appear() { EXPECT_TRUE(m_bus->registerService(loginManager)); }
    void vanish() { EXPECT_TRUE(m_bus->unregisterService(loginManager)); }
    void ask(const QString &signal) { m_bus->send(QDBusMessage::createSignal(sessionPath, sessionInterface, signal)); }
    void setHint(bool isLocked)
    {
        hint = isLocked;
        changed(sessionInterface, { { u"LockedHint"_s, isLocked } }, {});
    }
    void changed(const QString &interface, const QVariantMap &values, const QStringList &names)
    {
        auto signal = QDBusMessage::createSignal(sessionPath, QString::fromLatin1(bus::propertiesInterface),
                                                 u"PropertiesChanged"_s);
        signal << interface << values << names;
        m_bus->send(signal);
    }

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        ++asked;
        if (isSilent)
            return true;
        if (message.member() == u"GetSession")
            return connection.send(hasSession
                                       ? message.createReply(QVariant::fromValue(QDBusObjectPath(sessionPath)))
                                       : message.createErrorReply(u"org.freedesktop.login1.NoSuchSession"_s, u"no"_s));
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(hint))));
    }

    QVariant hint { false };
    bool hasSession { true };
    bool isSilent { false };
    int asked { 0 };

private:
    BusConnection m_bus;
};

/// A screen saver's service.
class FakeSaver final : public QDBusVirtualObject
{
public:
    FakeSaver(const QString &busAddress, const QString &service, const QString &path)
        : m_service(service)
        , m_path(path)
        , m_bus(busAddress)
    {
        EXPECT_TRUE(m_bus->registerVirtualObject(path, this));
    }
    ~FakeSaver() override { m_bus->unregisterObject(m_path); }

    void appear() { EXPECT_TRUE(m_bus->registerService(m_service)); }
    void vanish() { EXPECT_TRUE(m_bus->unregisterService(m_service)); }
    void set(bool active)
    {
        isActive = active;
        auto signal = QDBusMessage::createSignal(m_path, m_service, u"ActiveChanged"_s);
        signal << active;
        m_bus->send(signal);
    }

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        return connection.send(message.createReply(isActive));
    }

    QVariant isActive { false };

private:
    const QString m_service;
    const QString m_path;
    BusConnection m_bus;
};

class LinuxSessionLockTest : public ::testing::Test
{
protected:
    void watch()
    {
        lock.emplace(scheduler, bus.address(), bus.address());
        lock->onChanged = [this] { told.append(lock->isLocked()); };
    }
    [[nodiscard]] bool waitUntil(bool isLocked)
    {
        return waitFor([&] { return lock->isLocked() == isLocked; });
    }
    PrivateBus bus;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    FakeLoginManager manager { bus.address() };
    FakeSaver saver { bus.address(), u"org.freedesktop.ScreenSaver"_s, u"/org/freedesktop/ScreenSaver"_s };
    FakeSaver gnome { bus.address(), u"org.gnome.ScreenSaver"_s, u"/org/gnome/ScreenSaver"_s };
    std::optional<LinuxSessionLock> lock;
    QList<bool> told;
};

TEST_F(LinuxSessionLockTest, isNotLockedWithoutABus)
{
    const LinuxSessionLock without(scheduler, {}, {});
    EXPECT_FALSE(without.isLocked());
    const LinuxSessionLock unreachable(scheduler, u"unix:path=/nowhere"_s, u"nonsense"_s);
    EXPECT_FALSE(unreachable.isLocked());
}

TEST_F(LinuxSessionLockTest, isNotLockedWithoutServices)
{
    watch();
    for (int turn = 0; turn < 20; ++turn)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);

    EXPECT_FALSE(lock->isLocked());
    EXPECT_TRUE(told.isEmpty());
}

TEST_F(LinuxSessionLockTest, asksTheLoginManagerAtFirst)
{
    manager.hint = true;
    manager.appear();
    watch();

    EXPECT_TRUE(waitUntil(true));
    EXPECT_EQ(told, QList { true });
}

TEST_F(LinuxSessionLockTest, followsTheLoginManager)
{
    manager.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return manager.asked == 2; }));

    manager.setHint(true);
    ASSERT_TRUE(waitUntil(true));
    manager.setHint(false);
    EXPECT_TRUE(waitUntil(false));
    EXPECT_EQ(told, (QList { true, false }));
}

TEST_F(LinuxSessionLockTest, asksAgainForAHintThatIsOnlySaidToHaveChanged)
{
    manager.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return manager.asked == 2; }));

    manager.hint = true;
    manager.changed(sessionInterface, {}, { u"LockedHint"_s });

    EXPECT_TRUE(waitUntil(true));
}

TEST_F(LinuxSessionLockTest, ignoresOtherPropertiesAndOtherInterfaces)
{
    manager.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return manager.asked == 2; }));

    manager.changed(sessionInterface, { { u"IdleHint"_s, true } }, {});
    manager.changed(u"org.example.Session"_s, { { u"LockedHint"_s, true } }, {});
    manager.setHint(true);
    ASSERT_TRUE(waitUntil(true));

    EXPECT_EQ(told, QList { true });
}

TEST_F(LinuxSessionLockTest, takesARequestForALockUntilItIsTakenBack)
{
    manager.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return manager.asked == 2; }));

    manager.ask(u"Lock"_s);
    ASSERT_TRUE(waitUntil(true));
    manager.ask(u"Unlock"_s);
    EXPECT_TRUE(waitUntil(false));
}

TEST_F(LinuxSessionLockTest, forgetsARequestThatNobodyCarriesOut)
{
    manager.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return manager.asked == 2; }));
    manager.ask(u"Lock"_s);
    ASSERT_TRUE(waitUntil(true));

    scheduler.advance(LinuxSessionLock::requestHolds - 1ms);
    EXPECT_TRUE(lock->isLocked());
    scheduler.advance(1ms);
    EXPECT_FALSE(lock->isLocked());
}

TEST_F(LinuxSessionLockTest, keepsARequestThatSomebodyHasCarriedOut)
{
    manager.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return manager.asked == 2; }));
    manager.ask(u"Lock"_s);
    ASSERT_TRUE(waitUntil(true));
    manager.setHint(true);
    manager.changed(sessionInterface, {}, { u"LockedHint"_s });
    ASSERT_TRUE(waitFor([this] { return manager.asked == 3; }));
    scheduler.advance(60s);
    EXPECT_TRUE(lock->isLocked());

    manager.setHint(false);
    EXPECT_TRUE(waitUntil(false));
}

TEST_F(LinuxSessionLockTest, isUnlockedAtOnceByTheOneWhoLocked)
{
    manager.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return manager.asked == 2; }));
    manager.ask(u"Lock"_s);
    manager.setHint(true);
    ASSERT_TRUE(waitUntil(true));

    manager.setHint(false);

    EXPECT_TRUE(waitUntil(false));
}

TEST_F(LinuxSessionLockTest, findsServicesThatComeLater)
{
    watch();
    manager.hint = true;
    manager.appear();
    ASSERT_TRUE(waitUntil(true));

    manager.vanish();
    ASSERT_TRUE(waitUntil(false));
    gnome.isActive = true;
    gnome.appear();
    ASSERT_TRUE(waitUntil(true));
    gnome.vanish();
    EXPECT_TRUE(waitUntil(false));
}

TEST_F(LinuxSessionLockTest, followsTheScreenSavers)
{
    saver.appear();
    gnome.appear();
    watch();

    saver.set(true);
    ASSERT_TRUE(waitUntil(true));
    gnome.set(true);
    saver.set(false);
    gnome.set(false);
    EXPECT_TRUE(waitUntil(false));
    EXPECT_EQ(told, (QList { true, false }));
}

TEST_F(LinuxSessionLockTest, staysLockedAsLongAsOneSaysSo)
{
    manager.appear();
    saver.isActive = true;
    saver.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return lock->isLocked() && manager.asked == 2; }));
    manager.setHint(true);
    // When this is asked for, that has been heard.
    manager.changed(sessionInterface, {}, { u"LockedHint"_s });
    ASSERT_TRUE(waitFor([this] { return manager.asked == 3; }));

    saver.vanish();
    manager.setHint(false);

    EXPECT_TRUE(waitUntil(false));
    EXPECT_EQ(told, (QList { true, false }));
}

TEST_F(LinuxSessionLockTest, takesOddAnswersForNone)
{
    manager.hint = u"rubbish"_s;
    manager.appear();
    saver.isActive = QStringList { u"rubbish"_s };
    saver.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return manager.asked == 2; }));

    manager.setHint(true);
    EXPECT_TRUE(waitUntil(true)) << "it listens on";
    EXPECT_EQ(told, QList { true });
}

TEST_F(LinuxSessionLockTest, bearsALoginManagerWithoutASession)
{
    manager.hasSession = false;
    manager.appear();
    watch();
    ASSERT_TRUE(waitFor([this] { return manager.asked == 1; }));

    gnome.appear();
    gnome.set(true);

    EXPECT_TRUE(waitUntil(true));
}

TEST_F(LinuxSessionLockTest, waitsForNobodyWhoIsSilent)
{
    manager.isSilent = true;
    manager.appear();
    watch();

    EXPECT_FALSE(lock->isLocked());
    lock.reset();
}

} // namespace
} // namespace vantry::test
