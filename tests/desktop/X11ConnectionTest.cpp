#include "platform/linux/X11Connection.h"

#include "desktop/support/Desktop.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <csignal>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// A server that lets in only who has its cookie, and listens on TCP, too.
class GuardedServerTest : public ::testing::Test
{
protected:
    GuardedServerTest()
    {
        writeCookie(u"cookie"_s, QByteArray(16, 'a'));
        writeCookie(u"another-cookie"_s, QByteArray(16, 'b'));
        server.setStandardErrorFile(QProcess::nullDevice());
        server.begin();
        EXPECT_EQ(QString::fromStdString(server.nextLine()), number) << "Xvfb did not start";
        qputenv("DISPLAY", QFile::encodeName(u':' + number));
        qputenv("XAUTHORITY", QFile::encodeName(folder.filePath(u"cookie"_s)));
    }
    ~GuardedServerTest() override
    {
        server.sendSignal(SIGTERM);
        server.waitForFinished();
    }

    /// An Xauthority file for any host and display.
    void writeCookie(const QString &name, const QByteArray &cookie) const
    {
        const auto text = [](const QByteArray &bytes) -> QByteArray {
            return QByteArray(1, '\0') + static_cast<char>(bytes.size()) + bytes;
        };
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QFile::WriteOnly));
        file.write("\xff\xff" + text({}) + text({}) + text("MIT-MAGIC-COOKIE-1") + text(cookie));
    }

    // Below those of the other desktops; the port is 6000 more, and below those that connections are given.
    const QString number { QString::number(300 + ::getpid() % 600) };
    QTemporaryDir folder;
    ChildProcess server { u"Xvfb"_s,
                          { u':' + number, u"-displayfd"_s, u"1"_s, u"-noreset"_s, u"-listen"_s, u"tcp"_s, u"-auth"_s,
                            folder.filePath(u"cookie"_s) },
                          QProcessEnvironment::systemEnvironment() };
};

TEST_F(GuardedServerTest, letsInWhoHasItsCookie)
{
    const auto connection = X11Connection::open();

    ASSERT_TRUE(connection);
    EXPECT_NE(connection->root(), 0U);
    EXPECT_TRUE(connection->synchronize());
}

TEST_F(GuardedServerTest, letsInNobodyElse)
{
    for (const QString &file : { u"another-cookie"_s, u"missing"_s, u"."_s }) {
        qputenv("XAUTHORITY", QFile::encodeName(folder.filePath(file)));
        EXPECT_FALSE(X11Connection::open()) << file.toStdString();
    }
}

TEST_F(GuardedServerTest, isReachedOverTheLoopbackDevice)
{
    qputenv("DISPLAY", QFile::encodeName(u"localhost:"_s + number));

    const auto connection = X11Connection::open();

    ASSERT_TRUE(connection);
    EXPECT_TRUE(connection->synchronize());
}

TEST_F(GuardedServerTest, takesItsCookieFromTheHomeFolderWhereNoOtherFileIsNamed)
{
    qputenv("HOME", QFile::encodeName(folder.path()));
    qunsetenv("XAUTHORITY");
    EXPECT_FALSE(X11Connection::open());

    ASSERT_TRUE(QFile::rename(folder.filePath(u"cookie"_s), folder.filePath(u".Xauthority"_s)));

    EXPECT_TRUE(X11Connection::open());
}

} // namespace
} // namespace vantry::test
