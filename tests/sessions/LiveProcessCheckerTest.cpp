#include "sessions/LiveProcessChecker.h"

#include "support/FakeProcessTable.h"

#include <gtest/gtest.h>

namespace vantry::test {

TEST(LiveProcessChecker, givesTheStartTimeOfTheProcessTable)
{
    FakeProcessTable processes;
    processes.processes.insert(4242, { .startTime = 1'700'000'000.25, .parent = 1, .commandName = {} });
    const LiveProcessChecker checker(processes);

    EXPECT_EQ(checker.processStartTime(4242), 1'700'000'000.25);
    EXPECT_EQ(checker.processStartTime(4243), std::nullopt);
}

TEST(LiveProcessChecker, passesOnWhomToTerminateAndWhenItStarted)
{
    FakeProcessTable processes;
    LiveProcessChecker checker(processes);

    checker.terminate(4242, 17.5);

    ASSERT_EQ(processes.terminated.size(), 1);
    EXPECT_EQ(processes.terminated.front(), std::pair(std::int64_t { 4242 }, 17.5));
}

} // namespace vantry::test
