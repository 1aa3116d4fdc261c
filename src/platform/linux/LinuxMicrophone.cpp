#include "platform/linux/LinuxMicrophone.h"

#include "base/MainQueue.h"
#include "platform/linux/PulseSource.h"

#include <utility>

namespace vantry {

namespace {

/// As many can listen at once.
constexpr int maximumRecordings = 4;

/// What a recording shares with its thread.
struct Shared
{
    Microphone::Handlers handlers;
    std::atomic<bool> isOver { false };
};

class PulseRecording final : public Microphone::Recording
{
public:
    explicit PulseRecording(std::shared_ptr<Shared> shared)
        : m_shared(std::move(shared))
    {}
    ~PulseRecording() override { m_shared->isOver = true; }

private:
    std::shared_ptr<Shared> m_shared;
};

/// Calls a handler on the main thread, unless the recording is over by then.
template <typename Call>
void postCall(MainQueue &mainQueue, const std::shared_ptr<Shared> &shared, Call call)
{
    mainQueue.post([shared, call = std::move(call)] {
        if (!shared->isOver)
            call(shared->handlers);
    });
}

void record(MainQueue &mainQueue, const Clock &clock, const std::shared_ptr<Shared> &shared,
            const PulseSource::IsWanted &isWanted)
{
    const auto tellStart = [&](const std::optional<QString> &failure) {
        postCall(mainQueue, shared, [failure](const Microphone::Handlers &handlers) { handlers.onStarted(failure); });
    };
    const PulseLibrary pulse;
    if (const auto &problem = pulse.library.problem()) {
        tellStart(problem);
        return;
    }
    PulseSource source(pulse, clock, isWanted);
    auto failure = source.open();
    if (!failure)
        failure = source.startStream();
    tellStart(failure);
    if (failure)
        return;
    if (const auto loss = source.deliver(shared->handlers.onBlock))
        postCall(mainQueue, shared, [loss](const Microphone::Handlers &handlers) { handlers.onLost(*loss); });
}

} // namespace

LinuxMicrophone::LinuxMicrophone(MainQueue &mainQueue, const Clock &clock)
    : m_mainQueue(mainQueue)
    , m_clock(clock)
    , m_isClosing(std::make_shared<std::atomic<bool>>(false))
    , m_threads(maximumRecordings, WorkerPool::Priority::Normal)
{}

LinuxMicrophone::~LinuxMicrophone()
{
    *m_isClosing = true;
}

void LinuxMicrophone::requestAccess(std::function<void(bool isGranted)> done)
{
    done(true);
}

std::unique_ptr<Microphone::Recording> LinuxMicrophone::start(Handlers handlers)
{
    auto shared = std::make_shared<Shared>();
    shared->handlers = std::move(handlers);
    m_threads.run([&mainQueue = m_mainQueue, &clock = m_clock, shared, isClosing = m_isClosing] {
        record(mainQueue, clock, shared, [&] { return !shared->isOver && !*isClosing; });
    });
    return std::make_unique<PulseRecording>(shared);
}

std::optional<QString> LinuxMicrophone::problem(const Clock &clock)
{
    const PulseLibrary pulse;
    if (pulse.library.problem())
        return pulse.library.problem();
    return PulseSource(pulse, clock, [] { return true; }).open();
}

} // namespace vantry
