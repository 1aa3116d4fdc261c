#include "transcripts/OrderedReading.h"

#include "base/Cancellation.h"

#include <future>
#include <utility>

namespace vantry {

OrderedReading::OrderedReading(std::size_t count, Read read, Take take)
    : m_count(count)
    , m_read(std::move(read))
    , m_take(std::move(take))
{}

void OrderedReading::run()
{
    std::future<void> other;
    if (m_count > 1) {
        // Without a thread to be had it is left until this one has done all, and then has nothing to do.
        other =
            std::async(std::launch::async | std::launch::deferred, [this, cancellation = Cancellation::ofThisThread()] {
                std::optional<Cancellation::Scope> scope;
                if (cancellation)
                    scope.emplace(*cancellation);
                work();
            });
    }
    work();
    if (other.valid())
        other.get();
}

void OrderedReading::work()
{
    TranscriptBuffer buffer;
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_isEnding || m_next == m_count || m_next < m_taken + mostAhead; });
        if (m_isEnding || m_next == m_count)
            return;
        const std::size_t number = m_next++;
        lock.unlock();
        Result result = m_read(number, buffer);
        lock.lock();
        m_waiting.emplace(number, std::move(result));
        handOver();
    }
}

void OrderedReading::handOver()
{
    for (auto first = m_waiting.find(m_taken); first != m_waiting.end() && !m_isEnding;
         first = m_waiting.find(m_taken)) {
        m_isEnding = !m_take(m_taken, std::move(first->second));
        m_waiting.erase(first);
        ++m_taken;
    }
    m_wake.notify_all();
}

} // namespace vantry
