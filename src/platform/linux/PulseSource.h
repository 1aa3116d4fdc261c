#pragma once

#include "base/Clock.h"
#include "platform/Microphone.h"
#include "platform/linux/PulseLibrary.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vantry {

/// The default source of the user's PulseAudio server, or of what answers in its stead. All of it happens on the thread
/// that made it, and its operations wait for the server.
class PulseSource
{
public:
    /// Asked several times a second; everything ends when it says so.
    using IsWanted = std::function<bool()>;

    PulseSource(const PulseLibrary &pulse, const Clock &clock, IsWanted isWanted);

    /// Connects to the server and sees that there is a microphone; gives why that failed.
    [[nodiscard]] std::optional<QString> open();
    /// Begins to listen; gives why that failed.
    [[nodiscard]] std::optional<QString> startStream();
    /// Gives what is heard away until the source isn't wanted or goes; tells why it went.
    [[nodiscard]] std::optional<QString> deliver(const std::function<void(Microphone::Block)> &onBlock);

private:
    template <typename Object>
    using Owned = std::unique_ptr<Object, std::function<void(Object *)>>;
    enum class Step { Waiting, Done, Failed };

    /// Lets the server's messages in until the step is over; gives why it failed.
    [[nodiscard]] std::optional<QString> wait(const std::function<Step()> &step);
    [[nodiscard]] bool pumpOnce();
    [[nodiscard]] QString lastError() const;
    [[nodiscard]] Step contextStep() const;
    /// Appends all that is there to what is gathered.
    [[nodiscard]] bool readStream();

    const PulseLibrary &m_pulse;
    const Clock &m_clock;
    const IsWanted m_isWanted;
    std::vector<float> m_gathered;
    Owned<pa_mainloop> m_loop;
    Owned<pa_context> m_context;
    Owned<pa_stream> m_stream;
};

} // namespace vantry
