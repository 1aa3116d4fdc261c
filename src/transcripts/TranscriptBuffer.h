#pragma once

#include <cstddef>
#include <mutex>

namespace vantry {

/// Memory that a transcript's blocks are read into, straight from the system: it begins at a page, and goes back at
/// once. Kept from one transcript to the next, it is got once: getting it takes as long as reading into it. Any thread,
/// one at a time.
class TranscriptBuffer
{
public:
    TranscriptBuffer() = default;
    ~TranscriptBuffer() { release(); }
    TranscriptBuffer(const TranscriptBuffer &) = delete;
    TranscriptBuffer &operator=(const TranscriptBuffer &) = delete;

    /// In bytes. What isn't written to costs no memory.
    static constexpr std::size_t ordinaryCapacity = std::size_t { 2 } << 20;

    /// What it held is lost, unless it has this capacity already: then nothing is. Above a certain capacity it waits
    /// until no other buffer is above that, so that memory stays bounded however many threads meet a long line.
    /// std::bad_alloc when the system has none to give.
    void reserve(std::size_t capacity);
    /// Gives back what an extraordinary line needed.
    void releaseLong();

    [[nodiscard]] char *get() const { return m_memory; }
    [[nodiscard]] std::size_t capacity() const { return m_capacity; }

private:
    void release();

    char *m_memory { nullptr };
    std::size_t m_capacity { 0 };
    std::unique_lock<std::mutex> m_long; ///< Held while it is above that capacity.
};

} // namespace vantry
