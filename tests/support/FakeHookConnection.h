#pragma once

#include "hooks/HookConnection.h"

#include <functional>
#include <optional>
#include <string>

namespace vantry::test {

/// A held connection that records what is done with it; a test plays its peer.
class FakeHookConnection final : public HookConnection
{
public:
    void respond(std::string_view statusText, std::string responseBody) override
    {
        if (status || cancelled)
            return;
        status = std::string(statusText);
        body = std::move(responseBody);
    }
    void cancel() override
    {
        if (!status)
            cancelled = true;
    }
    void watch(std::function<void()> onGone) override { m_onGone = std::move(onGone); }
    [[nodiscard]] bool isGone() const override { return cancelled || failed; }

    /// The peer closes: what was watching is told, as the main queue would do it.
    void closeFromPeer()
    {
        if (const auto onGone = std::exchange(m_onGone, {}))
            onGone();
    }
    [[nodiscard]] bool isWatched() const { return static_cast<bool>(m_onGone); }

    std::optional<std::string> status;
    std::string body;
    bool cancelled { false };
    bool failed { false }; ///< Set by a test: gone, and nobody was told.

private:
    std::function<void()> m_onGone;
};

} // namespace vantry::test
