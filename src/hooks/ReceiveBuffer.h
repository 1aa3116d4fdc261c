#pragma once

#include "hooks/HookEvent.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>

namespace vantry {

/// Bytes that arrive piece by piece, kept together. New room isn't cleared, growth copies each byte once at most on
/// average, and behind the bytes there is always the padding that decoding wants. Throws std::bad_alloc.
class ReceiveBuffer
{
public:
    ReceiveBuffer() = default;
    ReceiveBuffer(ReceiveBuffer &&other) noexcept;
    ReceiveBuffer &operator=(ReceiveBuffer &&other) noexcept;

    [[nodiscard]] bool isEmpty() const { return m_size == 0; }
    [[nodiscard]] std::string_view bytes() const { return { m_data.get(), m_size }; }

    /// Makes room for `room` bytes behind what is there, and gives all the room there is.
    [[nodiscard]] std::span<char> makeRoom(std::size_t room);
    /// So many bytes of the room have been filled.
    void commit(std::size_t count) { m_size += count; }
    void append(std::string_view bytes);
    /// Makes sure of room for so many bytes in all. For a size that is known beforehand; growth needs none.
    void reserve(std::size_t size);
    /// Forgets the bytes and keeps the memory.
    void reuse() { m_size = 0; }
    /// Gives the memory back.
    void clear();
    [[nodiscard]] std::size_t capacity() const { return m_capacity; }

private:
    struct Free
    {
        void operator()(char *data) const { std::free(data); }
    };

    std::unique_ptr<char, Free> m_data;
    std::size_t m_size { 0 };
    std::size_t m_capacity { 0 }; ///< Without the padding.
};

} // namespace vantry
