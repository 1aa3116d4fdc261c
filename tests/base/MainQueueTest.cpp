#include "base/MainQueue.h"

#include "support/ManualMainQueue.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QEventLoop>

#include <thread>

namespace vantry {
namespace {

using testing::ElementsAre;

/// Counts how often the main thread would be woken.
class CountingQueue final : public MainQueue
{
public:
    int wakes { 0 };

protected:
    void wake() override { ++wakes; }
};

TEST(MainQueue, runsTasksInTheOrderOfPosting)
{
    CountingQueue queue;
    std::vector<int> ran;
    for (int i = 0; i < 3; ++i)
        queue.post([&ran, i] { ran.push_back(i); });

    EXPECT_EQ(queue.drain(), 3U);
    EXPECT_THAT(ran, ElementsAre(0, 1, 2));
}

TEST(MainQueue, wakesOnceForWhatHasGathered)
{
    CountingQueue queue;
    queue.post([] {});
    queue.post([] {});
    EXPECT_EQ(queue.wakes, 1);

    queue.drain();
    queue.post([] {});
    EXPECT_EQ(queue.wakes, 2);
}

TEST(MainQueue, leavesWhatItsTasksPostForTheNextTime)
{
    CountingQueue queue;
    int runs = 0;
    std::function<void()> repost = [&] {
        ++runs;
        queue.post(repost);
    };
    queue.post(repost);

    EXPECT_EQ(queue.drain(), 1U);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(queue.wakes, 2);
    EXPECT_EQ(queue.drain(), 1U);
}

TEST(MainQueue, letsGoOfWhatATaskHoldsBeforeTheNextRuns)
{
    CountingQueue queue;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    queue.post([held = std::move(held)] { static_cast<void>(held); });
    bool wasGone = false;
    queue.post([&] { wasGone = watch.expired(); });

    queue.drain();

    EXPECT_TRUE(wasGone);
}

TEST(MainQueue, losesNothingThatManyThreadsPost)
{
    test::ManualMainQueue queue;
    int ran = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int task = 0; task < 500; ++task)
                queue.post([&ran] { ++ran; });
        });
    while (ran < 2000 && queue.drainWhenPosted()) {
    }
    for (std::thread &thread : threads)
        thread.join();

    EXPECT_EQ(ran, 2000);
}

TEST(QtMainQueue, runsTasksInTheEventLoop)
{
    QtMainQueue queue;
    QEventLoop loop;
    std::thread::id runner;
    std::thread poster([&] {
        queue.post([&] {
            runner = std::this_thread::get_id();
            loop.quit();
        });
    });
    loop.exec();
    poster.join();

    EXPECT_EQ(runner, std::this_thread::get_id());
}

TEST(QtMainQueue, letsTheEventLoopTurnBetweenATaskAndWhatItPosts)
{
    QtMainQueue queue;
    int runs = 0;
    std::function<void()> repost = [&] {
        if (++runs < 100)
            queue.post(repost);
    };
    queue.post(repost);

    QCoreApplication::sendPostedEvents();

    EXPECT_LT(runs, 100);
    while (runs < 100)
        QCoreApplication::processEvents();
}

TEST(QtMainQueue, dropsWhatIsLeftWhenItEnds)
{
    bool hasRun = false;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    {
        QtMainQueue queue;
        queue.post([&hasRun, held = std::move(held)] { hasRun = true; });
    }
    QCoreApplication::processEvents();

    EXPECT_FALSE(hasRun);
    EXPECT_TRUE(watch.expired());
}

TEST(QtMainQueue, dropsWhatIsPostedWhileItEnds)
{
    int posted = 0;
    bool hasRun = false;
    {
        QtMainQueue queue;
        const auto postOnceMore = [&](QtMainQueue *ending) {
            ending->post([&hasRun] { hasRun = true; });
            ++posted;
        };
        queue.post([held = std::shared_ptr<QtMainQueue>(&queue, postOnceMore)] {});
    }
    QCoreApplication::processEvents();

    EXPECT_EQ(posted, 1);
    EXPECT_FALSE(hasRun);
}

TEST(ManualMainQueue, waitsForANewTaskAfterItWasDrained)
{
    test::ManualMainQueue queue;
    queue.post([] {});
    queue.drainAll();
    bool hasRun = false;
    std::thread poster([&] { queue.post([&] { hasRun = true; }); });

    EXPECT_TRUE(queue.drainWhenPosted());
    poster.join();
    EXPECT_TRUE(hasRun);
}

TEST(ManualMainQueue, givesUpWhenNothingComes)
{
    test::ManualMainQueue queue;
    EXPECT_FALSE(queue.drainWhenPosted(std::chrono::milliseconds { 1 }));
}

} // namespace
} // namespace vantry
