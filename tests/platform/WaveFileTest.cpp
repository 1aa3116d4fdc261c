#include "platform/linux/sound/WaveFile.h"

#include <gtest/gtest.h>

#include <string>

namespace vantry::test {
namespace {

std::string number(std::uint32_t value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> (8 * i) & 0xFF);
    return text;
}

std::string chunk(const std::string &kind, const std::string &bytes)
{
    return kind + number(static_cast<std::uint32_t>(bytes.size()), 4) + bytes + std::string(bytes.size() % 2, '\0');
}

struct Format
{
    std::uint32_t kind { 1 };
    std::uint32_t channels { 1 };
    std::uint32_t rate { 48'000 };
    std::uint32_t bits { 16 };
};

std::string formatChunk(Format format = {}, const std::string &more = {})
{
    const std::uint32_t frame = format.channels * format.bits / 8;
    return chunk("fmt ", number(format.kind, 2) + number(format.channels, 2) + number(format.rate, 4) +
                             number(format.rate * frame, 4) + number(frame, 2) + number(format.bits, 2) + more);
}

std::string wave(const std::string &chunks)
{
    return "RIFF" + number(static_cast<std::uint32_t>(chunks.size() + 4), 4) + "WAVE" + chunks;
}

TEST(WaveFileTest, givesTheSamplesOfAPlainFile)
{
    const std::string bytes = wave(formatChunk({ .channels = 2, .rate = 44'100 }) + chunk("data", "abcdefgh"));

    const auto file = WaveFile::parse(bytes);

    ASSERT_TRUE(file);
    EXPECT_EQ(file->channels, 2);
    EXPECT_EQ(file->sampleRate, 44'100U);
    EXPECT_EQ(file->samples, "abcdefgh");
}

TEST(WaveFileTest, passesOverOtherChunksAndWhatStandsBehind)
{
    const std::string bytes = wave(chunk("LIST", "odd") + formatChunk({}, "\0\0") + chunk("fact", "1234") +
                                   chunk("data", "abcd") + chunk("LIST", "not a sound"));

    ASSERT_TRUE(WaveFile::parse(bytes));
    EXPECT_EQ(WaveFile::parse(bytes)->samples, "abcd");
}

TEST(WaveFileTest, leavesOtherKindsToOthers)
{
    const auto isPlain = [](Format format) {
        return WaveFile::parse(wave(formatChunk(format) + chunk("data", "abcdabcdabcd"))).has_value();
    };
    EXPECT_TRUE(isPlain({}));
    EXPECT_FALSE(isPlain({ .kind = 3, .bits = 32 }));
    EXPECT_FALSE(isPlain({ .kind = 0xFFFE }));
    EXPECT_FALSE(isPlain({ .bits = 8 }));
    EXPECT_FALSE(isPlain({ .bits = 24 }));
    EXPECT_FALSE(isPlain({ .channels = 0 }));
    EXPECT_FALSE(isPlain({ .channels = 6 }));
    EXPECT_FALSE(isPlain({ .rate = 0 }));
    EXPECT_FALSE(isPlain({ .rate = 4'000'000'000 }));
}

TEST(WaveFileTest, aFileThatWasCutOffGivesTheWholeFramesThatAreThere)
{
    const std::string bytes = wave(formatChunk({ .channels = 2 }) + chunk("data", "abcdefghijkl"));

    ASSERT_TRUE(WaveFile::parse(bytes.substr(0, bytes.size() - 3)));
    EXPECT_EQ(WaveFile::parse(bytes.substr(0, bytes.size() - 3))->samples, "abcdefgh");
}

TEST(WaveFileTest, noBeginningOfAFileIsReadBeyondItsEnd)
{
    const std::string bytes = wave(formatChunk() + chunk("LIST", "abc") + chunk("data", "abcd"));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const std::string beginning(bytes, 0, length); // Of its own, so that the sanitizer sees its end.
        const auto file = WaveFile::parse(beginning);
        EXPECT_TRUE(!file || file->samples == "ab") << length;
    }
}

TEST(WaveFileTest, brokenFilesGiveNothing)
{
    EXPECT_FALSE(WaveFile::parse(""));
    EXPECT_FALSE(WaveFile::parse("RIFF"));
    EXPECT_FALSE(WaveFile::parse("FORM    AIFFCOMM"));
    EXPECT_FALSE(WaveFile::parse(wave("")));
    EXPECT_FALSE(WaveFile::parse(wave(formatChunk())));
    EXPECT_FALSE(WaveFile::parse(wave(chunk("data", "abcd"))));
    EXPECT_FALSE(WaveFile::parse(wave(chunk("fmt ", "short") + chunk("data", "abcd"))));
    EXPECT_FALSE(WaveFile::parse(wave(formatChunk() + chunk("data", ""))));
    EXPECT_FALSE(WaveFile::parse(wave("LIST" + number(0xFFFFFFFF, 4) + formatChunk() + chunk("data", "abcd"))));
}

} // namespace
} // namespace vantry::test
