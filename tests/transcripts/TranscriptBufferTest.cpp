#include "transcripts/TranscriptBuffer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

namespace vantry::test {
namespace {

constexpr std::size_t ordinary = TranscriptBuffer::ordinaryCapacity;
constexpr std::size_t longest = 8 * ordinary;

TEST(TranscriptBuffer, keepsWhatItHoldsWhenTheCapacityIsTheSame)
{
    TranscriptBuffer buffer;
    EXPECT_EQ(buffer.capacity(), 0U);
    buffer.reserve(ordinary);
    const char *const memory = buffer.get();
    std::memset(buffer.get(), 'x', ordinary);

    buffer.reserve(ordinary);
    buffer.releaseLong();

    EXPECT_EQ(buffer.get(), memory);
    EXPECT_EQ(buffer.get()[ordinary - 1], 'x');
}

TEST(TranscriptBuffer, givesBackWhatIsExtraordinary)
{
    TranscriptBuffer buffer;
    for (const std::size_t capacity : { 2 * ordinary, longest }) {
        buffer.reserve(capacity);
        EXPECT_EQ(buffer.capacity(), capacity);
        std::memset(buffer.get(), 'x', capacity);
        buffer.releaseLong();
        EXPECT_EQ(buffer.capacity(), 0U);
    }
}

TEST(TranscriptBuffer, canGrowAndShrinkAtWill)
{
    TranscriptBuffer buffer;
    for (const std::size_t capacity : { longest, longest + 4096, ordinary, longest, 2 * ordinary }) {
        buffer.reserve(capacity);
        EXPECT_EQ(buffer.capacity(), capacity);
    }
}

TEST(TranscriptBuffer, isVeryLargeOneAtATime)
{
    TranscriptBuffer first;
    TranscriptBuffer second;
    std::atomic<bool> isFirstDone { false };
    first.reserve(longest);
    std::thread other([&] {
        second.reserve(longest);
        EXPECT_TRUE(isFirstDone);
        second.releaseLong();
    });
    TranscriptBuffer ordinaryOne;
    ordinaryOne.reserve(ordinary);
    isFirstDone = true;
    first.releaseLong();
    other.join();
}

} // namespace
} // namespace vantry::test
