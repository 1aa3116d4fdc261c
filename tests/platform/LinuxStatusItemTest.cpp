#include "platform/linux/LinuxStatusItem.h"

#include "PrivateBus.h"
#include "platform/linux/TrayHosts.h"
#include "support/ManualScheduler.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>

#include <gmock/gmock.h>

#include <future>
#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The watcher of trays on the bus, with or without a host that shows icons.
class FakeTrays final : public QDBusVirtualObject
{
public:
    explicit FakeTrays(const QString &address, bool withHost = true)
        : hasHost(withHost)
        , m_bus(address)
    {
        EXPECT_TRUE(m_bus->registerVirtualObject(path(), this));
        EXPECT_TRUE(m_bus->registerService(QString::fromLatin1(statusNotifierWatcher)));
    }
    ~FakeTrays() override { m_bus->unregisterObject(path()); }

    void hostComes()
    {
        hasHost = true;
        m_bus->send(QDBusMessage::createSignal(path(), QString::fromLatin1(statusNotifierWatcher),
                                               u"StatusNotifierHostRegistered"_s));
    }
    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(hasHost))));
    }

    bool hasHost;

private:
    static QString path() { return QString::fromLatin1(statusNotifierWatcherPath); }

    BusConnection m_bus;
};

/// An icon on a display in memory, where there is no tray but what the test puts on the bus.
class LinuxStatusItemTest : public ::testing::Test
{
protected:
    LinuxStatusItemTest() { make(bus.address()); }

    void make(const QString &address)
    {
        item.emplace(scheduler, address);
        item->onTrayFound = [this] { ++found; };
        item->onNoTray = [this] { ++missed; };
    }
    template <typename Condition>
    [[nodiscard]] static bool eventually(Condition condition)
    {
        QElapsedTimer timer;
        timer.start();
        while (!condition() && timer.elapsed() < 20'000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        return condition();
    }
    /// Lets everything that was asked be answered.
    void settle()
    {
        BusConnection other(bus.address());
        (void)other->interface()->isServiceRegistered(u"com.example.Nobody"_s);
        for (int turn = 0; turn < 20; ++turn)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }

    PrivateBus bus;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    std::optional<LinuxStatusItem> item;
    int found { 0 };
    int missed { 0 };
};

TEST_F(LinuxStatusItemTest, takesATrayThatIsThere)
{
    const FakeTrays tray(bus.address());

    item->setVisible(true);

    EXPECT_TRUE(eventually([this] { return found == 1; }));
    EXPECT_TRUE(item->hasTray());
    scheduler.advance(10s);
    EXPECT_EQ(missed, 0);
}

TEST_F(LinuxStatusItemTest, looksForNoTrayBeforeItIsToBeShown)
{
    const FakeTrays tray(bus.address());

    settle();
    scheduler.advance(10s);

    EXPECT_EQ(found, 0);
    EXPECT_EQ(missed, 0);
    EXPECT_FALSE(item->hasTray());
}

TEST_F(LinuxStatusItemTest, saysOnceThatThereIsNoTrayAndGoesOnWaiting)
{
    item->setVisible(true);
    settle();
    scheduler.advance(LinuxStatusItem::patience - 1ms);
    EXPECT_EQ(missed, 0);

    scheduler.advance(1min);
    item->setVisible(false);
    item->setVisible(true);
    scheduler.advance(1min);
    EXPECT_EQ(missed, 1);
    EXPECT_FALSE(item->hasTray());

    const FakeTrays tray(bus.address());
    EXPECT_TRUE(eventually([this] { return found == 1; }));
    EXPECT_TRUE(item->hasTray());
}

TEST_F(LinuxStatusItemTest, knowsWhenItsTrayHasGone)
{
    item->setVisible(true);
    {
        const FakeTrays tray(bus.address());
        ASSERT_TRUE(eventually([this] { return item->hasTray(); }));
    }
    EXPECT_TRUE(eventually([this] { return !item->hasTray(); }));

    const FakeTrays tray(bus.address());
    EXPECT_TRUE(eventually([this] { return item->hasTray(); }));
}

TEST_F(LinuxStatusItemTest, worksWithoutABus)
{
    make({});

    item->setVisible(true);
    scheduler.advance(1min);

    EXPECT_EQ(missed, 1);
    EXPECT_TRUE(item->frame().isEmpty());
}

TEST_F(LinuxStatusItemTest, waitsForAHostThatShowsIcons)
{
    FakeTrays trays(bus.address(), false);
    item->setVisible(true);
    settle();
    EXPECT_EQ(found, 0);

    trays.hostComes();

    EXPECT_TRUE(eventually([this] { return found == 1; }));
    EXPECT_TRUE(item->hasTray());
}

TEST_F(LinuxStatusItemTest, isNotNeededToLookForATray)
{
    item.reset();
    const auto answer = [this] {
        auto asked = std::async(std::launch::async, [this] { return hasTray(bus.address()); });
        EXPECT_TRUE(eventually([&] { return asked.wait_for(0s) == std::future_status::ready; }));
        return asked.get();
    };

    EXPECT_FALSE(answer());
    FakeTrays trays(bus.address(), false);
    EXPECT_FALSE(answer());
    trays.hasHost = true;
    EXPECT_TRUE(answer());
    EXPECT_FALSE(hasTray({}));
}

} // namespace
} // namespace vantry::test

/// The icon's menu needs widgets; they are drawn into memory, and no tray of the machine's is found.
int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("DISPLAY");
    testing::InitGoogleMock(&argc, argv);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
