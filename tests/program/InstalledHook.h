#pragma once

#include "Vantry.h"

#include <memory>
#include <string_view>

namespace vantry::test {

/// The hook as an agent runs it, put into the program's home by `vantry hook install`.
class InstalledHook
{
public:
    /// The program need not be running.
    explicit InstalledHook(const Vantry &vantry);

    /// Runs the hook with this payload on its standard input, and does not wait.
    [[nodiscard]] std::unique_ptr<ChildProcess> begin(std::string_view payload) const;
    /// Runs the hook to its end, which has to be exit code 0 without a word on standard error; gives what it printed.
    std::string run(std::string_view payload) const;

    /// The agent that the hook believes to be run by.
    [[nodiscard]] FakeAgent &agent() { return m_agent; }

private:
    const Vantry &m_vantry;
    FakeAgent m_agent;
};

} // namespace vantry::test
