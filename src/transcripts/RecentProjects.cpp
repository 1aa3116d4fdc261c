#include "transcripts/RecentProjects.h"

#include "base/JsonScalars.h"
#include "base/Text.h"
#include "transcripts/ProjectFolder.h"
#include "transcripts/TranscriptFile.h"
#include "transcripts/TranscriptLine.h"

#include <QFile>

#include <simdjson.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <span>
#include <string>
#include <tuple>
#include <vector>

namespace vantry {
namespace {

constexpr std::string_view extension = ".jsonl";
constexpr std::size_t sessionsShown = 5;
constexpr std::size_t firstMessageReach = 8192;   ///< Bytes.
constexpr std::size_t directoryReach = 64 * 1024; ///< Bytes, into which the first line with a "cwd" falls.
constexpr qsizetype longestFirstMessage = 80;     ///< Characters.
constexpr qsizetype cutFirstMessage = 77;         ///< Characters.

struct Transcript
{
    std::string name;
    Date lastUsed;
};

/// A folder with transcripts, the newest first.
struct Folder
{
    std::string name;
    std::vector<Transcript> transcripts;
};

/// The newest first, what is as new in the order of names.
bool isNewer(Date date, std::string_view name, Date otherDate, std::string_view otherName)
{
    return std::tie(otherDate, name) < std::tie(date, otherName);
}

std::vector<std::string> entries(const std::string &folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        names.push_back(entry->path().filename().native());
    return names;
}

bool isDirectory(const std::string &path)
{
    struct stat status
    {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// When a regular file was changed; nothing for everything else, and for a date beyond what a Date holds.
std::optional<Date> modificationDate(const std::string &path)
{
    struct stat status
    {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    constexpr auto latest = std::chrono::floor<std::chrono::seconds>(Date::max()).time_since_epoch().count();
    if (status.st_mtim.tv_sec >= latest || status.st_mtim.tv_sec <= -latest)
        return std::nullopt;
    return Date(std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::nanoseconds(status.st_mtim.tv_nsec));
}

Folder readFolder(const std::string &root, const std::string &name)
{
    Folder folder { name, {} };
    const std::string path = root + '/' + name + '/';
    for (const std::string &file : entries(path)) {
        if (!file.ends_with(extension))
            continue;
        if (const std::optional<Date> date = modificationDate(path + file))
            folder.transcripts.push_back({ file, *date });
    }
    std::ranges::sort(folder.transcripts, [](const Transcript &left, const Transcript &right) {
        return isNewer(left.lastUsed, left.name, right.lastUsed, right.name);
    });
    return folder;
}

std::vector<Folder> readFolders(const std::string &root)
{
    std::vector<Folder> folders;
    for (const std::string &name : entries(root)) {
        if (!isDirectory(std::string(root).append("/").append(name)))
            continue;
        Folder folder = readFolder(root, name);
        if (!folder.transcripts.empty())
            folders.push_back(std::move(folder));
    }
    std::ranges::sort(folders, [](const Folder &left, const Folder &right) {
        return isNewer(left.transcripts.front().lastUsed, left.name, right.transcripts.front().lastUsed, right.name);
    });
    return folders;
}

/// What `read` gives for the first line of a transcript's beginning for which it gives something.
template <typename Function>
std::optional<QString> firstOfLines(std::string_view text, Function &&read)
{
    TranscriptLineReader reader;
    while (!text.empty()) {
        const std::size_t feed = std::min(text.find('\n'), text.size());
        const std::string_view source = text.substr(0, feed);
        if (const std::optional<TranscriptLine> line = reader.read(source)) {
            std::optional<QString> result = read(*line);
            if (result && simdjson::validate_utf8(source.data(), source.size()) && reader.isSound())
                return result;
        }
        text.remove_prefix(std::min(feed + 1, text.size()));
    }
    return std::nullopt;
}

/// So many bytes of a transcript at most.
std::optional<std::string> beginning(const std::string &path, std::size_t length)
{
    const auto file = TranscriptFile::open(QFile::decodeName(path.c_str()));
    return file ? file->read(0, length) : std::nullopt;
}

std::optional<QString> decoded(std::optional<std::string_view> insideOfString)
{
    return insideOfString ? decodeJsonString(*insideOfString) : std::nullopt;
}

std::optional<QString> firstMessage(const std::string &path)
{
    const std::optional<std::string> text = beginning(path, firstMessageReach);
    if (!text || !simdjson::validate_utf8(*text))
        return std::nullopt;
    return firstOfLines(*text, [](const TranscriptLine &line) -> std::optional<QString> {
        if (!jsonStringIs(line.type, "user") || !line.message)
            return std::nullopt;
        const std::optional<QString> content = decoded(stringOf(*line.message));
        const QStringView shown = content ? trimmedWhitespace(*content) : QStringView();
        if (shown.isEmpty())
            return std::nullopt;
        if (!hasMoreCharactersThan(shown, longestFirstMessage))
            return shown.toString();
        return firstCharacters(shown, cutFirstMessage) + QStringLiteral("...");
    });
}

/// The directory that a transcript's first lines name, if it exists.
std::optional<QString> namedDirectory(const std::string &path)
{
    const std::optional<std::string> text = beginning(path, directoryReach);
    const std::optional<QString> directory =
        text ? firstOfLines(*text, [](const TranscriptLine &line) { return decoded(line.cwd); }) : std::nullopt;
    if (!directory || !directory->startsWith(u'/') || directory->contains(QChar::Null))
        return std::nullopt;
    return isDirectory(QFile::encodeName(*directory).toStdString()) ? directory : std::nullopt;
}

/// A name that holds another character for which the agent writes a dash can't be resolved by looking at the disk.
std::optional<QString> projectDirectory(const std::string &root, const Folder &folder)
{
    if (const std::optional<std::string> path = resolveProjectFolder(folder.name))
        return QFile::decodeName(path->c_str());
    return namedDirectory(root + '/' + folder.name + '/' + folder.transcripts.front().name);
}

RecentProject makeProject(const std::string &root, const Folder &folder, const QString &directory)
{
    RecentProject project;
    project.id = QFile::decodeName(folder.name.c_str());
    project.path = directory;
    project.name = lastPathComponent(directory);
    project.lastUsed = folder.transcripts.front().lastUsed;
    const std::size_t shown = std::min(folder.transcripts.size(), sessionsShown);
    for (const Transcript &transcript : std::span(folder.transcripts).first(shown)) {
        const std::string id = transcript.name.substr(0, transcript.name.size() - extension.size());
        project.sessions.append({ QFile::decodeName(id.c_str()), transcript.lastUsed,
                                  firstMessage(root + '/' + folder.name + '/' + transcript.name) });
    }
    return project;
}

} // namespace

RecentProjects::RecentProjects(QString home)
    : m_home(std::move(home))
{}

QList<RecentProject> RecentProjects::loadRecentProjects(std::int64_t limit) const
{
    const std::string root = QFile::encodeName(m_home + QStringLiteral("/.claude/projects")).toStdString();
    QList<RecentProject> projects;
    // Only what is shown is looked into: there may be thousands of transcripts.
    for (const Folder &folder : readFolders(root)) {
        if (projects.size() >= limit)
            break;
        if (const std::optional<QString> directory = projectDirectory(root, folder))
            projects.append(makeProject(root, folder, *directory));
    }
    return projects;
}

} // namespace vantry
