#include "terminal/TerminalCompletions.h"

#include "base/MainQueue.h"

namespace vantry {

void TerminalCompletions::post(TerminalCompletion completion, std::optional<QString> failure) const
{
    if (!completion)
        return;
    m_mainQueue.post([weak = weak_from_this(), completion = std::move(completion), failure = std::move(failure)] {
        if (!weak.expired())
            completion(failure);
    });
}

} // namespace vantry
