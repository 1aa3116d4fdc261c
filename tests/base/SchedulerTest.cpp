#include "base/Scheduler.h"

#include "support/ManualScheduler.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QEventLoop>

namespace vantry {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// Turns the event loop until the condition holds.
template <typename Condition>
void turnUntil(Condition &&condition)
{
    while (!condition())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

TEST(QtScheduler, firesOnceAfterTheDelay)
{
    QtScheduler scheduler;
    int fired = 0;
    const ScheduledTimer timer = scheduler.after(1ms, [&] { ++fired; });
    EXPECT_TRUE(timer.isActive());

    turnUntil([&] { return fired > 0; });

    EXPECT_EQ(fired, 1);
    EXPECT_FALSE(timer.isActive());
}

TEST(QtScheduler, firesAgainAndAgain)
{
    QtScheduler scheduler;
    int fired = 0;
    const ScheduledTimer timer = scheduler.every(1ms, [&] { ++fired; });

    turnUntil([&] { return fired == 3; });

    EXPECT_TRUE(timer.isActive());
}

TEST(QtScheduler, firesNoTimerThatWasCancelledOrDestroyed)
{
    QtScheduler scheduler;
    int fired = 0;
    ScheduledTimer cancelled = scheduler.after(0ms, [&] { ++fired; });
    cancelled.cancel();
    EXPECT_FALSE(cancelled.isActive());
    {
        const ScheduledTimer destroyed = scheduler.after(0ms, [&] { ++fired; });
    }
    bool isOver = false;
    const ScheduledTimer last = scheduler.after(1ms, [&] { isOver = true; });

    turnUntil([&] { return isOver; });

    EXPECT_EQ(fired, 0);
}

TEST(QtScheduler, letsAnActionCancelItsOwnTimer)
{
    QtScheduler scheduler;
    int fired = 0;
    auto witness = std::make_shared<int>(7);
    int seen = 0;
    ScheduledTimer timer;
    timer = scheduler.every(0ms, [&, witness = std::move(witness)] {
        ++fired;
        timer.cancel();
        // What the action holds lives until it returns.
        seen = *witness;
    });
    bool isOver = false;
    const ScheduledTimer last = scheduler.after(2ms, [&] { isOver = true; });

    turnUntil([&] { return isOver; });

    EXPECT_EQ(fired, 1);
    EXPECT_EQ(seen, 7);
}

TEST(QtScheduler, letsAnActionScheduleItselfAnew)
{
    QtScheduler scheduler;
    int fired = 0;
    ScheduledTimer timer;
    std::function<void()> again = [&] {
        if (++fired < 3)
            timer = scheduler.after(0ms, again);
    };
    timer = scheduler.after(0ms, again);

    turnUntil([&] { return fired == 3; });

    EXPECT_FALSE(timer.isActive());
}

class ManualSchedulerTest : public testing::Test
{
protected:
    test::ManualClock clock;
    test::ManualScheduler scheduler { clock };
    std::vector<double> firedAt;
    MonotonicTime start { clock.monotonicNow() };

    void note() { firedAt.push_back(Seconds(clock.monotonicNow() - start).count()); }
};

TEST_F(ManualSchedulerTest, firesInTheOrderOfTimeWithTheClockAtEachMoment)
{
    const auto late = scheduler.after(3s, [this] { note(); });
    const auto early = scheduler.after(1s, [this] { note(); });
    const auto often = scheduler.every(2s, [this] { note(); });

    scheduler.advance(5s);

    EXPECT_THAT(firedAt, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(clock.monotonicNow() - start, 5s);
    EXPECT_EQ(scheduler.activeTimers(), 1U);
}

TEST_F(ManualSchedulerTest, firesExactlyWhenDueAndNotBefore)
{
    const auto timer = scheduler.after(1s, [this] { note(); });
    scheduler.advance(999ms);
    EXPECT_TRUE(firedAt.empty());
    EXPECT_TRUE(timer.isActive());

    scheduler.advance(1ms);
    EXPECT_THAT(firedAt, ElementsAre(1));
    EXPECT_FALSE(timer.isActive());
}

TEST_F(ManualSchedulerTest, letsAnActionCancelAndReplaceItsOwnTimer)
{
    ScheduledTimer timer;
    timer = scheduler.every(1s, [&] {
        note();
        timer = scheduler.after(5s, [this] { note(); });
    });

    scheduler.advance(10s);

    EXPECT_THAT(firedAt, ElementsAre(1, 6));
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(ManualSchedulerTest, firesOnceForWhatWasDueSeveralTimesMeanwhile)
{
    const auto timer = scheduler.every(10s, [this] { note(); });
    clock.advance(100s);

    scheduler.advance(0s);
    EXPECT_THAT(firedAt, ElementsAre(100));
    scheduler.advance(10s);
    EXPECT_THAT(firedAt, ElementsAre(100, 110));
}

TEST(ScheduledTimer, isIdleWhenNothingWasScheduled)
{
    ScheduledTimer timer;
    EXPECT_FALSE(timer.isActive());
    timer.cancel();
}

} // namespace
} // namespace vantry
