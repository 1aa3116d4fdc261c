#pragma once

#include <chrono>
#include <thread>

namespace vantry::test {

/// Asks again and again until `condition` holds; false when it does not within the time. For what another process does.
template <typename Condition>
[[nodiscard]] bool eventually(Condition condition, std::chrono::milliseconds within = std::chrono::seconds(20))
{
    const auto deadline = std::chrono::steady_clock::now() + within;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace vantry::test
