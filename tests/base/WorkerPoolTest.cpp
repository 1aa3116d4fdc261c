#include "base/WorkerPool.h"

#include "base/Subprocess.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <optional>
#include <thread>

namespace vantry {
namespace {

TEST(WorkerPool, runsAllTasks)
{
    WorkerPool pool;
    std::atomic<int> ran { 0 };
    for (int i = 0; i < 100; ++i)
        pool.run([&ran] { ++ran; });
    pool.waitForDone();

    EXPECT_EQ(ran, 100);
}

TEST(WorkerPool, tellsARunningTaskThatItsEndHasCome)
{
    EXPECT_FALSE(Cancellation::isThisThreadCancelled());
    std::latch runs(1);
    std::atomic<bool> wasCancelledAtFirst { true };
    std::optional<WorkerPool> pool(std::in_place);
    pool->run([&] {
        wasCancelledAtFirst = Cancellation::isThisThreadCancelled();
        runs.count_down();
        while (!Cancellation::isThisThreadCancelled())
            std::this_thread::yield();
    });
    runs.wait();
    pool.reset();

    EXPECT_FALSE(wasCancelledAtFirst);
}

TEST(WorkerPool, runsAsManyTasksAtOnceAsItMayHaveThreads)
{
    constexpr int threads = 5;
    WorkerPool pool(threads);
    std::latch allRun(threads);
    for (int i = 0; i < threads; ++i)
        pool.run([&allRun] { allRun.arrive_and_wait(); });
    pool.waitForDone();

    EXPECT_TRUE(allRun.try_wait());
}

TEST(WorkerPool, leavesThePriorityWhereTheUserWaits)
{
    const auto priorityIn = [](WorkerPool &pool) {
        int priority = 0;
        pool.run([&priority] { priority = getpriority(PRIO_PROCESS, 0); });
        pool.waitForDone();
        return priority;
    };
    WorkerPool normal(1, WorkerPool::Priority::Normal);
    WorkerPool low(1, WorkerPool::Priority::Low);

    EXPECT_EQ(priorityIn(normal), getpriority(PRIO_PROCESS, 0));
    EXPECT_GT(priorityIn(low), getpriority(PRIO_PROCESS, 0));
}

TEST(WorkerPool, waitsAtItsEndForWhatHasBegun)
{
    std::promise<void> begun;
    std::atomic<bool> hasEnded { false };
    {
        WorkerPool pool(1);
        pool.run([&] {
            begun.set_value();
            std::this_thread::yield();
            hasEnded = true;
        });
        begun.get_future().wait();
    }
    EXPECT_TRUE(hasEnded);
}

TEST(WorkerPool, waitsAtItsEndForNoOutsideProgram)
{
    std::promise<void> begun;
    int exitStatus = 0;
    {
        WorkerPool pool(1);
        pool.run([&] {
            Subprocess process;
            process.executable = QStringLiteral("/bin/sleep");
            process.arguments = { QStringLiteral("600") };
            process.timeout = std::chrono::minutes { 10 };
            begun.set_value();
            exitStatus = process.run().exitStatus;
        });
        begun.get_future().wait();
    }
    EXPECT_EQ(exitStatus, -1);
}

TEST(WorkerPool, dropsAtItsEndWhatHasNotBegun)
{
    std::promise<void> begun;
    std::promise<void> mayEnd;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    bool waitingRan = false;
    // The running task ends only when the waiting one has been dropped.
    std::thread release;
    {
        WorkerPool pool(1);
        pool.run([&] {
            begun.set_value();
            mayEnd.get_future().wait();
        });
        begun.get_future().wait();
        pool.run([&waitingRan, held = std::move(held)] { waitingRan = true; });
        release = std::thread([&] {
            while (!watch.expired())
                std::this_thread::yield();
            mayEnd.set_value();
        });
    }
    release.join();

    EXPECT_FALSE(waitingRan);
}

} // namespace
} // namespace vantry
