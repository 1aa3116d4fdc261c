#include "platform/linux/LinuxFileManager.h"

#include "PrivateBus.h"
#include "support/WaitFor.h"

#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <gmock/gmock.h>

#include <mutex>
#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// A file manager on a bus, which shows nothing.
class FakeFileManagerService final : public QDBusVirtualObject
{
public:
    explicit FakeFileManagerService(const QString &address)
        : m_bus(address)
    {
        EXPECT_TRUE(m_bus->registerVirtualObject(u"/org/freedesktop/FileManager1"_s, this));
        EXPECT_TRUE(m_bus->registerService(u"org.freedesktop.FileManager1"_s));
    }
    ~FakeFileManagerService() override { m_bus->unregisterObject(u"/org/freedesktop/FileManager1"_s); }

    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection & /*connection*/) override
    {
        calls.append(message);
        return m_bus->send(fails ? message.createErrorReply(QDBusError::Failed, u"no"_s) : message.createReply());
    }

    QList<QDBusMessage> calls;
    bool fails { false };

private:
    BusConnection m_bus;
};

class LinuxFileManagerTest : public testing::Test
{
protected:
    void open(const QString &address)
    {
        manager.emplace(address, [this](const QUrl &url) {
            const std::scoped_lock lock(m_mutex);
            m_opened.append(url);
        });
    }
    [[nodiscard]] QList<QUrl> opened() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_opened;
    }

    PrivateBus bus;
    std::optional<LinuxFileManager> manager;

private:
    mutable std::mutex m_mutex;
    QList<QUrl> m_opened;
};

TEST_F(LinuxFileManagerTest, hasTheFileManagerShowTheFile)
{
    FakeFileManagerService service(bus.address());
    open(bus.address());

    manager->reveal(u"/home/me/My Files/100% #1.log"_s);

    ASSERT_TRUE(waitFor([&] { return !service.calls.isEmpty(); }));
    const QDBusMessage call = service.calls.constFirst();
    EXPECT_EQ(call.interface(), u"org.freedesktop.FileManager1"_s);
    EXPECT_EQ(call.member(), u"ShowItems"_s);
    EXPECT_EQ(call.signature(), u"ass"_s);
    EXPECT_EQ(call.arguments().at(0).toStringList(), QStringList { u"file:///home/me/My%20Files/100%25%20%231.log"_s });
    EXPECT_EQ(call.arguments().at(1).toString(), QString());
    EXPECT_TRUE(opened().isEmpty());
}

TEST_F(LinuxFileManagerTest, opensTheFolderWhereThereIsNoFileManager)
{
    open(bus.address());

    manager->reveal(u"/home/me/logs/debug.log"_s);

    EXPECT_TRUE(waitFor([&] { return opened() == QList { QUrl(u"file:///home/me/logs"_s) }; }));
}

TEST_F(LinuxFileManagerTest, opensTheFolderWhereTheFileManagerCannot)
{
    FakeFileManagerService service(bus.address());
    service.fails = true;
    open(bus.address());

    manager->reveal(u"/debug.log"_s);

    EXPECT_TRUE(waitFor([&] { return opened() == QList { QUrl(u"file:///"_s) }; }));
}

TEST_F(LinuxFileManagerTest, opensTheFolderWithoutABus)
{
    open({});

    manager->reveal(u"/home/me/debug.log"_s);

    EXPECT_TRUE(waitFor([&] { return opened() == QList { QUrl(u"file:///home/me"_s) }; }));
}

TEST_F(LinuxFileManagerTest, mayEndWhileItWaits)
{
    open(bus.address());
    manager->reveal(u"/home/me/debug.log"_s);
    manager.reset();
}

} // namespace
} // namespace vantry::test
