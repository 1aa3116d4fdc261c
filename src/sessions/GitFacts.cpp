#include "sessions/GitFacts.h"

#include "base/Subprocess.h"
#include "base/Text.h"

#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QStringDecoder>

#include <algorithm>
#include <vector>

namespace vantry {

namespace {

using Reads = QuietGit::Reads;

constexpr std::chrono::milliseconds patienceOfMainThread { 1'000 };
constexpr std::chrono::milliseconds patience { 10'000 };

/// The bytes as text without whitespace at its ends; nothing when they are not UTF-8.
std::optional<QString> trimmedText(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(trimmedWhitespace(text).toString());
}

/// The output of a git that succeeded and said something.
std::optional<QString> answer(const std::optional<Subprocess::Result> &result)
{
    if (!result || result->exitStatus != 0)
        return std::nullopt;
    auto text = trimmedText(result->standardOutput);
    return text && !text->isEmpty() ? text : std::nullopt;
}

/// Text and exit status, as they are shown.
std::pair<std::optional<QString>, int> toolResult(const Subprocess::Result &result)
{
    if (result.exitStatus == -1)
        return { std::nullopt, -1 };
    auto output = trimmedText(result.standardOutput);
    if (result.exitStatus == 0)
        return { std::move(output), 0 };
    auto error = trimmedText(result.standardError);
    return { error ? std::move(error) : std::move(output), result.exitStatus };
}

int firstNumber(const QRegularExpression &pattern, const QString &text)
{
    return pattern.match(text).captured(1).toInt(); // 0 for what is no number or too large a one.
}

/// Whether git would take this as the name of a branch, by the rules of git-check-ref-format(1) that keep options,
/// patterns and paths apart from names.
bool canBeBranchName(const QString &name)
{
    const auto isForbidden = [](QChar unit) {
        return unit <= u' ' || unit == u'\x7f' || QStringView(u"~^:?*[\\").contains(unit);
    };
    return !name.isEmpty() && !name.startsWith(u'-') && !name.startsWith(u'.') && !name.startsWith(u'/') &&
           !name.contains(u"..") && !name.contains(u"@{") && std::ranges::none_of(name, isForbidden);
}

} // namespace

std::pair<int, int> parseShortStat(const std::optional<QString> &text)
{
    static const QRegularExpression insertions(QStringLiteral("(\\d+) insertion"));
    static const QRegularExpression deletions(QStringLiteral("(\\d+) deletion"));
    if (!text)
        return { 0, 0 };
    return { firstNumber(insertions, *text), firstNumber(deletions, *text) };
}

/// Runs samples in the pool, one at a time for each directory, and writes their results. Main thread only.
class GitFacts::Sampling : public std::enable_shared_from_this<GitFacts::Sampling>
{
public:
    Sampling(MainQueue &mainQueue, WorkerPool &workers, std::shared_ptr<const QuietGit> git)
        : m_mainQueue(mainQueue)
        , m_workers(workers)
        , m_git(std::move(git))
    {}

    void sample(const SessionPtr &session, std::function<void()> done)
    {
        const QString directory = *session->cwd();
        const bool isRunning = m_waiting.contains(directory);
        m_waiting[directory].push_back({ session, std::move(done) });
        if (isRunning)
            return;
        m_workers.run([directory, git = m_git, &mainQueue = m_mainQueue, weak = weak_from_this()] {
            if (weak.expired())
                return;
            const auto figures = parseShortStat(
                answer(git->run({ QStringLiteral("diff"), QStringLiteral("HEAD"), QStringLiteral("--shortstat") },
                                directory, Reads::WorkingTree, patience)));
            mainQueue.post([directory, figures, weak] {
                if (const auto sampling = weak.lock())
                    sampling->apply(directory, figures);
            });
        });
    }

private:
    struct Waiting
    {
        std::weak_ptr<VantrySession> session;
        std::function<void()> done;
    };

    void apply(const QString &directory, std::pair<int, int> figures)
    {
        for (const Waiting &waiting : m_waiting.take(directory)) {
            const SessionPtr session = waiting.session.lock();
            if (!session)
                continue;
            session->setGitLinesAdded(figures.first);
            session->setGitLinesRemoved(figures.second);
            if (waiting.done)
                waiting.done();
        }
    }

    MainQueue &m_mainQueue;
    WorkerPool &m_workers;
    std::shared_ptr<const QuietGit> m_git;
    QHash<QString, std::vector<Waiting>> m_waiting; ///< By directory; an entry stands for a run on its way.
};

GitFacts::GitFacts(MainQueue &mainQueue, WorkerPool &workers, QString git)
    : m_git(std::make_shared<QuietGit>(std::move(git)))
    , m_sampling(std::make_shared<Sampling>(mainQueue, workers, m_git))
{}

GitFacts::~GitFacts() = default;

void GitFacts::detectGitBranch(VantrySession &session)
{
    if (!session.cwd() || session.gitBranch())
        return;
    const auto branch =
        answer(m_git->run({ QStringLiteral("rev-parse"), QStringLiteral("--abbrev-ref"), QStringLiteral("HEAD") },
                          *session.cwd(), Reads::References, patienceOfMainThread));
    const QString detached = QStringLiteral("HEAD");
    if (branch && *branch != detached)
        session.setGitBranch(branch);
}

void GitFacts::sampleGitDiff(const SessionPtr &session, std::function<void()> done)
{
    if (session->cwd())
        m_sampling->sample(session, std::move(done));
}

std::optional<QString> GitFacts::runGit(const QStringList &arguments, const QString &directory) const
{
    return answer(m_git->run(arguments, directory, Reads::WorkingTree, patience));
}

std::pair<std::optional<QString>, int> GitFacts::runTool(const QString &name, const QStringList &arguments) const
{
    if (name != u"git") {
        const Subprocess process { .executable = QStringLiteral("/usr/bin/") + name,
                                   .arguments = arguments,
                                   .workingDirectory = {},
                                   .removedVariables = {},
                                   .addedVariables = {},
                                   .timeout = patience };
        return toolResult(process.run());
    }
    const bool namesDirectory = arguments.size() > 1 && arguments.front() == u"-C";
    QString directory = namesDirectory ? arguments.at(1) : QStringLiteral("/");
    if (isUsableDirectory(directory) && !QFileInfo(directory).isDir())
        directory = QStringLiteral("/"); // Git says itself what is wrong with the one named.
    const auto result = m_git->run(arguments, directory, Reads::WorkingTree, patience);
    return result ? toolResult(*result) : std::pair<std::optional<QString>, int> { std::nullopt, -1 };
}

BranchCheckResult GitFacts::checkBranch(const QString &directory, const QString &expected) const
{
    const auto git = [&](const QStringList &arguments) {
        return runTool(QStringLiteral("git"), QStringList { QStringLiteral("-C"), directory } + arguments).first;
    };
    const auto current = git({ QStringLiteral("branch"), QStringLiteral("--show-current") });
    if (!current)
        return { BranchCheckResult::NotGitRepo {} };
    if (*current == expected)
        return { BranchCheckResult::SameBranch { expected } };
    std::optional<QString> listed;
    if (expected.isEmpty() || canBeBranchName(expected))
        listed = git({ QStringLiteral("branch"), QStringLiteral("--list"), expected });
    if (!listed || listed->isEmpty())
        return { BranchCheckResult::BranchDeleted { expected, *current } };
    const auto changes = git({ QStringLiteral("status"), QStringLiteral("--porcelain") });
    return { BranchCheckResult::DifferentBranch { *current, expected, changes && changes->isEmpty() } };
}

std::optional<QString> GitFacts::switchBranch(const QString &directory, const QString &branch) const
{
    const QString failure = QStringLiteral("Failed to switch branch");
    if (!isUsableDirectory(directory) || !canBeBranchName(branch))
        return failure;
    // Without such a branch git would take the name for that of a file, and put the file back as it was.
    const QFileInfo file(directory + u'/' + branch);
    if (file.exists() || file.isSymLink()) {
        const QStringList lookUp { QStringLiteral("-C"),       directory,
                                   QStringLiteral("show-ref"), QStringLiteral("--verify"),
                                   QStringLiteral("--quiet"),  QStringLiteral("refs/heads/") + branch };
        if (runTool(QStringLiteral("git"), lookUp).second != 0)
            return failure;
    }
    Subprocess process { .executable = m_git->executable(),
                         .arguments = { QStringLiteral("-C"), directory, QStringLiteral("checkout"), branch },
                         .workingDirectory = QStringLiteral("/"),
                         .removedVariables = { QStringLiteral("GIT_*") },
                         .addedVariables = {},
                         .timeout = patience };
    forbidPrompts(process);
    const auto [text, exitStatus] = toolResult(process.run());
    if (exitStatus == 0)
        return std::nullopt;
    return text && !text->isEmpty() ? text : failure;
}

} // namespace vantry
