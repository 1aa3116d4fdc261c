#include "DynamicNotchKit/Fade.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace std::chrono_literals;

constexpr MonotonicTime start = MonotonicTime() + 1h;

TEST(Fade, isThereAfterItsTimeAndFastAtFirst)
{
    Fade fade;
    fade.moveTo(1, 150ms, start);
    EXPECT_TRUE(fade.isMoving());
    fade.advance(start + 75ms);
    EXPECT_DOUBLE_EQ(fade.value(), 0.75);
    fade.advance(start + 150ms);
    EXPECT_EQ(fade.value(), 1);
    EXPECT_FALSE(fade.isMoving());
}

TEST(Fade, turnsBackFromWhereItIs)
{
    Fade fade;
    fade.moveTo(1, 150ms, start);
    fade.advance(start + 75ms);
    fade.moveTo(0, 150ms, start + 75ms);
    fade.advance(start + 75ms);
    EXPECT_DOUBLE_EQ(fade.value(), 0.75);
    fade.advance(start + 225ms);
    EXPECT_EQ(fade.value(), 0);
}

TEST(Fade, isNotDelayedByBeingAskedAgain)
{
    Fade fade;
    fade.moveTo(1, 150ms, start);
    fade.moveTo(1, 150ms, start + 100ms);
    fade.advance(start + 150ms);
    EXPECT_EQ(fade.value(), 1);
}

TEST(Fade, isThereAtOnceWithoutATime)
{
    Fade fade;
    fade.moveTo(1, 0ms, start);
    fade.advance(start);
    EXPECT_EQ(fade.value(), 1);
}

} // namespace
} // namespace vantry::test
