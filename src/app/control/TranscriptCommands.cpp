#include "app/control/TranscriptCommands.h"

#include "app/control/SessionHistory.h"
#include "app/control/TranscriptOutput.h"
#include "transcripts/TranscriptMessageReader.h"

#include <QDir>
#include <QFileInfo>

#include <variant>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// A transcript's file, or why there is none, as one line for a person.
struct Transcript
{
    QString path;
    QString problem;
};

Transcript findTranscript(const QString &source, const Paths &paths, ControlClient &client, const Clock &clock)
{
    const QString path = source.startsWith(u'/') ? source : QDir::currentPath() + u'/' + source;
    if (QFileInfo(path).isFile())
        return { path, {} };
    if (source.contains(u'/'))
        return { {}, u"there is no file %1"_s.arg(source) };

    const auto found = findSession(source, paths, clock, client);
    const auto *session = std::get_if<KnownSession>(&found);
    if (!session)
        return { {}, std::get<QString>(found) };
    if (!session->transcriptPath)
        return { {}, u"the session %1 has no transcript"_s.arg(session->id) };
    return { *session->transcriptPath, {} };
}

} // namespace

int runMessages(const command::Messages &command, const Paths &paths, ControlClient &client, Console &console,
                const Clock &clock)
{
    Transcript transcript = findTranscript(command.source, paths, client, clock);
    if (transcript.problem.isEmpty() && !TranscriptFile::open(transcript.path))
        transcript.problem = u"%1 can't be read"_s.arg(transcript.path);
    if (!transcript.problem.isEmpty()) {
        console.printError(transcript.problem.toStdString());
        return exitCode::refused;
    }
    const auto messages = parseMessages(transcript.path, command.limit);
    if (command.form == OutputForm::Json)
        console.print(jsonLine(messagesJson(messages)) + '\n');
    else
        console.print(messagesText(messages, console.style()).toStdString());
    return exitCode::done;
}

int runProjects(const command::Projects &command, const Paths &paths, Console &console, const Clock &clock)
{
    const QList<RecentProject> projects = RecentProjects(paths.home).loadRecentProjects(command.limit);
    if (command.form == OutputForm::Json)
        console.print(jsonLine(projectsJson(projects)) + '\n');
    else
        console.print(projectsText(projects, clock.now(), paths.home, console.style()).toStdString());
    return exitCode::done;
}

} // namespace vantry
