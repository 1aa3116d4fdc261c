#pragma once

#include "base/FileDescriptor.h"

#include <atomic>

namespace vantry {

/// Tells the work of a thread that nobody waits for it any more. What waits in poll() can watch it. Any thread.
class Cancellation
{
public:
    Cancellation();
    Cancellation(const Cancellation &) = delete;
    Cancellation &operator=(const Cancellation &) = delete;

    /// For good.
    void cancel();
    /// Ready for reading once it is cancelled. Negative, which poll() ignores, where the system had none to give.
    [[nodiscard]] int descriptor() const { return m_event.get(); }
    [[nodiscard]] bool isCancelled() const { return m_isCancelled.load(std::memory_order_relaxed); }

    /// The one that the thread's present work is under; null when nothing can cancel it.
    [[nodiscard]] static const Cancellation *ofThisThread();
    /// Whether the thread's present work is under one that is cancelled.
    [[nodiscard]] static bool isThisThreadCancelled();

    /// Puts the thread's work under a cancellation for as long as this object lives.
    class Scope
    {
    public:
        explicit Scope(const Cancellation &cancellation);
        ~Scope();
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;

    private:
        const Cancellation *m_previous;
    };

private:
    FileDescriptor m_event;
    std::atomic<bool> m_isCancelled { false };
};

} // namespace vantry
