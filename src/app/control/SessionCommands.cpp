#include "app/control/SessionCommands.h"

#include "app/control/SessionHistory.h"
#include "app/control/SessionJson.h"
#include "app/control/StatusText.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QUuid>

#include <algorithm>
#include <chrono>
#include <functional>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

int fail(const ControlFailure &failure, Console &console)
{
    console.printError(failure.reason.toStdString());
    return failure.kind == ControlFailure::Kind::NotRunning ? exitCode::notRunning : exitCode::refused;
}

using SessionCall = std::function<std::optional<ControlFailure>(const QString &sessionID)>;

/// Finds out which session is meant, then asks for the call.
int runOnSession(const QString &given, ControlClient &client, Console &console, const SessionCall &call)
{
    const auto reply = client.list();
    if (const auto *failure = std::get_if<ControlFailure>(&reply))
        return fail(*failure, console);
    const auto status = StatusDocument::fromText(std::get<QString>(reply));
    if (!status) {
        console.printError("the running Vantry gave an answer that can't be read");
        return exitCode::refused;
    }
    QStringList ids;
    for (const SessionRow &session : status->sessions)
        ids.append(session.id);

    const SessionChoice choice = chooseSession(ids, given);
    if (!choice.id) {
        console.printError(choice.reason.toStdString());
        return exitCode::refused;
    }
    const auto failure = call(*choice.id);
    return failure ? fail(*failure, console) : exitCode::done;
}

/// As the bus knows it.
QString modeName(command::Launch::Mode mode)
{
    switch (mode) {
    case command::Launch::Mode::Fresh:
        return u"fresh"_s;
    case command::Launch::Mode::Resume:
        return u"resume"_s;
    case command::Launch::Mode::ContinueLatest:
        return u"continueLatest"_s;
    }
    return {};
}

} // namespace

SessionChoice chooseSession(const QStringList &ids, const QString &given)
{
    if (ids.contains(given))
        return { given, {} };
    QStringList fitting;
    std::ranges::copy_if(ids, std::back_inserter(fitting), [&](const QString &id) { return id.startsWith(given); });
    if (fitting.size() == 1)
        return { fitting.first(), {} };
    if (fitting.isEmpty())
        return { std::nullopt, u"no session's ID begins with \"%1\""_s.arg(given), false };
    return { std::nullopt, u"\"%1\" fits several sessions: %2"_s.arg(given, fitting.join(u", ")), true };
}

int printNoList(const ControlFailure &failure, OutputForm form, Console &console, std::uint16_t port)
{
    if (failure.kind != ControlFailure::Kind::NotRunning || form == OutputForm::Text)
        return fail(failure, console);
    console.print(jsonLine(statusJson(false, false, port, {})) + '\n');
    return exitCode::notRunning;
}

int runStatus(const command::Status &command, ControlClient &client, Console &console, std::uint16_t port)
{
    const auto reply = client.list();
    if (const auto *failure = std::get_if<ControlFailure>(&reply))
        return printNoList(*failure, command.form, console, port);
    const QString document = std::get<QString>(reply);
    if (command.form == OutputForm::Json) {
        console.print(document.toStdString() + '\n');
        return exitCode::done;
    }
    const auto status = StatusDocument::fromText(document);
    if (!status) {
        console.printError("the running Vantry gave an answer that can't be read");
        return exitCode::refused;
    }
    console.print(statusText(*status, console.style()).toStdString());
    return exitCode::done;
}

int runAllow(const command::Allow &command, ControlClient &client, Console &console)
{
    return runOnSession(command.id, client, console, [&](const QString &id) { return client.allow(id); });
}

int runDeny(const command::Deny &command, ControlClient &client, Console &console)
{
    const bool stop = command.agent == command::Deny::Agent::Stops;
    return runOnSession(command.id, client, console, [&](const QString &id) { return client.deny(id, stop); });
}

int runAlwaysAllow(const command::AlwaysAllow &command, ControlClient &client, Console &console)
{
    return runOnSession(command.id, client, console, [&](const QString &id) { return client.alwaysAllow(id); });
}

int runAnswer(const command::Answer &command, ControlClient &client, Console &console)
{
    return runOnSession(command.id, client, console,
                        [&](const QString &id) { return client.answer(id, command.index); });
}

int runSend(const command::Send &command, ControlClient &client, Console &console)
{
    return runOnSession(command.id, client, console, [&](const QString &id) { return client.send(id, command.text); });
}

int runFocus(const command::Focus &command, ControlClient &client, Console &console)
{
    return runOnSession(command.id, client, console, [&](const QString &id) { return client.focus(id); });
}

int runKill(const command::Kill &command, ControlClient &client, Console &console)
{
    return runOnSession(command.id, client, console, [&](const QString &id) { return client.kill(id); });
}

int runLaunch(const command::Launch &command, ControlClient &client, const Paths &paths, Console &console,
              const Clock &clock)
{
    const QString path =
        QDir::cleanPath(command.path.startsWith(u'/') ? command.path : QDir::currentPath() + u'/' + command.path);
    if (!QFileInfo(path).isDir()) {
        console.printError(u"there is no folder %1"_s.arg(path).toStdString());
        return exitCode::refused;
    }
    QString sessionID;
    if (command.mode == command::Launch::Mode::Resume) {
        const auto found = findSession(command.sessionID, paths, clock, client);
        const bool mayBeKnownToAgent = !QUuid::fromString(command.sessionID).isNull();
        if (const auto *session = std::get_if<KnownSession>(&found)) {
            sessionID = session->id;
        } else if (mayBeKnownToAgent) {
            sessionID = command.sessionID;
        } else {
            console.printError(std::get<QString>(found).toStdString());
            return exitCode::refused;
        }
    }
    const auto failure = client.launch(path, modeName(command.mode), sessionID, rawValue(command.permissionMode));
    return failure ? fail(*failure, console) : exitCode::done;
}

int runShow(ControlClient &client, Console &console)
{
    const auto failure = client.showPanel();
    return failure ? fail(*failure, console) : exitCode::done;
}

int runSettings(ControlClient &client, Console &console)
{
    const auto failure = client.showSettings();
    return failure ? fail(*failure, console) : exitCode::done;
}

int runQuit(ControlClient &client, Console &console, Scheduler &scheduler)
{
    constexpr auto patience = 10s;

    QEventLoop loop;
    bool isGone = false;
    client.follow({ .onGone = [&] {
        isGone = true;
        loop.quit();
    } });
    const auto failure = client.quit();
    // One that ends while it answers has done what it was asked for.
    if (failure && failure->kind != ControlFailure::Kind::Unanswered)
        return fail(*failure, console);
    const ScheduledTimer limit = scheduler.after(patience, [&loop] { loop.quit(); });
    if (!isGone)
        loop.exec();
    client.follow({});
    if (isGone)
        return exitCode::done;
    console.printError("the running Vantry was asked to quit and has not ended yet");
    return exitCode::refused;
}

} // namespace vantry
