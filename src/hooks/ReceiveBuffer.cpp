#include "hooks/ReceiveBuffer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <sys/mman.h>

namespace vantry {

namespace {

/// Large pages for a large block: filling it costs one page fault in 2 MB instead of one in 4 KB.
void useLargePages([[maybe_unused]] char *data, [[maybe_unused]] std::size_t size)
{
#ifdef MADV_HUGEPAGE
    constexpr std::size_t worthwhile = std::size_t { 4 } << 20;
    constexpr std::size_t page = 4096;
    if (size < worthwhile)
        return;
    // Only a hint: whether it is taken is of no concern.
    const std::size_t toPage = (page - reinterpret_cast<std::uintptr_t>(data) % page) % page;
    ::madvise(data + toPage, (size - toPage) / page * page, MADV_HUGEPAGE);
#endif
}

} // namespace

ReceiveBuffer::ReceiveBuffer(ReceiveBuffer &&other) noexcept
    : m_data(std::move(other.m_data))
    , m_size(std::exchange(other.m_size, 0))
    , m_capacity(std::exchange(other.m_capacity, 0))
{}

ReceiveBuffer &ReceiveBuffer::operator=(ReceiveBuffer &&other) noexcept
{
    m_data = std::move(other.m_data);
    m_size = std::exchange(other.m_size, 0);
    m_capacity = std::exchange(other.m_capacity, 0);
    return *this;
}

std::span<char> ReceiveBuffer::makeRoom(std::size_t room)
{
    if (m_capacity - m_size < room)
        reserve(std::max(m_size + room, m_capacity + m_capacity / 2));
    return { m_data.get() + m_size, m_capacity - m_size };
}

void ReceiveBuffer::append(std::string_view bytes)
{
    const std::span<char> room = makeRoom(bytes.size());
    std::ranges::copy(bytes, room.begin());
    commit(bytes.size());
}

void ReceiveBuffer::reserve(std::size_t size)
{
    if (size <= m_capacity)
        return;
    if (size > std::numeric_limits<std::size_t>::max() - HookEvent::padding)
        throw std::bad_alloc();
    // realloc moves the pages of a large block instead of copying them.
    auto *const grown = static_cast<char *>(std::realloc(m_data.get(), size + HookEvent::padding));
    if (!grown)
        throw std::bad_alloc();
    static_cast<void>(m_data.release());
    m_data.reset(grown);
    m_capacity = size;
    useLargePages(grown, size);
}

void ReceiveBuffer::clear()
{
    m_data.reset();
    m_size = 0;
    m_capacity = 0;
}

} // namespace vantry
