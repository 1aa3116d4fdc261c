#include "app/SignalHandler.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

#include <csignal>

namespace vantry {
namespace {

using Handler = void (*)(int);

Handler handlerOf(int signal)
{
    struct sigaction present
    {};
    ::sigaction(signal, nullptr, &present);
    return present.sa_handler;
}

TEST(SignalHandler, callsFromTheEventLoopAlone)
{
    for (const int signal : { SIGTERM, SIGINT, SIGHUP }) {
        int calls = 0;
        const SignalHandler handler([&calls] { ++calls; });

        std::raise(signal);
        EXPECT_EQ(calls, 0) << "inside the signal nothing of ours may run";
        QCoreApplication::processEvents();
        EXPECT_EQ(calls, 1);
    }
}

TEST(SignalHandler, callsOnce)
{
    int calls = 0;
    const SignalHandler handler([&calls] { ++calls; });

    std::raise(SIGTERM);
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();

    EXPECT_EQ(calls, 1);
}

TEST(SignalHandler, endsTheProcessOnTheSecondSignal)
{
    const auto raiseTwice = [] {
        const SignalHandler handler([] {});
        std::raise(SIGINT);
        std::raise(SIGTERM);
    };

    EXPECT_EXIT(raiseTwice(), testing::KilledBySignal(SIGTERM), "");
}

TEST(SignalHandler, leavesAnIgnoredHangupIgnored)
{
    const auto before = std::signal(SIGHUP, SIG_IGN);
    {
        const SignalHandler handler([] {});
        EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
    }
    std::signal(SIGHUP, before);
}

TEST(SignalHandler, restoresWhatItFound)
{
    const Handler before = handlerOf(SIGTERM);
    {
        const SignalHandler handler([] {});
        EXPECT_NE(handlerOf(SIGTERM), before);
    }
    EXPECT_EQ(handlerOf(SIGTERM), before);
}

} // namespace
} // namespace vantry
