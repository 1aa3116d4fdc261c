#include "base/Cancellation.h"

#include <sys/eventfd.h>

#include <utility>

namespace vantry {

static thread_local const Cancellation *present = nullptr;

Cancellation::Cancellation()
    : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{}

void Cancellation::cancel()
{
    m_isCancelled.store(true, std::memory_order_relaxed);
    if (m_event)
        eventfd_write(m_event.get(), 1);
}

const Cancellation *Cancellation::ofThisThread()
{
    return present;
}

bool Cancellation::isThisThreadCancelled()
{
    return present && present->isCancelled();
}

Cancellation::Scope::Scope(const Cancellation &cancellation)
    : m_previous(std::exchange(present, &cancellation))
{}

Cancellation::Scope::~Scope()
{
    present = m_previous;
}

} // namespace vantry
