#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace vantry {

/// Finds a program where its user would: on the path, on the one that a login shell makes, and where installers and
/// node's version managers put things. Has no state, so it can be copied to another thread.
struct ToolSearch
{
    QString home;       ///< The user's home directory.
    QString loginShell; ///< The user's; asked as well, unless it is zsh, which always is. Empty: none.
    QString root {};    ///< Stands before every path outside of the home directory. Of the system itself: empty.
    /// How long a shell, whose start-up files may do anything, is given to answer.
    std::chrono::milliseconds patience { 5'000 };

    /// With the shell of this program's environment.
    [[nodiscard]] static ToolSearch forUser(const QString &home);

    /// The path of the tool, which is a plain name such as "python3"; the first hit wins. What a shell says is taken
    /// for true, what is looked for by its path must be a file that can be run. Runs programs and waits for them: any
    /// thread but the main one; ends early when the thread's work is cancelled.
    [[nodiscard]] std::optional<QString> find(const QString &name) const;

private:
    [[nodiscard]] std::optional<QString> ask(const QString &program, const QStringList &arguments) const;
    [[nodiscard]] std::optional<QString> askLoginShell(const QString &name) const;
    [[nodiscard]] QStringList candidates(const QString &name) const;
    [[nodiscard]] QStringList nodeFolders() const;
};

} // namespace vantry
