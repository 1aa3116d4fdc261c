#include "transcripts/TranscriptTail.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace vantry {
namespace {

constexpr std::size_t length = transcriptTailLength;

class TranscriptTailTest : public testing::Test
{
protected:
    [[nodiscard]] std::string tailOf(const std::string &text)
    {
        QFile file(m_folder.filePath(QStringLiteral("t.jsonl")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.data(), static_cast<qint64>(text.size()));
        file.close();
        const auto transcript = TranscriptFile::open(file.fileName());
        EXPECT_TRUE(transcript);
        return std::string(m_tail.read(*transcript).value());
    }

private:
    QTemporaryDir m_folder;
    TranscriptTail m_tail;
};

std::string line(char letter, std::size_t size)
{
    return std::string(size, letter) + '\n';
}

/// The same, told step by step over the whole text.
std::string plainTailOf(const std::string &text)
{
    const std::size_t farthest = text.size() - std::min(text.size(), longestTranscriptTail);
    std::size_t begin = text.size() - std::min(text.size(), length);
    bool hasSteppedBack = false;
    while (begin > farthest) {
        const std::size_t feedBefore = text.rfind('\n', begin - 1);
        const std::size_t lineBegin = feedBefore == std::string::npos ? 0 : feedBefore + 1;
        const std::size_t lineEnd = std::min(text.find('\n', begin), text.size());
        const bool beginsTooFar = lineBegin <= farthest && farthest > 0;
        if (beginsTooFar || lineEnd - lineBegin <= length)
            return text.substr(hasSteppedBack && lineBegin < begin ? lineEnd + 1 : begin);
        begin = std::max(lineBegin - std::min(lineBegin, length), farthest);
        hasSteppedBack = true;
    }
    return text.substr(farthest > 0 ? text.find('\n', farthest) + 1 : 0);
}

TEST_F(TranscriptTailTest, isTheWholeOfAShortFile)
{
    for (const std::string &text : { std::string(), std::string("\n"), line('a', 10), std::string(length, 'a'),
                                     line('a', length - 1), line('a', 100) + line('b', length - 200) })
        EXPECT_EQ(tailOf(text), text);
}

TEST_F(TranscriptTailTest, isCutAnywhereWithinAnOrdinaryLine)
{
    const std::string text = line('a', 20'000) + line('b', 20'000);
    EXPECT_EQ(tailOf(text), text.substr(text.size() - length));
}

TEST_F(TranscriptTailTest, isCutWithinALineOfJustItsOwnLength)
{
    const std::string text = line('a', 50) + line('b', length) + line('c', 1'000);
    EXPECT_EQ(tailOf(text), text.substr(text.size() - length));
}

TEST_F(TranscriptTailTest, goesBackOverALongerLine)
{
    const std::string text = line('a', 50) + line('b', length + 1) + line('c', 1'000);
    EXPECT_EQ(tailOf(text), text);
}

TEST_F(TranscriptTailTest, beginsWithALineBeforeALongLine)
{
    const std::string front = line('x', 30'000) + line('y', 20'000) + line('z', 300);
    const std::string text = front + line('b', 100'000) + line('c', 1'000);
    EXPECT_EQ(tailOf(text), text.substr(30'001));
}

TEST_F(TranscriptTailTest, goesBackOverSeveralLongLines)
{
    const std::string text =
        line('a', 50) + line('b', 80'000) + line('c', 90'000) + line('d', 10'000) + line('e', 240'000) + line('f', 10);
    EXPECT_EQ(tailOf(text), text);
}

TEST_F(TranscriptTailTest, goesBackOverALongLineThatIsStillBeingWritten)
{
    const std::string text = line('a', 50) + std::string(80'000, 'b');
    EXPECT_EQ(tailOf(text), text);
    EXPECT_EQ(tailOf(std::string(80'000, 'b')), std::string(80'000, 'b'));
}

TEST_F(TranscriptTailTest, doesNotGoBackFartherThanItMay)
{
    const std::string reachable = line('a', 50) + line('b', longestTranscriptTail - 100);
    EXPECT_EQ(tailOf(reachable), reachable);
    const std::string tooFar = line('a', 50) + line('b', longestTranscriptTail) + line('c', 10);
    EXPECT_EQ(tailOf(tooFar), tooFar.substr(tooFar.size() - length));
    const std::string second = line('a', 50) + line('b', longestTranscriptTail) + line('c', 10) + line('d', 80'000);
    EXPECT_EQ(tailOf(second), line('c', 10) + line('d', 80'000));
}

TEST_F(TranscriptTailTest, isTheSameAsToldStepByStep)
{
    std::mt19937 random(7);
    for (int round = 0; round < 100; ++round) {
        std::string text;
        const std::size_t lines = random() % 12;
        for (std::size_t index = 0; index < lines; ++index) {
            const std::size_t longest = std::array { 10U, 1'000U, 33'000U, 70'000U, 300'000U }.at(random() % 5);
            text += line(static_cast<char>('a' + index), random() % longest);
        }
        if (random() % 2 == 0)
            text += std::string(random() % 40'000, 'z');
        ASSERT_EQ(tailOf(text).size(), plainTailOf(text).size()) << "round " << round;
        ASSERT_TRUE(text.ends_with(tailOf(text)));
    }
}

} // namespace
} // namespace vantry
