#include "transcripts/TranscriptLines.h"

#include "transcripts/TranscriptScratch.h"

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <vector>

namespace vantry::test {
namespace {

using testing::ElementsAre;

struct Reading
{
    std::vector<std::string> lines;
    std::vector<std::uint64_t> offsets;
    bool isLastTerminated { true };
    bool hasFailed { false };
    std::uint64_t end { 0 };
};

Reading readAll(const QString &path, std::uint64_t offset = 0)
{
    const auto file = TranscriptFile::open(path);
    if (!file)
        return {};
    TranscriptBuffer buffer;
    TranscriptLines lines(*file, buffer, offset);
    Reading reading;
    while (const auto line = lines.next()) {
        reading.lines.emplace_back(line->text);
        reading.offsets.push_back(line->offset);
        reading.isLastTerminated = line->isTerminated;
    }
    reading.hasFailed = lines.hasFailed();
    reading.end = lines.endOfTerminated();
    return reading;
}

TEST(TranscriptLines, givesEachLineWithItsPlace)
{
    const Reading reading = readAll(TranscriptScratch("one\n\ntwo\r\nthree\n").path());

    EXPECT_THAT(reading.lines, ElementsAre("one", "", "two\r", "three"));
    EXPECT_THAT(reading.offsets, ElementsAre(0, 4, 5, 10));
    EXPECT_TRUE(reading.isLastTerminated);
    EXPECT_EQ(reading.end, 16U);
    EXPECT_TRUE(readAll(TranscriptScratch("").path()).lines.empty());
}

TEST(TranscriptLines, marksALastPieceWithoutLineFeed)
{
    const Reading reading = readAll(TranscriptScratch("one\ntwo").path());

    EXPECT_THAT(reading.lines, ElementsAre("one", "two"));
    EXPECT_FALSE(reading.isLastTerminated);
    EXPECT_EQ(reading.end, 4U);
}

TEST(TranscriptLines, beginsWhereItIsTold)
{
    const TranscriptScratch scratch("one\ntwo\n");
    EXPECT_THAT(readAll(scratch.path(), 4).lines, ElementsAre("two"));
    EXPECT_THAT(readAll(scratch.path(), 8).lines, ElementsAre());
    EXPECT_THAT(readAll(scratch.path(), 100).lines, ElementsAre());
}

TEST(TranscriptLines, leavesOutHalfACharacterAtTheEnd)
{
    const Reading reading = readAll(TranscriptScratch("one\nh\xC3").path());

    EXPECT_THAT(reading.lines, ElementsAre("one"));
    EXPECT_FALSE(reading.hasFailed);
    EXPECT_EQ(reading.end, 4U);
}

TEST(TranscriptLines, failsAtALineThatIsNotUtf8)
{
    const Reading reading = readAll(TranscriptScratch("one\n\xC3(\ntwo\n").path());

    EXPECT_THAT(reading.lines, ElementsAre("one"));
    EXPECT_TRUE(reading.hasFailed);
}

TEST(TranscriptLines, splitsLikeSplittingTheWhole)
{
    std::mt19937 random(1); // NOLINT: the same each time.
    for (int round = 0; round < 30; ++round) {
        QByteArrayList lines;
        for (auto left = random() % 40; left > 0; --left) {
            // Around the sizes of blocks, too.
            const std::array lengths { 3U, 1'000U, 65'536U, 131'072U, 262'144U, 300'000U, 1'000'000U };
            const auto length = random() % lengths.at(random() % lengths.size());
            lines.append(QByteArray(static_cast<qsizetype>(length), static_cast<char>('a' + left % 26)));
        }
        const TranscriptScratch scratch(lines.join('\n'));
        const Reading reading = readAll(scratch.path());

        if (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        ASSERT_EQ(reading.lines.size(), static_cast<std::size_t>(lines.size()));
        std::uint64_t offset = 0;
        for (std::size_t i = 0; i < reading.lines.size(); ++i) {
            ASSERT_TRUE(reading.lines[i] == lines.at(static_cast<qsizetype>(i)).toStdString());
            ASSERT_EQ(reading.offsets[i], offset);
            offset += reading.lines[i].size() + 1;
        }
    }
}

TEST(TranscriptLines, takesCharactersThatCrossABlocksEnd)
{
    // 262144 isn't a multiple of three.
    const QByteArray line = QByteArray("\xE6\x97\xA5").repeated(400'000);
    EXPECT_THAT(readAll(TranscriptScratch(line + '\n').path()).lines, ElementsAre(line.toStdString()));
}

TEST(TranscriptLines, passesOverALineOfHundredMegabytes)
{
    const TranscriptScratch scratch("one\n");
    for (int part = 0; part < 10; ++part)
        scratch.append(QByteArray("\xE6\x97\xA5").repeated(3'500'000));
    scratch.append("\ntwo\n");
    const Reading reading = readAll(scratch.path());

    EXPECT_THAT(reading.lines, ElementsAre("one", "two"));
    EXPECT_THAT(reading.offsets, ElementsAre(0, 105'000'005));
    EXPECT_FALSE(reading.hasFailed);
    EXPECT_EQ(reading.end, 105'000'009U);
}

TEST(TranscriptLines, checksAVeryLongLineForUtf8)
{
    const QByteArray part = QByteArray("x").repeated(20'000'000);
    EXPECT_TRUE(readAll(TranscriptScratch("one\n" + part + '\xFF' + part + "\ntwo\n").path()).hasFailed);
    EXPECT_TRUE(readAll(TranscriptScratch("one\n" + part + "\xE6\x97\ntwo\n").path()).hasFailed);
    // One that isn't at its end yet says nothing.
    const Reading reading = readAll(TranscriptScratch("one\n" + part + "\xE6\x97").path());
    EXPECT_THAT(reading.lines, ElementsAre("one"));
    EXPECT_FALSE(reading.hasFailed);
    EXPECT_EQ(reading.end, 4U);
}

TEST(TranscriptLines, takesTheLongestLineThatIsRead)
{
    const auto longest = static_cast<qsizetype>(TranscriptLines::maximumLineLength);
    EXPECT_EQ(readAll(TranscriptScratch(QByteArray(longest, 'x') + "\n").path()).lines.size(), 1U);
    EXPECT_EQ(readAll(TranscriptScratch(QByteArray(longest + 1, 'x') + "\n").path()).lines.size(), 0U);
}

TEST(TranscriptLines, takesLongLinesThatBeginWithinAPage)
{
    for (const qsizetype length : { 2'000'000, 2'097'152, 5'000'000, 16'777'216 }) {
        const Reading reading =
            readAll(TranscriptScratch("one\n" + QByteArray(length, 'x') + "\n" + QByteArray(9'000, 'y') + "\n").path());
        ASSERT_EQ(reading.lines.size(), 3U) << length;
        EXPECT_EQ(reading.lines.at(1).size(), static_cast<std::size_t>(length));
        EXPECT_EQ(reading.lines.at(2), std::string(9'000, 'y'));
    }
}

TEST(TranscriptLines, givesTheLinesBeforeOneThatIsNotUtf8)
{
    const QByteArray sound = QByteArray("\xE6\x97\xA5").repeated(70'000) + '\n';
    for (const QByteArray &unsound : { QByteArray("\xE6\x97"), QByteArray("\xA5"), QByteArray("\xED\xA0\x80") }) {
        const TranscriptScratch scratch(sound + sound + "one\n" + unsound + '\n' + sound);
        const auto file = TranscriptFile::open(scratch.path());
        ASSERT_TRUE(file);
        TranscriptBuffer buffer;
        TranscriptLines lines(*file, buffer);
        for (int i = 0; i < 3; ++i)
            ASSERT_TRUE(lines.next());
        EXPECT_FALSE(lines.hasFailed());
        EXPECT_EQ(lines.endOfTerminated(), 2U * static_cast<std::size_t>(sound.size()) + 4);
        EXPECT_FALSE(lines.next());
        EXPECT_TRUE(lines.hasFailed());
    }
}

TEST(TranscriptLines, endsQuietlyWhenTheFileShrinks)
{
    const QByteArray line(100'000, 'x');
    const TranscriptScratch scratch(QByteArray(line + '\n').repeated(10));
    const auto file = TranscriptFile::open(scratch.path());
    ASSERT_TRUE(file);
    TranscriptBuffer buffer;
    TranscriptLines lines(*file, buffer);
    ASSERT_TRUE(lines.next());

    scratch.truncate(1'000);
    while (lines.next())
        ;
    EXPECT_FALSE(lines.hasFailed());
}

TEST(TranscriptLines, doesNotGoOnWithinALineThatGrew)
{
    const TranscriptScratch scratch("one\ntw");
    const auto file = TranscriptFile::open(scratch.path());
    ASSERT_TRUE(file);
    TranscriptBuffer buffer;
    TranscriptLines lines(*file, buffer);
    ASSERT_TRUE(lines.next());
    const auto piece = lines.next();
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->text, "tw");

    scratch.append("o\nthree\n");
    EXPECT_FALSE(lines.next());
    EXPECT_EQ(lines.endOfTerminated(), 4U);
}

TEST(TranscriptLines, failsWhereNothingCanBeRead)
{
    const TranscriptScratch scratch("one\n");
    auto file = TranscriptFile::open(scratch.path());
    ASSERT_TRUE(file);
    // Beyond what an offset can hold.
    TranscriptBuffer buffer;
    TranscriptLines lines(*file, buffer, std::uint64_t { 1 } << 63);
    EXPECT_FALSE(lines.next());
    EXPECT_TRUE(lines.hasFailed());
}

} // namespace
} // namespace vantry::test
