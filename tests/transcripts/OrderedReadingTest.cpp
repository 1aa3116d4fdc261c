#include "transcripts/OrderedReading.h"

#include "base/Cancellation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <numeric>
#include <vector>

namespace vantry::test {
namespace {

using Numbers = std::vector<std::size_t>;

OrderedReading::Result resultWith(std::size_t number)
{
    HistoricalSession session;
    session.id = QString::number(number);
    return session;
}

/// 0 to count - 1.
Numbers firstNumbers(std::size_t count)
{
    Numbers numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

TEST(OrderedReading, readsEachOnceAndHandsOverWhatCameOfIt)
{
    for (const std::size_t count : { 0U, 1U, 2U, 1'000U }) {
        std::vector<std::atomic<int>> reads(count);
        Numbers taken;
        const auto read = [&](std::size_t i, TranscriptBuffer &) {
            ++reads[i];
            return i % 3 == 0 ? std::nullopt : resultWith(i);
        };
        const auto take = [&](std::size_t i, const OrderedReading::Result &result) {
            EXPECT_EQ(result.has_value(), i % 3 != 0);
            EXPECT_TRUE(!result || result->id == QString::number(i));
            taken.push_back(i);
            return true;
        };
        OrderedReading(count, read, take).run();

        EXPECT_EQ(taken, firstNumbers(count));
        EXPECT_TRUE(std::ranges::all_of(reads, [](int times) { return times == 1; }));
    }
}

TEST(OrderedReading, keepsTheOrderAndStaysNearATranscriptThatTakesLong)
{
    constexpr std::size_t count = 100;
    constexpr std::size_t furthest = OrderedReading::mostAhead - 1;
    std::latch isFurthest(1);
    std::atomic<bool> isFirstRead { false };
    Numbers taken;
    const auto read = [&](std::size_t i, TranscriptBuffer &) {
        if (i == furthest)
            isFurthest.count_down();
        if (i == 0) {
            isFurthest.wait();
            isFirstRead = true;
        }
        EXPECT_TRUE(i <= furthest || isFirstRead);
        return resultWith(i);
    };
    const auto take = [&](std::size_t i, const OrderedReading::Result &) {
        taken.push_back(i);
        return true;
    };
    OrderedReading(count, read, take).run();

    EXPECT_EQ(taken, firstNumbers(count));
}

TEST(OrderedReading, readsNoMoreThanIsToBeHandedOver)
{
    std::atomic<std::size_t> reads { 0 };
    Numbers taken;
    const auto read = [&](std::size_t i, TranscriptBuffer &) {
        ++reads;
        return resultWith(i);
    };
    const auto take = [&](std::size_t i, const OrderedReading::Result &) {
        taken.push_back(i);
        return i < 3;
    };
    OrderedReading(1'000, read, take).run();

    EXPECT_EQ(taken, firstNumbers(4));
    EXPECT_LE(reads, 4 + OrderedReading::mostAhead);
}

TEST(OrderedReading, worksUnderTheCallersCancellation)
{
    const Cancellation cancellation;
    const Cancellation::Scope scope(cancellation);
    std::latch areBothReading(2);
    const auto read = [&](std::size_t i, TranscriptBuffer &) {
        areBothReading.arrive_and_wait();
        EXPECT_EQ(Cancellation::ofThisThread(), &cancellation);
        return resultWith(i);
    };
    OrderedReading(2, read, [](std::size_t, const OrderedReading::Result &) { return true; }).run();
}

} // namespace
} // namespace vantry::test
