#include "base/SerialQueue.h"

#include <gmock/gmock.h>

#include <pthread.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace vantry {
namespace {

TEST(SerialQueue, givesBackWhatATaskReturns)
{
    SerialQueue queue("test");
    EXPECT_EQ(queue.sync([] { return 42; }), 42);
    EXPECT_EQ(*queue.sync([] { return std::make_unique<int>(7); }), 7);
}

TEST(SerialQueue, runsWhatIsWaitedForOnTheThreadThatWaits)
{
    SerialQueue queue("test");
    EXPECT_EQ(queue.sync([] { return std::this_thread::get_id(); }), std::this_thread::get_id());
}

TEST(SerialQueue, runsWhatNobodyWaitsForOnAThreadOfItsOwn)
{
    SerialQueue queue("test");
    std::thread::id other;
    queue.async([&] { other = std::this_thread::get_id(); });
    queue.sync([] {});

    EXPECT_NE(other, std::thread::id());
    EXPECT_NE(other, std::this_thread::get_id());
}

TEST(SerialQueue, tellsItsTasksFromEverythingElse)
{
    SerialQueue queue("test");
    bool inTask = false;
    queue.async([&] { inTask = queue.isCurrent(); });

    EXPECT_TRUE(queue.sync([&] { return queue.isCurrent(); }));
    EXPECT_TRUE(inTask);
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueue, throwsOnAtTheCallerWhatATaskThrows)
{
    SerialQueue queue("test");
    EXPECT_THROW(queue.sync([] { throw std::runtime_error("broken"); }), std::runtime_error);
    EXPECT_THROW(queue.sync([]() -> int { throw std::logic_error("broken"); }), std::logic_error);
    EXPECT_EQ(queue.sync([] { return 1; }), 1);
}

TEST(SerialQueue, runsTasksOneAfterAnotherInTheirOrder)
{
    SerialQueue queue("test");
    std::vector<int> ran;
    std::vector<int> expected;
    for (int i = 0; i < 1000; ++i) {
        queue.async([&ran, i] { ran.push_back(i); });
        expected.push_back(i);
    }

    EXPECT_EQ(queue.sync([&] { return ran; }), expected);
}

TEST(SerialQueue, keepsTheTasksOfManyCallersApart)
{
    SerialQueue queue("test");
    int total = 0;
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([&] {
            for (int task = 0; task < 500; ++task)
                queue.sync([&] { ++total; });
        });
    for (std::thread &caller : callers)
        caller.join();

    EXPECT_EQ(total, 2000);
}

TEST(SerialQueue, mixesWhatIsWaitedForWithTheRestInTheOrderInWhichItWasGiven)
{
    SerialQueue queue("test");
    std::vector<int> ran;
    std::vector<int> expected;
    for (int i = 0; i < 1000; i += 2) {
        queue.async([&ran, i] { ran.push_back(i); });
        queue.sync([&ran, i] { ran.push_back(i + 1); });
        expected.insert(expected.end(), { i, i + 1 });
    }

    EXPECT_EQ(ran, expected);
}

TEST(SerialQueue, neverRunsATaskOfACallerBesideOneOfItsOwnThread)
{
    SerialQueue queue("test");
    int total = 0;
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([&] {
            for (int task = 0; task < 250; ++task) {
                queue.async([&] { ++total; });
                queue.sync([&] { ++total; });
            }
        });
    for (std::thread &caller : callers)
        caller.join();

    EXPECT_EQ(queue.sync([&] { return total; }), 2000);
}

TEST(SerialQueue, runsWhatWasGivenBeforeItEnds)
{
    int ran = 0;
    {
        SerialQueue queue("test");
        for (int i = 0; i < 100; ++i)
            queue.async([&ran] { ++ran; });
    }
    EXPECT_EQ(ran, 100);
}

TEST(SerialQueue, runsWhatATaskGivesItWhileEnding)
{
    bool hasRun = false;
    {
        SerialQueue queue("test");
        queue.async([&] { queue.async([&] { hasRun = true; }); });
    }
    EXPECT_TRUE(hasRun);
}

TEST(SerialQueue, letsGoOfATaskOnceItHasRun)
{
    SerialQueue queue("test");
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    queue.async([held = std::move(held)] { static_cast<void>(held); });
    queue.sync([] {});

    EXPECT_TRUE(watch.expired());
}

TEST(SerialQueue, namesItsThreadAsFarAsTheSystemAllows)
{
    SerialQueue queue("com.vantry.sessionstore");
    std::array<char, 64> name {};
    queue.async([&] { pthread_getname_np(pthread_self(), name.data(), name.size()); });
    queue.sync([] {});

    EXPECT_STREQ(name.data(), "com.vantry.sess");
    EXPECT_EQ(queue.label(), "com.vantry.sessionstore");
}

#ifndef QT_NO_DEBUG
TEST(SerialQueueDeathTest, refusesToWaitForItself)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            SerialQueue queue("test");
            queue.sync([&] { queue.sync([] {}); });
        },
        "waits for itself");
}
#endif

} // namespace
} // namespace vantry
