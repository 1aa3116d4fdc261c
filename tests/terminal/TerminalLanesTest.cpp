#include "terminal/TerminalLanes.h"

#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <future>
#include <latch>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using Failure = TerminalLanes::Failure;
using std::chrono::milliseconds;

class Lanes : public ::testing::Test
{
protected:
    /// A call that notes its name and ends so.
    std::function<Failure()> call(const QString &name, const Failure &result = {})
    {
        return [this, name, result] {
            const std::scoped_lock lock(m_mutex);
            m_calls.append(name);
            return result;
        };
    }
    [[nodiscard]] QStringList calls()
    {
        const std::scoped_lock lock(m_mutex);
        return m_calls;
    }
    TerminalLanes::Done keep()
    {
        return [this](const Failure &failure) { outcomes.append(failure.value_or(u"done"_s)); };
    }
    void waitForOutcomes(qsizetype count)
    {
        while (outcomes.size() < count)
            ASSERT_TRUE(mainQueue.drainWhenPosted());
    }

    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    QStringList outcomes;

private:
    std::mutex m_mutex;
    QStringList m_calls;

protected:
    TerminalLanes lanes { mainQueue, scheduler };
};

TEST_F(Lanes, runsCallsOffTheMainThread)
{
    std::promise<std::thread::id> runner;
    lanes.run(u"a"_s, { { .call = [&]() -> Failure {
                  runner.set_value(std::this_thread::get_id());
                  return std::nullopt;
              } } },
              keep());
    waitForOutcomes(1);

    EXPECT_NE(runner.get_future().get(), std::this_thread::get_id());
}

TEST_F(Lanes, keepsTheOrderInALane)
{
    QStringList expected;
    for (int i = 0; i < 50; ++i) {
        const QString name = QString::number(i);
        lanes.run(u"a"_s, { { .call = call(name) }, { .call = call(name + u"b"_s) } }, keep());
        expected << name << name + u"b"_s;
    }
    waitForOutcomes(50);

    EXPECT_EQ(calls(), expected);
}

TEST_F(Lanes, runsManyHangingLanesAtOnce)
{
    constexpr int count = 40;
    std::latch all(count);
    for (int i = 0; i < count; ++i) {
        lanes.run(QString::number(i), { { .call = [&all]() -> Failure {
                      all.arrive_and_wait();
                      return std::nullopt;
                  } } },
                  keep());
    }
    waitForOutcomes(count);
}

TEST_F(Lanes, goesOnAfterAFailure)
{
    lanes.run(u"a"_s, { { .call = call(u"1"_s, u"broken"_s) }, { .call = call(u"left out"_s) } }, keep());
    lanes.run(u"a"_s, { { .call = call(u"2"_s) } }, keep());
    waitForOutcomes(2);

    EXPECT_EQ(outcomes, QStringList({ u"broken"_s, u"done"_s }));
    EXPECT_EQ(calls(), QStringList({ u"1"_s, u"2"_s }));
}

TEST_F(Lanes, takesAnExceptionForAFailure)
{
    lanes.run(u"a"_s, { { .call = []() -> Failure { throw std::runtime_error("out of luck"); } } }, keep());
    waitForOutcomes(1);

    EXPECT_EQ(outcomes, QStringList { u"out of luck"_s });
}

TEST_F(Lanes, asksJustBeforeEachStepWhetherItMayBegin)
{
    QStringList asked;
    Failure refusal;
    const auto mayBegin = [&] {
        asked.append(calls());
        return refusal;
    };
    lanes.run(u"a"_s, { { call(u"1"_s), milliseconds { 100 }, mayBegin }, { call(u"2"_s), {}, mayBegin } }, keep());
    ASSERT_TRUE(mainQueue.drainWhenPosted());
    refusal = u"no more"_s;
    scheduler.advance(Seconds { 0.1 });
    EXPECT_TRUE(outcomes.isEmpty()) << "the end comes from the main queue";
    waitForOutcomes(1);

    EXPECT_EQ(outcomes, QStringList { u"no more"_s });
    EXPECT_EQ(asked, QStringList { u"1"_s }) << "nothing had been called when it was asked first";
    EXPECT_EQ(calls(), QStringList { u"1"_s });
}

TEST_F(Lanes, pausesAlsoBetweenJobs)
{
    lanes.run(u"a"_s, { { call(u"1"_s), milliseconds { 100 }, {} } }, keep());
    waitForOutcomes(1);
    lanes.run(u"a"_s, { { .call = call(u"2"_s) } }, keep());
    EXPECT_EQ(scheduler.activeTimers(), 1);
    scheduler.advance(Seconds { 0.1 });
    waitForOutcomes(2);

    EXPECT_EQ(calls(), QStringList({ u"1"_s, u"2"_s }));
    EXPECT_EQ(scheduler.activeTimers(), 0);
}

TEST_F(Lanes, acceptsAJobFromTheEndOfAnother)
{
    lanes.run(u"a"_s, { { .call = call(u"1"_s) } },
              [this](const Failure &) { lanes.run(u"a"_s, { { .call = call(u"2"_s) } }, keep()); });
    waitForOutcomes(1);

    EXPECT_EQ(calls(), QStringList({ u"1"_s, u"2"_s }));
}

TEST(LaneOf, isTheSameForASharedTerminalAndApartWithoutAnIdentifier)
{
    const auto laneOf = [](const QString &type, const QString &id, std::optional<std::int64_t> shell) {
        return TerminalLanes::laneOf({ .type = type, .sessionID = id, .shellPid = shell });
    };
    EXPECT_EQ(laneOf(u"t"_s, u"1"_s, 10), laneOf(u"t"_s, u"1"_s, 11));
    EXPECT_NE(laneOf(u"t"_s, u"1"_s, 10), laneOf(u"t"_s, u"2"_s, 10));
    EXPECT_NE(laneOf(u"t"_s, u"1"_s, 10), laneOf(u"u"_s, u"1"_s, 10));
    EXPECT_NE(laneOf(u"t"_s, {}, 10), laneOf(u"t"_s, {}, 11));
}

} // namespace
} // namespace vantry::test
