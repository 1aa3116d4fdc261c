#pragma once

#include "base/Subprocess.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <chrono>
#include <optional>

namespace vantry {

/// Runs `git` for what Vantry asks by itself: without prompts, without locks that would get in the user's way, in
/// English, and without any program that the repository's own configuration names (file-system monitor, hooks, filters,
/// what a submodule's configuration names, transports of a partial clone). All of that goes by the environment; the
/// arguments are given as they are. Any thread; the callers block.
class QuietGit
{
public:
    /// What a command looks at. Only one that compares files has filters to be switched off.
    enum class Reads { References, WorkingTree };

    explicit QuietGit(QString executable);

    /// Nothing when git wasn't run: the directory is none that can be entered, or its filters can't be switched off.
    [[nodiscard]] std::optional<Subprocess::Result> run(const QStringList &arguments, const QString &directory,
                                                        Reads reads, std::chrono::milliseconds timeout) const;

    [[nodiscard]] const QString &executable() const { return m_executable; }

private:
    [[nodiscard]] std::optional<QStringList> repositoryFilters(const QString &directory,
                                                               std::chrono::milliseconds timeout) const;
    [[nodiscard]] Subprocess question(const QStringList &arguments, const QString &directory,
                                      std::chrono::milliseconds timeout) const;

    QString m_executable;
    QTemporaryDir m_commands; ///< Where git finds its own commands: one `git` that does nothing.
};

/// Whether this is an absolute path that can be handed to another program.
[[nodiscard]] bool isUsableDirectory(const QString &path);

/// Adds what keeps git, and what it starts, from asking the user.
void forbidPrompts(Subprocess &process);

/// Whether the configuration of a repository around this directory may name filters, itself or in a file that it
/// includes. Reads the files alone, so that git need not be asked in the ordinary case; true when in doubt.
[[nodiscard]] bool mayNameFilters(const QString &directory);

} // namespace vantry
