#include "sessions/QuietGit.h"

#include <QFile>
#include <QSet>
#include <QStringDecoder>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

namespace vantry {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t largestCheckedConfiguration = 1024 * 1024;

char lowerAscii(char byte)
{
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

/// Whether a configuration file has no section that defines a filter or takes in another file. The names of sections
/// can't be written in any other way than in plain letters.
bool isFreeOfFilters(const fs::path &file)
{
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (status.type() == fs::file_type::not_found)
        return true;
    if (!fs::is_regular_file(status) || fs::file_size(file, error) > largestCheckedConfiguration || error)
        return false;
    std::ifstream stream(file, std::ios::binary);
    std::string text { std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>() };
    if (!stream)
        return false;
    std::ranges::transform(text, text.begin(), lowerAscii);
    return text.find("filter") == std::string::npos && text.find("include") == std::string::npos;
}

/// Whether no repository whose files would stand in this directory, with a work tree or bare, names filters.
bool isFreeOfFilteringRepositories(const fs::path &directory)
{
    std::error_code error;
    const fs::path repository = directory / ".git";
    const fs::file_type type = fs::status(repository, error).type();
    if (type == fs::file_type::directory) {
        if (fs::exists(repository / "commondir", error) || error || !isFreeOfFilters(repository / "config") ||
            !isFreeOfFilters(repository / "config.worktree"))
            return false;
    } else if (type != fs::file_type::not_found) {
        return false;
    }
    const bool mayBeBare = fs::exists(directory / "HEAD", error);
    return !error &&
           (!mayBeBare || (isFreeOfFilters(directory / "config") && !fs::exists(directory / "commondir", error)));
}

/// The names of the filters in the output of `git config --show-scope --name-only -z`, as far as the repository's own
/// configuration defines them. Nothing when one has a name that can't be passed on.
std::optional<QStringList> filtersInListing(const QByteArray &listing)
{
    QSet<QString> names;
    const QList<QByteArray> fields = listing.split('\0');
    for (qsizetype index = 0; index + 1 < fields.size(); index += 2) {
        const QByteArray &scope = fields.at(index);
        const QByteArray &key = fields.at(index + 1); // filter.NAME.clean, where NAME may hold dots.
        const qsizetype end = key.lastIndexOf('.');
        constexpr qsizetype begin = 7;
        if ((scope != "local" && scope != "worktree") || end <= begin)
            continue;
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString name = decoder(key.sliced(begin, end - begin));
        if (decoder.hasError())
            return std::nullopt;
        names.insert(name);
    }
    return QStringList(names.cbegin(), names.cend());
}

/// Adds configuration that goes before every file's.
void configure(Subprocess &process, const QList<std::pair<QString, QString>> &settings)
{
    process.addedVariables.append({ QStringLiteral("GIT_CONFIG_COUNT"), QString::number(settings.size()) });
    for (qsizetype index = 0; index < settings.size(); ++index) {
        const QString number = QString::number(index);
        process.addedVariables.append({ QStringLiteral("GIT_CONFIG_KEY_") + number, settings.at(index).first });
        process.addedVariables.append({ QStringLiteral("GIT_CONFIG_VALUE_") + number, settings.at(index).second });
    }
}

/// What is switched off in every question.
QList<std::pair<QString, QString>> harmlessSettings()
{
    return {
        { QStringLiteral("core.fsmonitor"), QStringLiteral("false") },
        { QStringLiteral("core.hooksPath"), QStringLiteral("/dev/null") },
        // "git diff" would lock and write the index, optional locks or not; the figures stay the same.
        { QStringLiteral("diff.autoRefreshIndex"), QStringLiteral("false") },
        // Looking for changes within submodules takes a git for each, and changes no figure.
        { QStringLiteral("diff.ignoreSubmodules"), QStringLiteral("dirty") },
    };
}

} // namespace

bool isUsableDirectory(const QString &path)
{
    return path.startsWith(u'/') && !path.contains(QChar::Null);
}

void forbidPrompts(Subprocess &process)
{
    process.addedVariables.append({ QStringLiteral("GIT_TERMINAL_PROMPT"), QStringLiteral("0") });
    process.addedVariables.append({ QStringLiteral("GIT_ASKPASS"), QStringLiteral("/bin/false") });
    process.addedVariables.append({ QStringLiteral("SSH_ASKPASS"), QStringLiteral("/bin/false") });
    process.addedVariables.append({ QStringLiteral("SSH_ASKPASS_REQUIRE"), QStringLiteral("force") });
}

bool mayNameFilters(const QString &directory)
{
    std::error_code error;
    fs::path path = fs::canonical(QFile::encodeName(directory).toStdString(), error);
    if (error)
        return true;
    for (;; path = path.parent_path()) {
        if (!isFreeOfFilteringRepositories(path))
            return true;
        if (path == path.root_path())
            return false;
    }
}

QuietGit::QuietGit(QString executable)
    : m_executable(std::move(executable))
{
    QFile::link(QStringLiteral("/bin/true"), m_commands.filePath(QStringLiteral("git")));
}

Subprocess QuietGit::question(const QStringList &arguments, const QString &directory,
                              std::chrono::milliseconds timeout) const
{
    Subprocess process { .executable = m_executable,
                         .arguments = arguments,
                         .workingDirectory = directory,
                         .removedVariables = { QStringLiteral("GIT_*"), QStringLiteral("LC_*"),
                                               QStringLiteral("LANGUAGE") },
                         .addedVariables = { { QStringLiteral("LC_ALL"), QStringLiteral("C") },
                                             { QStringLiteral("GIT_OPTIONAL_LOCKS"), QStringLiteral("0") },
                                             { QStringLiteral("GIT_NO_LAZY_FETCH"), QStringLiteral("1") },
                                             { QStringLiteral("GIT_SSH_COMMAND"), QStringLiteral("/bin/false") },
                                             { QStringLiteral("GIT_EXEC_PATH"), m_commands.path() } },
                         .timeout = timeout };
    forbidPrompts(process);
    return process;
}

std::optional<QStringList> QuietGit::repositoryFilters(const QString &directory,
                                                       std::chrono::milliseconds timeout) const
{
    if (!mayNameFilters(directory))
        return QStringList();
    const Subprocess process =
        question({ QStringLiteral("config"), QStringLiteral("--show-scope"), QStringLiteral("--name-only"),
                   QStringLiteral("-z"), QStringLiteral("--get-regexp"), QStringLiteral("^filter[.]") },
                 directory, timeout);
    const Subprocess::Result result = process.run();
    constexpr int nothingFound = 1;
    if (result.exitStatus == nothingFound)
        return QStringList();
    return result.exitStatus == 0 ? filtersInListing(result.standardOutput) : std::nullopt;
}

std::optional<Subprocess::Result> QuietGit::run(const QStringList &arguments, const QString &directory, Reads reads,
                                                std::chrono::milliseconds timeout) const
{
    if (!isUsableDirectory(directory) || !m_commands.isValid())
        return std::nullopt;
    QList<std::pair<QString, QString>> settings = harmlessSettings();
    if (reads == Reads::WorkingTree) {
        const auto filters = repositoryFilters(directory, timeout);
        if (!filters)
            return std::nullopt;
        for (const QString &name : *filters) {
            const QString section = QStringLiteral("filter.") + name;
            settings.append({ section + QStringLiteral(".clean"), QString() });
            settings.append({ section + QStringLiteral(".process"), QString() });
            settings.append({ section + QStringLiteral(".required"), QStringLiteral("false") });
        }
    }
    Subprocess process = question(arguments, directory, timeout);
    configure(process, settings);
    return process.run();
}

} // namespace vantry
