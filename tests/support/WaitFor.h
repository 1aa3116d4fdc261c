#pragma once

#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <functional>

namespace vantry::test {

/// Runs the event loop until the condition holds; false when it does not for a long time. For what another thread or
/// another process does.
[[nodiscard]] inline bool waitFor(const std::function<bool()> &condition)
{
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (condition())
            loop.quit();
    });
    poll.start(std::chrono::milliseconds(1));
    QTimer::singleShot(std::chrono::seconds(20), &loop, &QEventLoop::quit);
    if (!condition())
        loop.exec();
    return condition();
}

} // namespace vantry::test
