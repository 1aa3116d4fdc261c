#include "platform/linux/PulseSource.h"

#include <cstdint>
#include <cstring>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How long a server may take for its answer.
constexpr auto patience = 5s;
/// In microseconds. How late the end of the wish may be noticed when nothing is heard.
constexpr int pollTimeout = 50'000;

} // namespace

PulseSource::PulseSource(const PulseLibrary &pulse, const Clock &clock, IsWanted isWanted)
    : m_pulse(pulse)
    , m_clock(clock)
    , m_isWanted(std::move(isWanted))
    , m_loop(pulse.mainloop_new(), pulse.mainloop_free)
{}

std::optional<QString> PulseSource::open()
{
    m_context = Owned<pa_context>(m_pulse.context_new(m_pulse.mainloop_get_api(m_loop.get()), "Vantry"),
                                  [&pulse = m_pulse](pa_context *context) {
                                      pulse.context_disconnect(context);
                                      pulse.context_unref(context);
                                  });
    if (m_pulse.context_connect(m_context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return lastError();
    if (auto failure = wait([this] { return contextStep(); }))
        return failure;

    bool hasMicrophone = false;
    const auto take = [](pa_context *, const pa_source_info *info, int, void *found) {
        // Without a microphone, the default is what the loudspeakers play.
        if (info)
            *static_cast<bool *>(found) = info->monitor_of_sink == PA_INVALID_INDEX;
    };
    const Owned<pa_operation> operation(
        m_pulse.context_get_source_info_by_name(m_context.get(), "@DEFAULT_SOURCE@", take, &hasMicrophone),
        m_pulse.operation_unref);
    if (!operation)
        return lastError();
    if (auto failure = wait([&] {
            const bool isOver = m_pulse.operation_get_state(operation.get()) != PA_OPERATION_RUNNING;
            return isOver ? Step::Done : contextStep() == Step::Failed ? Step::Failed : Step::Waiting;
        }))
        return failure;
    return hasMicrophone ? std::nullopt : std::optional(u"There is no microphone"_s);
}

std::optional<QString> PulseSource::startStream()
{
    const pa_sample_spec format { PA_SAMPLE_FLOAT32NE, Microphone::sampleRate, 1 };
    m_stream = Owned<pa_stream>(m_pulse.stream_new(m_context.get(), "Dictation", &format, nullptr),
                                [&pulse = m_pulse](pa_stream *stream) {
                                    pulse.stream_disconnect(stream);
                                    pulse.stream_unref(stream);
                                });
    if (!m_stream)
        return lastError();
    constexpr auto automatic = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr attributes { automatic, automatic, automatic, automatic,
                                      Microphone::framesPerBlock * sizeof(float) };
    if (m_pulse.stream_connect_record(m_stream.get(), nullptr, &attributes, PA_STREAM_ADJUST_LATENCY) < 0)
        return lastError();
    return wait([this] {
        const pa_stream_state_t state = m_pulse.stream_get_state(m_stream.get());
        return state == PA_STREAM_READY ? Step::Done : PA_STREAM_IS_GOOD(state) ? Step::Waiting : Step::Failed;
    });
}

std::optional<QString> PulseSource::deliver(const std::function<void(Microphone::Block)> &onBlock)
{
    constexpr std::size_t frames = Microphone::framesPerBlock;
    while (m_isWanted()) {
        if (!pumpOnce() || m_pulse.stream_get_state(m_stream.get()) != PA_STREAM_READY || !readStream())
            return lastError();
        const Microphone::Block gathered(m_gathered);
        std::size_t given = 0;
        for (; gathered.size() - given >= frames && m_isWanted(); given += frames)
            onBlock(gathered.subspan(given, frames));
        m_gathered.erase(m_gathered.begin(), m_gathered.begin() + static_cast<std::ptrdiff_t>(given));
    }
    return std::nullopt;
}

bool PulseSource::readStream()
{
    for (;;) {
        const void *data = nullptr;
        std::size_t bytes = 0;
        if (m_pulse.stream_peek(m_stream.get(), &data, &bytes) < 0)
            return false;
        if (bytes == 0)
            return true;
        // Without data it is a hole, which is left out.
        if (data) {
            const std::size_t old = m_gathered.size();
            m_gathered.resize(old + bytes / sizeof(float));
            std::memcpy(m_gathered.data() + old, data, bytes / sizeof(float) * sizeof(float));
        }
        m_pulse.stream_drop(m_stream.get());
    }
}

std::optional<QString> PulseSource::wait(const std::function<Step()> &step)
{
    const MonotonicTime deadline = m_clock.monotonicNow() + patience;
    while (m_isWanted()) {
        if (!pumpOnce())
            return lastError();
        const Step now = step();
        if (now != Step::Waiting)
            return now == Step::Done ? std::nullopt : std::optional(lastError());
        if (m_clock.monotonicNow() > deadline)
            return u"The audio server does not answer"_s;
    }
    return u"It was given up"_s;
}

bool PulseSource::pumpOnce()
{
    return m_pulse.mainloop_prepare(m_loop.get(), pollTimeout) >= 0 && m_pulse.mainloop_poll(m_loop.get()) >= 0 &&
           m_pulse.mainloop_dispatch(m_loop.get()) >= 0;
}

PulseSource::Step PulseSource::contextStep() const
{
    const pa_context_state_t state = m_pulse.context_get_state(m_context.get());
    return state == PA_CONTEXT_READY ? Step::Done : PA_CONTEXT_IS_GOOD(state) ? Step::Waiting : Step::Failed;
}

QString PulseSource::lastError() const
{
    const int code = m_pulse.context_errno(m_context.get());
    return code == PA_OK ? u"The microphone has gone"_s : QString::fromUtf8(m_pulse.strerror(code));
}

} // namespace vantry
