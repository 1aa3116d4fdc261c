#pragma once

#include "base/FileDescriptor.h"

#include <poll.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace vantry {

/// A process that was started and is our child until its end has been taken. It leads a session, and so a process
/// group, of its own. Owns our ends of what it writes to and reads from. One thread at a time.
class ChildProcess
{
public:
    /// All in the system's encoding.
    struct Plan
    {
        std::string executable;               ///< An absolute path.
        std::vector<std::string> arguments;   ///< With the program's own name in front.
        std::vector<std::string> environment; ///< "NAME=value" each.
        std::string workingDirectory;         ///< Empty: the present one.
        bool hasInput { false };              ///< Whether it is given a standard input.
    };

    /// Nothing when it can't be started: no such program or directory, a NUL in a text, no memory, no descriptor.
    [[nodiscard]] static std::optional<ChildProcess> start(const Plan &plan);

    /// How one that was let go has done so far.
    struct Beginning
    {
        std::optional<int> exitStatus; ///< Nothing while it runs; -1 when a signal ended it.
    };
    /// Starts one that is not our child, and whose outputs go nowhere, and watches it for a while. Nothing when it
    /// can't be started.
    [[nodiscard]] static std::optional<Beginning> startDetached(const Plan &plan, std::chrono::milliseconds watched);

    ChildProcess(ChildProcess &&) = default;
    ChildProcess &operator=(ChildProcess &&) = default;

    /// A socket, so that writing to one that nobody reads any more raises no signal; reset() ends the input.
    [[nodiscard]] FileDescriptor &standardInput() { return m_input; }
    [[nodiscard]] FileDescriptor &standardOutput() { return m_output; }
    [[nodiscard]] FileDescriptor &standardError() { return m_errors; }

    /// What poll() reports the end on, and how long to wait in it at most before hasEnded() is to be asked.
    [[nodiscard]] pollfd watchEnd() const;
    [[nodiscard]] std::chrono::milliseconds longestWait() const;
    [[nodiscard]] bool hasEnded();
    /// SIGKILL to the process and what it has started.
    void killGroup();
    /// Waits for the end, if it has not been seen, for a moment: one that hangs in the kernel can't be killed. The exit
    /// status, -1 when there is none.
    [[nodiscard]] int exitStatus();

private:
    ChildProcess() = default;

    pid_t m_process { -1 };
    FileDescriptor m_handle; ///< A pidfd; none where the system has none to give.
    FileDescriptor m_input;
    FileDescriptor m_output;
    FileDescriptor m_errors;
    bool m_hasEnded { false };
    int m_exitStatus { -1 };
};

} // namespace vantry
