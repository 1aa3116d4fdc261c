#pragma once

#include "base/ChildProcess.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace vantry {

/// An outside program that is run to its end. The child has no standard input, a process group of its own, and the soft
/// limit of open files that this program was started with (see raiseOpenFileLimit).
struct Subprocess
{
    QString executable; ///< An absolute path.
    QStringList arguments;
    QString workingDirectory;     ///< Empty: this program's own.
    QStringList removedVariables; ///< Names; one that ends in "*" stands for all that begin so.
    QList<std::pair<QString, QString>> addedVariables;
    std::chrono::milliseconds timeout { 10'000 }; ///< After it the child's whole process group is killed.

    /// One that writes more than this to one of its outputs is killed as well: it would fill the memory.
    static constexpr qsizetype maximumOutput = 64 * 1024 * 1024;

    struct Result
    {
        int exitStatus { -1 }; ///< -1: not started, killed from here, or ended by a signal.
        bool started { false };
        QByteArray standardOutput;
        QByteArray standardError;
    };

    /// Runs it and waits. Any thread; the caller blocks. The child is killed at once when the thread's work is
    /// cancelled (see Cancellation).
    [[nodiscard]] Result run() const;

    /// How a program that was let go has begun.
    struct Launch
    {
        bool started { false };
        std::optional<int> exitStatus {}; ///< Of one that has ended already; -1 when a signal ended it.
    };

    /// Starts it and lets it go: it is nobody's child, what it writes is dropped, it outlives this program. Watches how
    /// it goes for `timeout`, and doesn't end it then. Any thread; the caller blocks.
    [[nodiscard]] Launch startDetached() const;

    /// For a program that is not run by the above. Any thread.
    [[nodiscard]] ChildProcess::Plan plan() const;
};

/// Raises the soft limit of open files to the hard one, once at start; children get the original back.
void raiseOpenFileLimit();

} // namespace vantry
