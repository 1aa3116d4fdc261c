#pragma once

#include "base/Clock.h"
#include "base/WorkerPool.h"
#include "platform/Microphone.h"

#include <atomic>

namespace vantry {

class MainQueue;

/// The microphone that the user's audio server (PulseAudio, or PipeWire in its stead) has as its default. Each
/// recording is a connection with a thread of its own, which alone waits for the server. There is nobody here to give
/// leave, so it is always given. Main thread only.
class LinuxMicrophone final : public Microphone
{
public:
    /// Both outlive this.
    LinuxMicrophone(MainQueue &mainQueue, const Clock &clock);
    ~LinuxMicrophone() override;

    void requestAccess(std::function<void(bool isGranted)> done) override;
    [[nodiscard]] std::unique_ptr<Recording> start(Handlers handlers) override;

    /// Why there is none that could be listened to, if so. Waits for the server; any thread.
    [[nodiscard]] static std::optional<QString> problem(const Clock &clock);

private:
    MainQueue &m_mainQueue;
    const Clock &m_clock;
    std::shared_ptr<std::atomic<bool>> m_isClosing;
    WorkerPool m_threads;
};

} // namespace vantry
