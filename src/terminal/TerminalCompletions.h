#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace vantry {

class MainQueue;

/// How an operation on a terminal ended: nothing when it was done as asked for, else one line for a person.
using TerminalCompletion = std::function<void(const std::optional<QString> &failure)>;

/// Calls completions from the main queue for as long as it lives. Held by a shared pointer. Main thread only.
class TerminalCompletions : public std::enable_shared_from_this<TerminalCompletions>
{
public:
    explicit TerminalCompletions(MainQueue &mainQueue)
        : m_mainQueue(mainQueue)
    {}

    /// The completion may be unset.
    void post(TerminalCompletion completion, std::optional<QString> failure) const;

private:
    MainQueue &m_mainQueue;
};

} // namespace vantry
