#include "platform/linux/LinkOpener.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// A desktop whose "xdg-open" does what a test says.
class LinkOpenerTest : public ::testing::Test
{
protected:
    LinkOpenerTest() { qputenv("PATH", QFile::encodeName(folder.path())); }
    ~LinkOpenerTest() override { qputenv("PATH", path); }

    void install(const QByteArray &script) const
    {
        QFile file(folder.filePath(u"xdg-open"_s));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write("#!/bin/sh\n" + script);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    [[nodiscard]] QByteArray written() const
    {
        QFile file(folder.filePath(u"out"_s));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    const QByteArray path = qgetenv("PATH");
    const QTemporaryDir folder;
};

/// Longer than any of these programs takes.
constexpr auto patience = 20s;

TEST_F(LinkOpenerTest, theUrlIsGivenAsOneArgument)
{
    install("printf '%s|' \"$@\" > \"" + QFile::encodeName(folder.path()) + "/out\"\n");

    EXPECT_EQ(openWithDesktop(QUrl(u"https://example.com/a b?c=$(d)&e='f'"_s), patience), std::nullopt);
    EXPECT_EQ(written(), "https://example.com/a%20b?c=$(d)&e='f'|");
}

TEST_F(LinkOpenerTest, theProgramGetsNoneOfOurVariables)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    install("printf '%s' \"$QT_QPA_PLATFORM\" > \"" + QFile::encodeName(folder.path()) + "/out\"\necho >> \"" +
            QFile::encodeName(folder.path()) + "/out\"\n");

    EXPECT_EQ(openWithDesktop(QUrl(u"https://example.com"_s), patience), std::nullopt);
    EXPECT_EQ(written(), "\n");
    qunsetenv("QT_QPA_PLATFORM");
}

TEST_F(LinkOpenerTest, aProgramThatGoesOnHasBegun)
{
    install("exec /bin/sleep 5\n");

    EXPECT_EQ(openWithDesktop(QUrl(u"https://example.com"_s), 10ms), std::nullopt);
}

TEST_F(LinkOpenerTest, aFailureIsSaid)
{
    EXPECT_EQ(openWithDesktop(QUrl(u"https://example.com"_s), patience), u"xdg-open is not installed"_s);
    install("exit 3\n");
    const auto failure = openWithDesktop(QUrl(u"https://example.com"_s), patience);
    ASSERT_TRUE(failure);
    EXPECT_TRUE(failure->endsWith(u"xdg-open ended with status 3"_s)) << failure->toStdString();
}

} // namespace
} // namespace vantry
