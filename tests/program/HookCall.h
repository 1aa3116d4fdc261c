#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <string>
#include <string_view>

namespace vantry::test {

/// One connection to the program's hook port, as a hook script has it. Sends at construction; reads when asked to.
class HookCall
{
public:
    static constexpr int port = 49152;

    /// Connects and sends these bytes as they are.
    explicit HookCall(std::string_view bytes);
    ~HookCall();
    HookCall(HookCall &&other) noexcept;
    HookCall(const HookCall &) = delete;
    HookCall &operator=(const HookCall &) = delete;
    HookCall &operator=(HookCall &&) = delete;

    /// The request by which a hook script posts a body.
    [[nodiscard]] static std::string request(std::string_view body, std::string_view moreHeaders = {});
    [[nodiscard]] static HookCall post(const nlohmann::ordered_json &event) { return HookCall(request(event.dump())); }

    [[nodiscard]] bool connected() const { return m_socket >= 0; }
    void send(std::string_view bytes);
    /// Says that nothing more will be sent.
    void finishSending();
    /// Everything up to the peer's close; what has come so far when that takes longer.
    [[nodiscard]] std::string response(std::chrono::milliseconds within = std::chrono::seconds(20));
    /// The response's body.
    std::string body();
    /// Whether the peer has neither answered nor closed.
    [[nodiscard]] bool isWaiting() const;
    /// Closes as a killed process does, with a reset when something is unread.
    void hangUp();

private:
    int m_socket { -1 };
};

/// Whether the program answers on its port.
[[nodiscard]] bool isHealthy();

} // namespace vantry::test
