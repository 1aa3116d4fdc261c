#pragma once

#include <functional>
#include <memory>

namespace vantry {

/// Turns the signals that ask a program to end (SIGTERM, SIGINT, and SIGHUP unless it is ignored) into one call on the
/// main thread. The second such signal ends the process at once. One at a time in a process; restores what it found.
class SignalHandler final
{
public:
    /// Needs the application object. `onSignal` runs from the event loop, once.
    explicit SignalHandler(std::function<void()> onSignal);
    ~SignalHandler();
    SignalHandler(const SignalHandler &) = delete;
    SignalHandler &operator=(const SignalHandler &) = delete;

private:
    struct Installed;
    std::unique_ptr<Installed> m_installed;
};

} // namespace vantry
