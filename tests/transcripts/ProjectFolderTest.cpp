#include "transcripts/ProjectFolder.h"

#include <QDir>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace vantry {
namespace {

using testing::Eq;
using testing::Optional;

bool exists(const std::string &path)
{
    struct stat status
    {};
    return ::stat(path.c_str(), &status) == 0;
}

/// Tries all readings of the pieces from `index` on, in their order.
std::optional<std::string> firstReading(const std::vector<std::string> &pieces, std::size_t index,
                                        const std::string &path)
{
    if (index == pieces.size())
        return exists(path) ? std::optional(path) : std::nullopt;
    if (index > 0) {
        if (auto found = firstReading(pieces, index + 1, path + '-' + pieces[index]))
            return found;
    }
    return firstReading(pieces, index + 1, path + '/' + pieces[index]);
}

/// The rule as it is told, without any saving.
std::optional<std::string> plainlyResolved(const std::string &name)
{
    std::string plain = name;
    std::ranges::replace(plain, '-', '/');
    if (exists(plain))
        return plain;
    std::vector<std::string> pieces(1);
    for (const char character : name) {
        if (character == '-')
            pieces.emplace_back();
        else
            pieces.back() += character;
    }
    pieces.erase(pieces.begin());
    return pieces.empty() ? std::nullopt : firstReading(pieces, 0, {});
}

std::string folderName(std::string path)
{
    std::ranges::replace(path, '/', '-');
    return path;
}

class ProjectFolder : public testing::Test
{
protected:
    ProjectFolder() { m_root = m_folder.path().toStdString(); }

    [[nodiscard]] std::string path(const std::string &relative) const { return m_root + '/' + relative; }
    std::string make(const std::string &relative) const
    {
        std::filesystem::create_directories(path(relative));
        return path(relative);
    }
    /// What the folder of this directory, which need not exist, resolves to.
    [[nodiscard]] std::optional<std::string> resolved(const std::string &relative) const
    {
        return resolveProjectFolder(folderName(path(relative)));
    }

private:
    QTemporaryDir m_folder { QDir::tempPath() + QStringLiteral("/folderXXXXXX") };
    std::string m_root;
};

TEST_F(ProjectFolder, isResolvedByPuttingSlashes)
{
    EXPECT_THAT(resolveProjectFolder("-"), Optional(Eq("/")));
    EXPECT_THAT(resolveProjectFolder("-usr-bin"), Optional(Eq("/usr/bin")));
    const std::string directory = make("src/vantry");
    EXPECT_THAT(resolved("src/vantry"), Optional(Eq(directory)));
}

TEST_F(ProjectFolder, keepsDashesOfThePathItself)
{
    const std::string directory = make("my-src/van-try-2/a");
    EXPECT_THAT(resolved("my-src/van-try-2/a"), Optional(Eq(directory)));
    EXPECT_THAT(resolved("my/src/van/try/2/a"), Optional(Eq(directory)));
}

TEST_F(ProjectFolder, readsSlashesAloneFirst)
{
    make("a-b-c");
    make("a-b/c");
    const std::string slashes = make("a/b/c");
    if (path("").find('-') != std::string::npos)
        GTEST_SKIP() << "no reading with slashes alone exists here";
    EXPECT_THAT(resolved("a-b-c"), Optional(Eq(slashes)));
}

TEST_F(ProjectFolder, readsADashBeforeASlash)
{
    make("a/b-c");
    const std::string later = make("a-b/c");
    EXPECT_THAT(resolved("a-b-c"), Optional(Eq(later)));
    const std::string dashes = make("a-b-c");
    EXPECT_THAT(resolved("a-b-c"), Optional(Eq(dashes)));
}

TEST_F(ProjectFolder, goesBackFromADeadEnd)
{
    make("a-b");
    make("a-b-c");
    const std::string directory = make("a/b-c/d");
    EXPECT_THAT(resolved("a-b-c-d"), Optional(Eq(directory)));
}

TEST_F(ProjectFolder, readsDashesAtEitherEndOfAComponent)
{
    EXPECT_THAT(resolved("--x"), Eq(std::nullopt));
    const std::string leading = make("--x");
    EXPECT_THAT(resolved("--x"), Optional(Eq(leading)));
    const std::string trailing = make("y-");
    EXPECT_THAT(resolved("y-"), Optional(Eq(trailing)));
    const std::string inside = make("z--z");
    EXPECT_THAT(resolved("z--z"), Optional(Eq(inside)));
}

TEST_F(ProjectFolder, isNotResolvedWhenTheDirectoryHasGone)
{
    const std::string directory = make("src/van-try");
    ASSERT_TRUE(resolved("src/van-try"));
    std::filesystem::remove(directory);
    EXPECT_EQ(resolved("src/van-try"), std::nullopt);
}

TEST_F(ProjectFolder, isNotResolvedByANameThatIsNoAbsolutePath)
{
    EXPECT_EQ(resolveProjectFolder(""), std::nullopt);
    EXPECT_EQ(resolveProjectFolder("usr"), std::nullopt);
    EXPECT_EQ(resolveProjectFolder("usr-bin"), std::nullopt);
    EXPECT_EQ(resolveProjectFolder("x-usr"), std::nullopt);
    EXPECT_EQ(resolveProjectFolder(std::string("-usr\0-bin", 9)), std::nullopt);
}

TEST_F(ProjectFolder, followsLinksAndLeavesClosedDirectories)
{
    const std::string directory = make("a-b/c");
    ASSERT_EQ(::symlink("a-b", path("link").c_str()), 0);
    ASSERT_EQ(::symlink("missing", path("broken").c_str()), 0);
    EXPECT_THAT(resolved("link/c"), Optional(Eq(path("link/c"))));
    EXPECT_EQ(resolved("broken"), std::nullopt);
    EXPECT_EQ(resolved("broken-c"), std::nullopt);
}

TEST_F(ProjectFolder, isFoundSoonAmongVeryManyReadings)
{
    EXPECT_EQ(resolveProjectFolder(std::string(200, '-') + "missing"), std::nullopt);
    std::string name = folderName(path(""));
    for (int count = 0; count < 100; ++count)
        name += "a-";
    EXPECT_EQ(resolveProjectFolder(name + "missing"), std::nullopt);

    // Every reading of the dashes is a directory, up to the number of links that the system follows.
    ASSERT_EQ(::symlink(".", path("a").c_str()), 0);
    ASSERT_EQ(::symlink(".", path("a-a").c_str()), 0);
    EXPECT_EQ(resolveProjectFolder(name + "missing"), std::nullopt);
}

TEST_F(ProjectFolder, passesOverNamesThatAreTooLongForAComponent)
{
    std::string name = folderName(path("x"));
    for (int count = 0; count < 1'000; ++count)
        name += "-abcdef";
    EXPECT_EQ(resolveProjectFolder(name), std::nullopt);
}

/// A tree of directories, files and links with names that are hard to tell apart.
void makeRandomTree(const std::string &root, std::mt19937 &random)
{
    constexpr std::array names { "a", "b", "-", "--", "a-", "-a", "a-b", "b-a", "a--b", ".", ".a", "a.b" };
    std::vector<std::string> directories { root };
    for (int count = 0; count < 14; ++count) {
        const std::string parent = directories.at(random() % directories.size());
        const std::string path = parent + '/' + names.at(random() % names.size());
        std::error_code error;
        if (random() % 6 == 0)
            std::filesystem::create_directory_symlink(directories.at(random() % directories.size()), path, error);
        else if (random() % 8 == 0)
            static_cast<void>(::mknod(path.c_str(), S_IFREG | 0600, 0));
        else if (std::filesystem::create_directory(path, error))
            directories.push_back(path);
    }
}

TEST(ProjectFolderSearch, findsWhatTryingAllReadingsFinds)
{
    std::mt19937 random(11);
    int found = 0;
    for (int round = 0; round < 60; ++round) {
        const QTemporaryDir folder(QDir::tempPath() +
                                   (round % 2 == 0 ? QStringLiteral("/aXXXXXX") : QStringLiteral("/a-XXXXXX")));
        const std::string root = folder.path().toStdString();
        makeRandomTree(root, random);
        for (int attempt = 0; attempt < 30; ++attempt) {
            constexpr std::array pieces { "a", "b", "", "a", ".", ".a", "a.b" };
            std::string name = folderName(root);
            for (std::size_t left = random() % 7; left > 0; --left)
                name.append("-").append(pieces.at(random() % pieces.size()));
            const auto expected = plainlyResolved(name);
            ASSERT_EQ(resolveProjectFolder(name), expected) << name;
            found += expected ? 1 : 0;
        }
    }
    EXPECT_GT(found, 100);
}

} // namespace
} // namespace vantry
