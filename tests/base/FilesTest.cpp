#include "base/Files.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace vantry {
namespace {

class FilesTest : public testing::Test
{
protected:
    [[nodiscard]] std::string path(const char *name) const
    {
        return QFile::encodeName(scratch.filePath(QString::fromLatin1(name))).toStdString();
    }
    /// Replaces the file; false when that failed.
    static bool replace(const std::string &file, std::string_view bytes, mode_t mode = 0600)
    {
        FileReplacement replacement(file, mode);
        replacement.write(bytes);
        replacement.sync();
        return replacement.commit();
    }
    [[nodiscard]] QStringList names() const
    {
        return QDir(scratch.path()).entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QTemporaryDir scratch;
};

TEST_F(FilesTest, readsBackWhatWasWritten)
{
    const std::string bytes = std::string(300'000, 'x') + '\0' + "end";
    ASSERT_TRUE(replace(path("file"), bytes));

    EXPECT_EQ(readRegularFile(path("file")).bytes, bytes);
    EXPECT_EQ(names(), QStringList { QStringLiteral("file") });
}

TEST_F(FilesTest, readsFilesWhoseSizeTheSystemDoesNotTell)
{
    const auto content = readRegularFile("/proc/self/status");
    ASSERT_TRUE(content.bytes);
    EXPECT_THAT(*content.bytes, testing::HasSubstr("Pid:"));
}

TEST_F(FilesTest, saysWhyAFileCannotBeRead)
{
    EXPECT_EQ(readRegularFile(path("missing")).error, ENOENT);
    EXPECT_EQ(readRegularFile(scratch.path().toStdString()).error, EINVAL);
}

TEST_F(FilesTest, doesNotWaitAtAFifo)
{
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    const auto content = readRegularFile(path("fifo"));
    EXPECT_FALSE(content.bytes);
    EXPECT_EQ(content.error, EINVAL);
}

TEST_F(FilesTest, givesTheNewFileTheMode)
{
    ASSERT_TRUE(replace(path("file"), "a", 0640));
    struct stat status
    {};
    ASSERT_EQ(stat(path("file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
}

TEST_F(FilesTest, replacesTheTargetOfALink)
{
    ASSERT_TRUE(QDir(scratch.path()).mkdir(QStringLiteral("dotfiles")));
    ASSERT_TRUE(replace(path("dotfiles/real"), "old"));
    ASSERT_EQ(symlink("dotfiles/real", path("second").c_str()), 0);
    ASSERT_EQ(symlink(path("second").c_str(), path("first").c_str()), 0);

    ASSERT_TRUE(replace(path("first"), "new"));

    EXPECT_EQ(readRegularFile(path("dotfiles/real")).bytes, "new");
    EXPECT_TRUE(QFileInfo(scratch.filePath(QStringLiteral("first"))).isSymLink());
    EXPECT_TRUE(QFileInfo(scratch.filePath(QStringLiteral("second"))).isSymLink());
}

TEST_F(FilesTest, makesTheTargetOfADanglingLink)
{
    ASSERT_EQ(symlink("later", path("link").c_str()), 0);
    ASSERT_TRUE(replace(path("link"), "new"));
    EXPECT_EQ(readRegularFile(path("later")).bytes, "new");
}

TEST_F(FilesTest, leavesEverythingAsItWasWithoutACommit)
{
    ASSERT_TRUE(replace(path("file"), "old"));
    {
        FileReplacement replacement(path("file"), 0600);
        replacement.write("new");
    }
    EXPECT_EQ(readRegularFile(path("file")).bytes, "old");
    EXPECT_EQ(names(), QStringList { QStringLiteral("file") });
}

TEST_F(FilesTest, failsWhereThereIsNoFolder)
{
    FileReplacement replacement(path("missing/file"), 0600);
    replacement.write("x");
    EXPECT_FALSE(replacement.commit());
    EXPECT_EQ(replacement.error(), ENOENT);
}

TEST_F(FilesTest, failsAndCleansUpWhereAFolderIsInTheWay)
{
    ASSERT_TRUE(QDir(scratch.path()).mkdir(QStringLiteral("folder")));
    EXPECT_FALSE(replace(path("folder"), "x"));
    EXPECT_EQ(names(), QStringList { QStringLiteral("folder") });
}

} // namespace
} // namespace vantry
