#include "base/WorkerPool.h"

#include "base/Subprocess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
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
