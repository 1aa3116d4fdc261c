#include "base/Paths.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantry {
namespace {

/// Sets variables and puts them back at the end.
class PathsTest : public testing::Test
{
protected:
    void TearDown() override
    {
        for (const auto &[name, value] : m_before)
            value.isNull() ? qunsetenv(name.constData()) : qputenv(name.constData(), value);
    }
    void set(const char *name, const char *value)
    {
        m_before.append({ name, qEnvironmentVariableIsSet(name) ? qgetenv(name) : QByteArray() });
        value ? qputenv(name, value) : qunsetenv(name);
    }

private:
    QList<std::pair<QByteArray, QByteArray>> m_before;
};

mode_t modeOf(const QString &path)
{
    struct stat status
    {};
    EXPECT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
    return status.st_mode & 07777;
}

TEST_F(PathsTest, takesTheUsualPlacesBelowHome)
{
    set("HOME", "/home/mara");
    for (const char *variable : { "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR" })
        set(variable, nullptr);

    const Paths paths = Paths::fromEnvironment();

    EXPECT_EQ(paths.home, QStringLiteral("/home/mara"));
    EXPECT_EQ(paths.database(), QStringLiteral("/home/mara/.local/share/Vantry/vantry.db"));
    EXPECT_EQ(paths.debugLog(), QStringLiteral("/home/mara/.local/share/Vantry/debug.log"));
    EXPECT_EQ(paths.configFile, QStringLiteral("/home/mara/.config/Vantry/settings.json"));
    EXPECT_EQ(paths.agentFolder(), QStringLiteral("/home/mara/.claude"));
    EXPECT_TRUE(paths.runtimeFolder.isEmpty());
}

TEST_F(PathsTest, followsAbsoluteVariables)
{
    set("HOME", "/home/mara/");
    set("XDG_DATA_HOME", "/data/");
    set("XDG_CONFIG_HOME", "/config");
    set("XDG_RUNTIME_DIR", "/run/user/1000");

    const Paths paths = Paths::fromEnvironment();

    EXPECT_EQ(paths.home, QStringLiteral("/home/mara"));
    EXPECT_EQ(paths.dataFolder, QStringLiteral("/data/Vantry"));
    EXPECT_EQ(paths.configFile, QStringLiteral("/config/Vantry/settings.json"));
    EXPECT_EQ(paths.runtimeFolder, QStringLiteral("/run/user/1000"));
}

TEST_F(PathsTest, takesRelativeAndEmptyVariablesForUnset)
{
    set("HOME", "/h");
    set("XDG_DATA_HOME", "data");
    set("XDG_CONFIG_HOME", "");
    set("XDG_RUNTIME_DIR", "./run");

    const Paths paths = Paths::fromEnvironment();

    EXPECT_EQ(paths.dataFolder, QStringLiteral("/h/.local/share/Vantry"));
    EXPECT_EQ(paths.configFile, QStringLiteral("/h/.config/Vantry/settings.json"));
    EXPECT_TRUE(paths.runtimeFolder.isEmpty());
}

TEST_F(PathsTest, asksTheUserDatabaseWhereHomeIsUnset)
{
    set("HOME", nullptr);
    EXPECT_EQ(Paths::fromEnvironment().home, QFile::decodeName(getpwuid(geteuid())->pw_dir));
}

TEST(MakePrivateFolder, makesItWithItsParents)
{
    const QTemporaryDir scratch;
    const QString folder = scratch.filePath(QStringLiteral("a/b/c"));

    EXPECT_TRUE(makePrivateFolder(folder));
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_TRUE(makePrivateFolder(folder + u'/'));
}

TEST(MakePrivateFolder, closesOneThatOthersCouldRead)
{
    const QTemporaryDir scratch;
    const QString folder = scratch.filePath(QStringLiteral("open"));
    ASSERT_TRUE(QDir().mkdir(folder));
    ASSERT_EQ(chmod(QFile::encodeName(folder).constData(), 0755), 0);

    EXPECT_TRUE(makePrivateFolder(folder));
    EXPECT_EQ(modeOf(folder), 0700U);
}

TEST(MakePrivateFolder, saysWhenItCannot)
{
    const QTemporaryDir scratch;
    QFile file(scratch.filePath(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    EXPECT_FALSE(makePrivateFolder(file.fileName()));
    EXPECT_FALSE(makePrivateFolder(file.fileName() + QStringLiteral("/below")));
    EXPECT_FALSE(makePrivateFolder(QString()));
}

} // namespace
} // namespace vantry
