#include "DynamicNotchKit/Spring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace vantry::test {
namespace {

constexpr SpringAnimation opening { 0.4, 0.7 };
constexpr SpringAnimation closing { 0.4, 1.0 };
constexpr double rest = 0.1;

MonotonicTime at(double seconds)
{
    return MonotonicTime() + std::chrono::duration_cast<MonotonicTime::duration>(Seconds(seconds));
}

TEST(Spring, standsStillAtFirst)
{
    Spring spring(7);
    spring.advance(at(3), rest);
    EXPECT_FALSE(spring.isMoving());
    EXPECT_EQ(spring.value(), 7);
    EXPECT_EQ(spring.target(), 7);
}

TEST(Spring, comesToItsTargetAndRests)
{
    Spring spring(0);
    spring.moveTo(100, closing, at(0));
    EXPECT_TRUE(spring.isMoving());
    spring.advance(at(2), rest);
    EXPECT_EQ(spring.value(), 100);
    EXPECT_EQ(spring.velocity(), 0);
    EXPECT_FALSE(spring.isMoving());
}

TEST(Spring, goesBeyondItsTargetOnlyWhenItIsWeaklyDamped)
{
    for (const auto &[damping, overshoot] : { std::pair(0.7, 4.6), std::pair(0.85, 0.63), std::pair(1.0, 0.0) }) {
        Spring spring(0);
        spring.moveTo(100, { 0.4, damping }, at(0));
        double highest = 0;
        for (double time = 0; time < 2; time += 0.001) {
            spring.advance(at(time), 0.0001);
            highest = std::max(highest, spring.value());
        }
        EXPECT_NEAR(highest - 100, overshoot, 0.02) << damping;
    }
}

TEST(Spring, isWhereAStepwiseCalculationSaysItIs)
{
    for (const double damping : { 0.2, 0.7, 0.85, 0.999, 1.0, 1.001, 1.5, 4.0 }) {
        const SpringAnimation animation { 0.4, damping };
        const double stiffness = std::pow(2 * M_PI / animation.response, 2);
        const double friction = 4 * M_PI * damping / animation.response;
        double x = -300;
        double v = 900;
        constexpr double step = 1e-5;
        for (int i = 1; i <= 100'000; ++i) {
            v += (-stiffness * x - friction * v) * step;
            x += v * step;
            if (i % 5'000 != 0)
                continue;
            const auto motion = Spring::motionAfter(Seconds(i * step), { -300, 900 }, animation);
            EXPECT_NEAR(motion.displacement, x, 0.3) << damping << " at " << i * step;
            EXPECT_NEAR(motion.velocity, v, 8) << damping << " at " << i * step;
        }
    }
}

TEST(Spring, showsTheSameMotionAtEveryFrameRate)
{
    Spring often(0);
    Spring seldom(0);
    often.moveTo(200, opening, at(0));
    seldom.moveTo(200, opening, at(0));
    for (double time = 0; time <= 0.2; time += 0.001)
        often.advance(at(time), rest);
    often.advance(at(0.2), rest);
    seldom.advance(at(0.2), rest);
    EXPECT_DOUBLE_EQ(often.value(), seldom.value());
    EXPECT_DOUBLE_EQ(often.velocity(), seldom.velocity());
}

TEST(Spring, keepsItsPlaceAndVelocityWhenTheTargetChanges)
{
    Spring spring(0);
    spring.moveTo(100, opening, at(0));
    spring.advance(at(0.1), rest);
    const double value = spring.value();
    const double velocity = spring.velocity();
    EXPECT_GT(velocity, 0);

    spring.moveTo(0, closing, at(0.1));
    spring.advance(at(0.1), rest);
    EXPECT_DOUBLE_EQ(spring.value(), value);
    EXPECT_DOUBLE_EQ(spring.velocity(), velocity);
    spring.advance(at(0.101), rest);
    EXPECT_GT(spring.value(), value) << "it still goes up for a moment";
    spring.advance(at(3), rest);
    EXPECT_EQ(spring.value(), 0);
}

TEST(Spring, isNotDisturbedByBeingSentWhereItGoesAlready)
{
    Spring spring(0);
    spring.moveTo(100, opening, at(0));
    spring.advance(at(0.1), rest);
    const double value = spring.value();
    spring.moveTo(100, opening, at(0.1));
    spring.advance(at(0.1), rest);
    EXPECT_EQ(spring.value(), value);
    spring.advance(at(0.2), rest);
    const auto alone = Spring::motionAfter(Seconds(0.2), { -100, 0 }, opening);
    EXPECT_DOUBLE_EQ(spring.value(), 100 + alone.displacement);
}

TEST(Spring, passesItsTargetWithoutStopping)
{
    Spring spring(0);
    spring.moveTo(1000, { 0.4, 0.3 }, at(0));
    bool hasRisen = false;
    for (double time = 0; time < 0.5; time += 0.0005) {
        spring.advance(at(time), rest);
        hasRisen = hasRisen || spring.value() > 1200;
    }
    EXPECT_TRUE(hasRisen);
}

TEST(Spring, isThereAtOnceWithoutResponseOrDamping)
{
    for (const SpringAnimation &animation : { SpringAnimation { 0, 1 }, SpringAnimation { -1, 1 },
                                              SpringAnimation { 0.4, 0 }, SpringAnimation { NAN, NAN } }) {
        Spring spring(0);
        spring.moveTo(100, animation, at(0));
        EXPECT_EQ(spring.value(), 100);
        EXPECT_FALSE(spring.isMoving());
    }
}

TEST(Spring, isThereAfterALongSleepAndStaysForTimeThatGoesBack)
{
    Spring spring(0);
    spring.moveTo(100, opening, at(10));
    spring.advance(at(5), rest);
    EXPECT_EQ(spring.value(), 0);
    spring.advance(at(1e9), rest);
    EXPECT_EQ(spring.value(), 100);
}

TEST(Spring, staysFiniteWhateverItIsSentThrough)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> target(-1e4, 1e4);
    std::uniform_real_distribution<double> damping(0.01, 3);
    std::uniform_real_distribution<double> step(0, 0.3);
    Spring spring(0);
    double time = 0;
    for (int i = 0; i < 10'000; ++i) {
        spring.moveTo(target(random), { 0.4, damping(random) }, at(time));
        time += step(random);
        spring.advance(at(time), rest);
        ASSERT_TRUE(std::isfinite(spring.value()));
        ASSERT_LT(std::abs(spring.value()), 1e6);
    }
    spring.moveTo(1, closing, at(time));
    spring.advance(at(time + 3), rest);
    EXPECT_EQ(spring.value(), 1);
}

} // namespace
} // namespace vantry::test
