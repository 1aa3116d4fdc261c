#include "platform/linux/LinuxStatusItem.h"

#include "PrivateBus.h"
#include "platform/linux/TrayHosts.h"
#include "support/ManualScheduler.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>

#include <gmock/gmock.h>

#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

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
    BusConnection tray(bus.address());
    ASSERT_TRUE(tray->registerService(QString::fromLatin1(statusNotifierWatcher)));

    item->setVisible(true);

    EXPECT_TRUE(eventually([this] { return found == 1; }));
    EXPECT_TRUE(item->hasTray());
    scheduler.advance(10s);
    EXPECT_EQ(missed, 0);
}

TEST_F(LinuxStatusItemTest, looksForNoTrayBeforeItIsToBeShown)
{
    BusConnection tray(bus.address());
    ASSERT_TRUE(tray->registerService(QString::fromLatin1(statusNotifierWatcher)));

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

    BusConnection tray(bus.address());
    ASSERT_TRUE(tray->registerService(QString::fromLatin1(statusNotifierWatcher)));
    EXPECT_TRUE(eventually([this] { return found == 1; }));
    EXPECT_TRUE(item->hasTray());
}

TEST_F(LinuxStatusItemTest, knowsWhenItsTrayHasGone)
{
    item->setVisible(true);
    {
        BusConnection tray(bus.address());
        ASSERT_TRUE(tray->registerService(QString::fromLatin1(statusNotifierWatcher)));
        ASSERT_TRUE(eventually([this] { return item->hasTray(); }));
    }
    EXPECT_TRUE(eventually([this] { return !item->hasTray(); }));

    BusConnection tray(bus.address());
    ASSERT_TRUE(tray->registerService(QString::fromLatin1(statusNotifierWatcher)));
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

TEST_F(LinuxStatusItemTest, isNotNeededToLookForATray)
{
    item.reset();

    EXPECT_FALSE(hasTray(bus.address()));
    BusConnection tray(bus.address());
    ASSERT_TRUE(tray->registerService(QString::fromLatin1(statusNotifierWatcher)));
    EXPECT_TRUE(hasTray(bus.address()));
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
