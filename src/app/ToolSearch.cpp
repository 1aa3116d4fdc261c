#include "app/ToolSearch.h"

#include "base/Subprocess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

bool isExecutableFile(const QString &path)
{
    const QFileInfo file(path);
    return file.isFile() && file.isExecutable();
}

/// The last line that is an absolute path: a shell's start-up files may have written before it.
std::optional<QString> lastPath(const QString &output)
{
    const QStringList lines = output.split(u'\n');
    const auto line =
        std::find_if(lines.rbegin(), lines.rend(), [](const QString &text) { return text.trimmed().startsWith(u'/'); });
    return line == lines.rend() ? std::nullopt : std::optional(line->trimmed());
}

/// Each entry of the folder with the rest behind it; none when the folder can't be read.
QStringList entriesOf(const QString &folder, const QString &rest)
{
    QStringList paths;
    const QStringList entries = QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QString &entry : entries)
        paths.append(folder + u'/' + entry + rest);
    return paths;
}

} // namespace

ToolSearch ToolSearch::forUser(const QString &home)
{
    return { .home = home, .loginShell = qEnvironmentVariable("SHELL") };
}

std::optional<QString> ToolSearch::find(const QString &name) const
{
    if (auto path = ask(root + u"/usr/bin/which"_s, { name }))
        return path;
    // A login shell's profile adds to the path, which a program that the desktop has started doesn't inherit.
    if (auto path = ask(root + u"/bin/zsh"_s, { u"-l"_s, u"-c"_s, u"which "_s + name }))
        return path;
    if (auto path = askLoginShell(name))
        return path;
    const QStringList paths = candidates(name);
    const auto found = std::ranges::find_if(paths, isExecutableFile);
    return found == paths.end() ? std::nullopt : std::optional(*found);
}

std::optional<QString> ToolSearch::ask(const QString &program, const QStringList &arguments) const
{
    if (!isExecutableFile(program))
        return std::nullopt;
    Subprocess process;
    process.executable = program;
    process.arguments = arguments;
    process.timeout = patience;
    const Subprocess::Result result = process.run();
    const QString output = QFile::decodeName(result.standardOutput).trimmed();
    if (result.exitStatus != 0 || output.isEmpty())
        return std::nullopt;
    return output.contains(u'\n') ? lastPath(output) : output;
}

std::optional<QString> ToolSearch::askLoginShell(const QString &name) const
{
    const QFileInfo shell(loginShell);
    if (!shell.isAbsolute() || shell.fileName() == u"zsh")
        return std::nullopt;
    // Built into every shell, but it names aliases and functions, too.
    const auto answer = ask(loginShell, { u"-l"_s, u"-c"_s, u"command -v "_s + name });
    return answer ? lastPath(*answer) : std::nullopt;
}

QStringList ToolSearch::candidates(const QString &name) const
{
    QStringList folders;
    if (name == u"claude")
        folders = { root + u"/usr/local/bin"_s, root + u"/opt/homebrew/bin"_s };
    else if (name == u"python3")
        folders = { root + u"/usr/bin"_s, root + u"/usr/local/bin"_s, root + u"/opt/homebrew/bin"_s,
                    root + u"/Library/Frameworks/Python.framework/Versions/Current/bin"_s };
    folders += nodeFolders();
    folders += { home + u"/.local/bin"_s, home + u"/.claude/local"_s, home + u"/.bun/bin"_s, root + u"/usr/bin"_s,
                 root + u"/usr/local/bin"_s };
    QStringList paths;
    for (const QString &folder : folders)
        paths.append(folder + u'/' + name);
    return paths;
}

QStringList ToolSearch::nodeFolders() const
{
    return entriesOf(home + u"/.nvm/versions/node"_s, u"/bin"_s) +
           entriesOf(home + u"/Library/Application Support/fnm/node-versions"_s, u"/installation/bin"_s) +
           QStringList { home + u"/.volta/bin"_s } + entriesOf(root + u"/usr/local/n/versions/node"_s, u"/bin"_s) +
           QStringList { home + u"/.npm-global/bin"_s };
}

} // namespace vantry
