#include "base/DebugLog.h"

#include "base/Files.h"
#include "support/ManualClock.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>
#include <vector>

namespace vantry {
namespace {

class DebugLogTest : public testing::Test
{
protected:
    [[nodiscard]] std::string contents() const { return readRegularFile(native).bytes.value_or("(no file)"); }
    void put(std::string_view bytes) const
    {
        FileReplacement file(native, 0600);
        file.write(bytes);
        ASSERT_TRUE(file.commit());
    }
    [[nodiscard]] static std::string lines(int from, int to)
    {
        std::string text;
        for (int i = from; i <= to; ++i)
            text += std::to_string(i) + "\n";
        return text;
    }

    QTemporaryDir scratch;
    QString path { scratch.filePath(QStringLiteral("Vantry/debug.log")) };
    std::string native { QFile::encodeName(path).toStdString() };
    test::ManualClock clock;
};

/// The same with the folder there.
class DebugLogFileTest : public DebugLogTest
{
protected:
    DebugLogFileTest() { QDir().mkpath(scratch.filePath(QStringLiteral("Vantry"))); }
};

TEST_F(DebugLogTest, writesTheDateInTheFormOfEachWriter)
{
    DebugLog log(path, clock);
    log.general().write(QStringLiteral("HTTPHookServer: stopped"));
    log.delegate().write(QStringLiteral("applicationDidFinishLaunching started"));

    EXPECT_EQ(contents(), "[2026-01-31T09:05:07Z] HTTPHookServer: stopped\n"
                          "[2026-01-31 09:05:07 +0000] applicationDidFinishLaunching started\n");
}

TEST_F(DebugLogTest, makesFolderAndFileForItsOwnerAlone)
{
    umask(0);
    DebugLog log(path, clock);
    EXPECT_FALSE(QFile::exists(path));
    log.general().write("x");
    umask(022);

    struct stat status
    {};
    ASSERT_EQ(stat(native.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    ASSERT_EQ(stat(QFile::encodeName(scratch.filePath(QStringLiteral("Vantry"))).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(DebugLogFileTest, closesAFileThatOthersCouldRead)
{
    put("old\n");
    ASSERT_EQ(chmod(native.c_str(), 0644), 0);
    DebugLog(path, clock).general().write("x");

    struct stat status
    {};
    ASSERT_EQ(stat(native.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(DebugLogTest, escapesControlCharactersSoThatAMessageIsOneLine)
{
    DebugLog log(path, clock);
    log.general().write("a\nb\x1B[2Jc\xFF");
    EXPECT_EQ(contents(), "[2026-01-31T09:05:07Z] a\\nb\\u{1b}[2Jc\uFFFD\n");
}

TEST_F(DebugLogFileTest, appendsToWhatIsThere)
{
    put("before\n");
    DebugLog(path, clock).general().write("after");
    EXPECT_EQ(contents(), "before\n[2026-01-31T09:05:07Z] after\n");
}

TEST_F(DebugLogTest, makesTheFileAgainWhenItWasDeleted)
{
    DebugLog log(path, clock);
    log.general().write("first");
    ASSERT_TRUE(QFile::remove(path));
    log.general().write("second");
    EXPECT_EQ(contents(), "[2026-01-31T09:05:07Z] second\n");

    ASSERT_TRUE(QDir(scratch.filePath(QStringLiteral("Vantry"))).removeRecursively());
    log.general().write("third");
    EXPECT_EQ(contents(), "[2026-01-31T09:05:07Z] third\n");
}

TEST_F(DebugLogTest, followsTheFileThatTookThePathsPlace)
{
    DebugLog log(path, clock);
    log.general().write("first");
    put("replaced\n");
    log.general().write("second");
    EXPECT_EQ(contents(), "replaced\n[2026-01-31T09:05:07Z] second\n");
}

TEST_F(DebugLogTest, leavesAMovedFileAloneFromTheNextSecondOn)
{
    DebugLog log(path, clock);
    log.general().write("first");
    ASSERT_TRUE(QFile::rename(path, path + QStringLiteral(".1")));
    clock.advance(std::chrono::seconds { 1 });
    log.general().write("second");

    EXPECT_EQ(contents(), "[2026-01-31T09:05:08Z] second\n");
    EXPECT_EQ(readRegularFile(native + ".1").bytes, "[2026-01-31T09:05:07Z] first\n");
}

TEST_F(DebugLogFileTest, ignoresAPlaceThatCannotBeWrittenTo)
{
    ASSERT_EQ(mkfifo(native.c_str(), 0600), 0);
    DebugLog log(path, clock);
    log.delegate().write("nobody reads");
    {
        // With a reader the FIFO could be opened; still nothing goes into it.
        const FileDescriptor reader(open(native.c_str(), O_RDONLY | O_NONBLOCK));
        log.general().write("nobody reads");
        char byte = 0;
        EXPECT_EQ(read(reader.get(), &byte, 1), 0);
    }
    ASSERT_EQ(unlink(native.c_str()), 0);
    log.general().write("back");
    EXPECT_EQ(contents(), "[2026-01-31T09:05:07Z] back\n");
}

TEST_F(DebugLogTest, ignoresAFolderThatCannotBeMade)
{
    QFile inTheWay(scratch.filePath(QStringLiteral("Vantry")));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    DebugLog log(path, clock);
    log.general().write("lost");
    log.delegate().write("lost");
    EXPECT_EQ(inTheWay.size(), 0);
}

TEST_F(DebugLogTest, isNotInheritedByPrograms)
{
    DebugLog log(path, clock);
    log.general().write("x");
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    int found = 0;
    for (const QString &name : descriptors.entryList(QDir::AllEntries | QDir::System)) {
        if (QFile::symLinkTarget(descriptors.filePath(name)) != path)
            continue;
        ++found;
        EXPECT_NE(fcntl(name.toInt(), F_GETFD) & FD_CLOEXEC, 0);
    }
    EXPECT_EQ(found, 1);
}

TEST_F(DebugLogTest, neverMixesTheLinesOfManyThreads)
{
    DebugLog log(path, clock);
    constexpr int threads = 4;
    constexpr int perThread = 500;
    std::vector<std::thread> writers;
    for (int i = 0; i < threads; ++i)
        writers.emplace_back([&log, i] {
            for (int line = 0; line < perThread; ++line)
                log.general().write(std::string(static_cast<std::size_t>(50 + line), static_cast<char>('a' + i)));
        });
    for (std::thread &writer : writers)
        writer.join();

    const std::string prefix = "[2026-01-31T09:05:07Z] ";
    int count = 0;
    for (const QString &line : QString::fromStdString(contents()).split(u'\n', Qt::SkipEmptyParts)) {
        ++count;
        const std::string message = line.toStdString().substr(prefix.size());
        ASSERT_TRUE(line.toStdString().starts_with(prefix));
        ASSERT_EQ(message.find_first_not_of(message.front()), std::string::npos) << message;
    }
    EXPECT_EQ(count, threads * perThread);
}

TEST_F(DebugLogTest, losesNoLineOfManyThreadsButThoseOfAFileThatIsGone)
{
    DebugLog log(path, clock);
    log.general().write("begin");
    std::vector<std::thread> writers;
    for (int i = 0; i < 3; ++i)
        writers.emplace_back([&log] {
            for (int line = 0; line < 300; ++line)
                log.general().write("line");
        });
    // Moved away, the files together hold every line.
    int moved = 0;
    for (; moved < 20; ++moved)
        QFile::rename(path, path + QString::number(moved));
    for (std::thread &writer : writers)
        writer.join();

    std::string all = readRegularFile(native).bytes.value_or("");
    for (int i = 0; i < moved; ++i)
        all += readRegularFile(native + std::to_string(i)).bytes.value_or("");
    EXPECT_EQ(std::ranges::count(all, '\n'), 901);
}

TEST_F(DebugLogFileTest, trimsToTheLast5000PiecesAtTheDelegatesFirstLine)
{
    put(lines(1, 6000));
    DebugLog log(path, clock);
    log.general().write("general");
    EXPECT_TRUE(contents().starts_with("1\n"));

    log.delegate().write("delegate");

    // 5000 pieces: 4998 numbered lines, the general line, and the empty piece behind the last line feed.
    EXPECT_EQ(contents(), lines(1003, 6000) + "[2026-01-31T09:05:07Z] general\n[2026-01-31 09:05:07 +0000] delegate\n");
}

TEST_F(DebugLogFileTest, trimsOnceInARun)
{
    DebugLog log(path, clock);
    log.delegate().write("first");
    put(lines(1, 6000));
    log.delegate().write("second");
    EXPECT_TRUE(contents().starts_with("1\n"));
}

TEST_F(DebugLogFileTest, keepsExactly5000PiecesAsTheyAre)
{
    const std::string text = lines(1, 4999);
    put(text);
    DebugLog(path, clock).delegate().write("x");
    EXPECT_EQ(contents(), text + "[2026-01-31 09:05:07 +0000] x\n");
}

TEST_F(DebugLogFileTest, cutsOnePieceFrom5001)
{
    put(lines(1, 5000));
    DebugLog(path, clock).delegate().write("x");
    EXPECT_EQ(contents(), lines(2, 5000) + "[2026-01-31 09:05:07 +0000] x\n");
}

TEST_F(DebugLogFileTest, countsATextWithoutALastLineFeed)
{
    put(lines(1, 5000) + "tail");
    DebugLog(path, clock).delegate().write("x");
    EXPECT_EQ(contents(), lines(2, 5000) + "tail[2026-01-31 09:05:07 +0000] x\n");
}

TEST_F(DebugLogFileTest, trimsLongLinesThatSpanManyBlocks)
{
    const std::string longLine(200'000, 'x');
    put(longLine + "\n" + lines(1, 4998) + longLine + "\n");
    DebugLog(path, clock).delegate().write("x");
    EXPECT_EQ(contents(), lines(1, 4998) + longLine + "\n[2026-01-31 09:05:07 +0000] x\n");
}

TEST_F(DebugLogFileTest, trimsTheTargetOfALinkAndLeavesNothingBeside)
{
    const QString real = scratch.filePath(QStringLiteral("real.log"));
    ASSERT_EQ(symlink(QFile::encodeName(real).constData(), native.c_str()), 0);
    put(lines(1, 6000));
    DebugLog(path, clock).delegate().write("x");

    EXPECT_TRUE(QFileInfo(path).isSymLink());
    EXPECT_TRUE(contents().starts_with("1002\n"));
    EXPECT_EQ(QDir(scratch.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 2);
}

} // namespace
} // namespace vantry
