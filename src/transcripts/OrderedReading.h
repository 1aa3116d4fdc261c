#pragma once

#include "sessions/SessionStore.h"
#include "transcripts/TranscriptBuffer.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace vantry {

/// Reads a list of transcripts with two threads and hands over what comes of each in the list's order. So that memory
/// stays bounded, neither thread gets far ahead of a transcript that takes long. Any thread, one at a time.
class OrderedReading
{
public:
    using Result = std::optional<HistoricalSession>;
    /// Reads the transcript with this number, counted from 0, with the thread's buffer. Called by both threads at once.
    using Read = std::function<Result(std::size_t, TranscriptBuffer &)>;
    /// Gets what came of it. Called by either thread, one call at a time. False when no more is to be read.
    using Take = std::function<bool(std::size_t, Result)>;

    /// How far a thread gets ahead of the first transcript that has not been handed over.
    static constexpr std::size_t mostAhead = 8;

    OrderedReading(std::size_t count, Read read, Take take);

    /// Returns when all have been handed over, or none more are to be. The other thread has this one's priority and
    /// cancellation; where the system has none to give, this one reads all.
    void run();

private:
    /// What each of the threads does.
    void work();
    /// Hands over what has its turn.
    void handOver();

    const std::size_t m_count;
    const Read m_read;
    const Take m_take;
    std::mutex m_mutex;
    std::condition_variable m_wake; ///< Something was handed over, or no more is to be read.
    std::size_t m_next { 0 };       ///< The first that nobody reads yet.
    std::size_t m_taken { 0 };      ///< So many were handed over.
    std::map<std::size_t, Result> m_waiting;
    bool m_isEnding { false };
};

} // namespace vantry
