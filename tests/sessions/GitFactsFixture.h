#pragma once

#include "sessions/GitFacts.h"

#include "sessions/GitRepositories.h"
#include "support/ManualMainQueue.h"

#include <QTemporaryDir>

#include <utility>

namespace vantry::test {

inline SessionPtr sessionIn(const std::optional<QString> &directory)
{
    VantrySession::Init init;
    init.id = QStringLiteral("session");
    init.cwd = directory;
    return std::make_shared<VantrySession>(std::move(init));
}

/// Facts from real repositories and from scripts in the place of git, all in one folder.
class GitFactsFixture : public ::testing::Test
{
protected:
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }
    [[nodiscard]] QString folder(const QString &name) const
    {
        EXPECT_TRUE(QDir().mkpath(path(name)));
        return path(name);
    }
    [[nodiscard]] QString makeRepository(const QString &name = QStringLiteral("repository")) const
    {
        return makeRepositoryIn(folder(name));
    }
    /// Facts from a script in the place of git.
    [[nodiscard]] GitFacts factsFromScript(const QByteArray &body)
    {
        writeScript(path(QStringLiteral("git")), body);
        return { m_mainQueue, m_workers, path(QStringLiteral("git")) };
    }
    /// Added and removed lines after a sample.
    std::pair<std::optional<int>, std::optional<int>> sampled(GitFacts &git, const QString &directory)
    {
        const SessionPtr session = sessionIn(directory);
        git.sampleGitDiff(session, {});
        EXPECT_TRUE(m_mainQueue.drainWhenPosted(std::chrono::seconds { 60 }));
        return { session->gitLinesAdded(), session->gitLinesRemoved() };
    }
    [[nodiscard]] static std::optional<QString> branchIn(GitFacts &git, const QString &directory)
    {
        const SessionPtr session = sessionIn(directory);
        git.detectGitBranch(*session);
        return session->gitBranch();
    }

    QTemporaryDir m_folder;
    ManualMainQueue m_mainQueue;
    WorkerPool m_workers;
    GitFacts m_git { m_mainQueue, m_workers };
};

using Figures = std::pair<std::optional<int>, std::optional<int>>;

} // namespace vantry::test
