#pragma once

#include "base/MainQueue.h"
#include "base/WorkerPool.h"
#include "sessions/QuietGit.h"
#include "sessions/VantrySession.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <variant>

namespace vantry {

/// What stands in the way of resuming a session on the branch that it ran on.
struct BranchCheckResult
{
    struct SameBranch
    {
        QString branch;
        friend bool operator==(const SameBranch &, const SameBranch &) = default;
    };
    struct DifferentBranch
    {
        QString current;
        QString session;
        bool canSwitch { false };
        friend bool operator==(const DifferentBranch &, const DifferentBranch &) = default;
    };
    struct BranchDeleted
    {
        QString session;
        QString current;
        friend bool operator==(const BranchDeleted &, const BranchDeleted &) = default;
    };
    struct NotGitRepo
    {
        friend bool operator==(const NotGitRepo &, const NotGitRepo &) = default;
    };
    struct NoBranch
    {
        friend bool operator==(const NoBranch &, const NoBranch &) = default;
    };

    std::variant<SameBranch, DifferentBranch, BranchDeleted, NotGitRepo, NoBranch> value { NoBranch {} };

    friend bool operator==(const BranchCheckResult &, const BranchCheckResult &) = default;
};

/// Insertions and deletions from `git diff --shortstat`; absent text, and a number that isn't there, give 0.
[[nodiscard]] std::pair<int, int> parseShortStat(const std::optional<QString> &text);

/// Branch and diff figures of sessions, and the branch check before one is resumed. All of it runs `git` and reads its
/// text. Nothing here changes a repository but switchBranch(). What Vantry asks by itself starts no program that a
/// repository's configuration names; a `git` that hangs is killed and counts as failed.
class GitFacts
{
public:
    /// `git` is the executable's path. The main queue must outlive the pool, and the pool this.
    GitFacts(MainQueue &mainQueue, WorkerPool &workers, QString git = QStringLiteral("/usr/bin/git"));
    ~GitFacts();

    /// Sets the session's branch while it has none. Waits for git, at most a second. Main thread.
    void detectGitBranch(VantrySession &session);
    /// Sets the session's diff figures when git has answered, on the main thread; `done` runs after that. Samples of
    /// one directory that would overlap share one run. Main thread.
    void sampleGitDiff(const SessionPtr &session, std::function<void()> done);

    /// Trimmed output; nothing when git failed, said nothing, or the directory is no absolute path. Blocks; any thread.
    [[nodiscard]] std::optional<QString> runGit(const QStringList &arguments, const QString &directory) const;
    /// Runs a system tool (git: the one given). Trimmed text, of the standard error when it failed, and exit status;
    /// no text and -1 when it couldn't be started or was killed. Blocks; any thread.
    [[nodiscard]] std::pair<std::optional<QString>, int> runTool(const QString &name,
                                                                 const QStringList &arguments) const;
    /// Outside a repository the result is `DifferentBranch` with git's error text as `current`. Blocks; any thread but
    /// the main one.
    [[nodiscard]] BranchCheckResult checkBranch(const QString &directory, const QString &expected) const;
    /// The user's own act: the repository's hooks and filters run. Nothing on success, else what to show. What can be
    /// no branch's name is refused: to git it would be an option, or files to be put back. Blocks; any thread but the
    /// main one.
    [[nodiscard]] std::optional<QString> switchBranch(const QString &directory, const QString &branch) const;

private:
    class Sampling;

    std::shared_ptr<const QuietGit> m_git; ///< Tasks of the pool that are still running share it.
    std::shared_ptr<Sampling> m_sampling;  ///< What they post back holds this weakly.
};

} // namespace vantry
