#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace vantry {

/// The user's microphone. Main thread only, but for what is said of blocks.
class Microphone
{
public:
    /// Frames a second, of one channel.
    static constexpr int sampleRate = 16'000;
    /// In a block, but for the last one.
    static constexpr int framesPerBlock = 1024;

    /// Samples of one channel, from -1 to 1, at `sampleRate`. What a device gives may lie outside.
    using Block = std::span<const float>;

    /// Listening; destroying it ends that. A block that is being delivered then is delivered to its end.
    class Recording
    {
    public:
        virtual ~Recording() = default;
    };

    struct Handlers
    {
        std::function<void(Block)> onBlock; ///< On a thread of the microphone's, one block at a time.
        /// The start is over; tells why it failed, if so. Main thread, once, perhaps before start() has returned.
        std::function<void(const std::optional<QString> &failure)> onStarted;
        /// The microphone has gone and there will be no more blocks; tells why. Main thread, once.
        std::function<void(const QString &failure)> onLost;
    };

    virtual ~Microphone() = default;

    /// Asks the user, where the system has them decide who may listen; `done` is called on any thread.
    virtual void requestAccess(std::function<void(bool isGranted)> done) = 0;
    /// Never waits for the device. No handler is called on the main thread once the recording has been destroyed.
    [[nodiscard]] virtual std::unique_ptr<Recording> start(Handlers handlers) = 0;
};

} // namespace vantry
