#include "sessions/VantrySession.h"

#include "base/Text.h"
#include "sessions/SessionText.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

namespace vantry {

namespace {

/// Whether a regular file (or a link to one) is there. Opens nothing, so nothing that stands there can block. The path
/// goes to the system as it is: QFileInfo would look for ":name" among the program's own resources.
bool isRegularFile(const QString &path)
{
    if (path.contains(QChar::Null))
        return false;
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISREG(status.st_mode);
}

/// The name of a project's folder with every separator replaced.
QString folderNameBySeparators(QString cwd)
{
    return cwd.replace(u'/', u'-');
}

/// The name that the agent itself gives a project's folder: every UTF-16 unit but ASCII letters and digits becomes "-".
QString folderNameByAgent(QString cwd)
{
    const auto isKept = [](QChar unit) {
        return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || (unit >= u'0' && unit <= u'9');
    };
    for (QChar &unit : cwd) {
        if (!isKept(unit))
            unit = u'-';
    }
    return cwd;
}

/// The names that a project's folder may have. The agent cuts a long one and appends a hash of its own.
QStringList folderNames(const QString &projects, const QString &cwd)
{
    constexpr qsizetype longestName = 200;
    const QString name = folderNameByAgent(cwd);
    QStringList names { folderNameBySeparators(cwd), name };
    if (name.size() > longestName) {
        const QString beginning = name.first(longestName) + u'-';
        names += QDir(projects).entryList({ QString(beginning + u'*') }, QDir::Dirs | QDir::CaseSensitive);
    }
    return names;
}

} // namespace

VantrySession::VantrySession(Init init)
    : m_id(std::move(init.id))
    , m_agentTool(init.agentTool)
    , m_terminalType(std::move(init.terminalType))
    , m_terminalSessionID(std::move(init.terminalSessionID))
    , m_state(init.state)
    , m_lastMessage(std::move(init.lastMessage))
    , m_lastUpdated(init.lastUpdated)
    , m_startedAt(init.startedAt)
    , m_isAlive(init.isAlive)
    , m_projectName(std::move(init.projectName))
    , m_cwd(std::move(init.cwd))
    , m_lastPrompt(std::move(init.lastPrompt))
    , m_toolName(std::move(init.toolName))
    , m_pid(init.pid)
    , m_pidStartTime(init.pidStartTime)
{}

QString VantrySession::statusText() const
{
    if (!m_isAlive)
        return QStringLiteral("Finished");
    switch (m_state) {
    case SessionState::launching:
        return QStringLiteral("Starting ") + vantry::displayName(m_agentTool) + QStringLiteral("...");
    case SessionState::working:
        return QStringLiteral("Working...");
    case SessionState::needsPermission:
        return m_toolName ? QString(QStringLiteral("Needs permission: ") + *m_toolName)
                          : QStringLiteral("Needs permission");
    case SessionState::hasQuestion:
        return QStringLiteral("Has questions");
    case SessionState::ready:
        return QStringLiteral("Ready");
    }
    return {};
}

QString VantrySession::elapsedText(Date now) const
{
    return timeAgoText(m_lastUpdated, now);
}

std::optional<QString> VantrySession::previewLine() const
{
    if (m_state == SessionState::needsPermission && m_toolDetail && !m_toolDetail->isEmpty())
        return firstMeaningfulLine(*m_toolDetail);
    if (m_lastMessage) {
        if (auto line = firstMeaningfulLine(*m_lastMessage))
            return line;
    }
    return m_lastPrompt ? firstMeaningfulLine(*m_lastPrompt) : std::nullopt;
}

std::optional<QString> VantrySession::resolvedTranscriptPath(const QString &home) const
{
    if (m_transcriptPath && isRegularFile(*m_transcriptPath))
        return m_transcriptPath;
    if (!m_cwd)
        return std::nullopt;
    const QString projects = home + QStringLiteral("/.claude/projects/");
    for (const QString &folder : folderNames(projects, *m_cwd)) {
        const QString path = projects + folder + u'/' + m_id + QStringLiteral(".jsonl");
        if (isRegularFile(path))
            return path;
    }
    return std::nullopt;
}

QString VantrySession::displayName() const
{
    return m_projectName ? *m_projectName : firstCharacters(m_id, 8).toString();
}

bool VantrySession::needsAttention() const
{
    return m_isAlive && (m_state == SessionState::needsPermission || m_state == SessionState::hasQuestion);
}

} // namespace vantry
