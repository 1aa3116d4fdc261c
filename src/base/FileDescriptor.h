#pragma once

#include <unistd.h>

#include <utility>

namespace vantry {

/// Owns a file descriptor and closes it at its end. Any thread, one at a time.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    /// Takes the descriptor over; a negative one, as open() gives on failure, is none.
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {}
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(other.release())
    {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        if (this != &other) {
            reset();
            m_descriptor = other.release();
        }
        return *this;
    }
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] explicit operator bool() const { return m_descriptor >= 0; }
    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }
    void reset()
    {
        if (m_descriptor >= 0)
            close(release());
    }

private:
    int m_descriptor { -1 };
};

} // namespace vantry
