#include "transcripts/TranscriptBuffer.h"

#include <sys/mman.h>

#include <new>

namespace vantry {
namespace {

/// One buffer at a time may be larger.
constexpr std::size_t longestOfAll = std::size_t { 8 } << 20;

std::mutex &longOnes()
{
    static std::mutex mutex;
    return mutex;
}

} // namespace

void TranscriptBuffer::reserve(std::size_t capacity)
{
    if (capacity == m_capacity)
        return;
    // The old memory goes first, so that there is never more than one.
    release();
    if (capacity > longestOfAll)
        m_long = std::unique_lock(longOnes());
    // The kernel copies five times slower to memory that doesn't begin at a page, as large blocks of malloc() don't.
    void *const memory = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) { // NOLINT: the macro.
        m_long = {};
        throw std::bad_alloc();
    }
    m_memory = static_cast<char *>(memory);
    m_capacity = capacity;
}

void TranscriptBuffer::releaseLong()
{
    if (m_capacity > ordinaryCapacity)
        release();
}

void TranscriptBuffer::release()
{
    if (m_memory != nullptr)
        ::munmap(m_memory, m_capacity);
    m_memory = nullptr;
    m_capacity = 0;
    m_long = {};
}

} // namespace vantry
