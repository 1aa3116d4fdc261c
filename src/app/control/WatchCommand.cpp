#include "app/control/WatchCommand.h"

#include "app/control/SessionCommands.h"
#include "app/control/StatusText.h"

#include <QDateTime>

#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

WatchCommand::WatchCommand(const command::Watch &command, ControlClient &client, Console &console, const Clock &clock,
                           std::function<void(int)> finish)
    : m_form(command.form)
    , m_client(client)
    , m_console(console)
    , m_clock(clock)
    , m_finish(std::move(finish))
{}

WatchCommand::~WatchCommand()
{
    m_client.follow({});
}

std::optional<int> WatchCommand::start(std::uint16_t port)
{
    // To follow comes before to ask, so that no change falls between the two.
    m_client.follow({ .onChanged = [this](const QString &session) { printChanged(session); },
                      .onRemoved = [this](const QString &id) { printRemoved(id); },
                      .onListening = [this](bool listening) { printListening(listening); },
                      .onBackfill = [this](std::uint32_t done, std::uint32_t total) { printBackfill(done, total); },
                      .onGone = [this] { finish(exitCode::notRunning); } });
    const auto reply = m_client.list();
    if (const auto *document = std::get_if<QString>(&reply))
        return printFirst(*document);
    const auto &failure = std::get<ControlFailure>(reply);
    return printNoList(failure, m_form, m_console, port);
}

std::optional<int> WatchCommand::printFirst(const QString &document)
{
    const auto status = StatusDocument::fromText(document);
    if (!status) {
        m_console.printError("the running Vantry gave an answer that can't be read");
        return exitCode::refused;
    }
    for (const SessionRow &session : status->sessions)
        m_projects.insert(session.id, session.project);
    const bool isRead = m_form == OutputForm::Json
                            ? m_console.print(document.toStdString() + '\n')
                            : m_console.print(statusText(*status, m_console.style()).toStdString());
    return isRead ? std::nullopt : std::optional(exitCode::done);
}

void WatchCommand::printChanged(const QString &sessionJson)
{
    Json session = Json::parse(sessionJson.toStdString(), nullptr, false);
    const SessionRow row(session);
    if (row.id.isEmpty())
        return; // Not a session: nothing of ours.
    m_projects.insert(row.id, row.project);
    if (m_form == OutputForm::Json)
        printLine(jsonLine(changedJson(std::move(session))) + '\n');
    else
        printLine(changeLine(row, shortID(row.id), timeText(), m_console.style()).toStdString());
}

void WatchCommand::printRemoved(const QString &sessionID)
{
    if (m_form == OutputForm::Json) {
        printLine(jsonLine(removedJson(sessionID)) + '\n');
    } else {
        const QString shown = displayText(shortID(sessionID));
        printLine(u"%1    %2  Left the list  %3\n"_s.arg(timeText(), shown, m_projects.value(sessionID)).toStdString());
    }
    m_projects.remove(sessionID);
}

void WatchCommand::printListening(bool listening)
{
    if (m_form == OutputForm::Json)
        printLine(jsonLine(listeningJson(listening)) + '\n');
    else
        printLine(u"%1  %2\n"_s.arg(timeText(), listening ? u"Listening for agents"_s : u"Not listening for agents"_s)
                      .toStdString());
}

void WatchCommand::printBackfill(std::uint32_t done, std::uint32_t total)
{
    if (m_form == OutputForm::Json)
        printLine(jsonLine(backfillJson(done, total)) + '\n');
    else
        printLine(u"%1  Read %2 of %3 old transcripts\n"_s.arg(timeText()).arg(done).arg(total).toStdString());
}

void WatchCommand::printLine(const std::string &line)
{
    if (!m_console.print(line))
        finish(exitCode::done);
}

QString WatchCommand::shortID(const QString &id) const
{
    QStringList ids = m_projects.keys();
    ids.append(id);
    return shortIDs(ids).value(id);
}

QString WatchCommand::timeText() const
{
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(m_clock.now().time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(now.count()).toString(u"HH:mm:ss"_s);
}

void WatchCommand::finish(int code)
{
    if (const auto finishOnce = std::exchange(m_finish, {}))
        finishOnce(code);
}

} // namespace vantry
