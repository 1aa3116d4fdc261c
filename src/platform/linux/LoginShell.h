#pragma once

#include <QString>
#include <QStringList>

namespace vantry {

// How the user's own login shell runs one command line in a new terminal window. Any thread.

/// The shell's path: that of the password file, else $SHELL, else /bin/sh. Only a program that can be run counts, and
/// one that turns everybody away ("nologin") doesn't.
[[nodiscard]] QString loginShell();

/// A program's path and its arguments, to be started in a terminal, that run the command line (a single line, its words
/// quoted for a POSIX shell) in a login shell as if the user had typed it at the first prompt: the shell's start-up
/// files have been read, aliases hold, Ctrl-Z stops the command as a job, and the shell stays when it has ended. For a
/// shell that is not known, /bin/sh runs the command line, and the shell follows it.
[[nodiscard]] QStringList loginShellArguments(const QString &commandLine);
/// The same for a shell that is given by its path.
[[nodiscard]] QStringList loginShellArguments(const QString &shell, const QString &commandLine);

/// The environment's variables that were meant for this program and are not passed on to a shell, in the form of
/// Subprocess::removedVariables.
[[nodiscard]] QStringList variablesNotForShells();

} // namespace vantry
