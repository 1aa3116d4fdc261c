#include "app/control/Doctor.h"

#include "app/control/StatusText.h"
#include "base/Subprocess.h"
#include "hooks/HookInstaller.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QVersionNumber>

#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Weight = DoctorCheck::Weight;

namespace {

/// The first line of what `PROGRAM ARGUMENTS` prints; nothing when it fails.
std::optional<QString> firstLineOf(const QString &program, const QStringList &arguments)
{
    Subprocess process;
    process.executable = program;
    process.arguments = arguments;
    process.timeout = 5s;
    const Subprocess::Result result = process.run();
    if (!result.started || result.exitStatus != 0)
        return std::nullopt;
    const QString text = QString::fromUtf8(result.standardOutput);
    return text.section(u'\n', 0, 0).trimmed();
}

/// What is wrong with the database; nothing when it is sound.
std::optional<QString> databaseProblem(const QString &path)
{
    // SQLite would wait for ever at a FIFO.
    if (!QFileInfo(path).isFile())
        return u"not a file"_s;
    sqlite3 *raw = nullptr;
    const int opened = sqlite3_open_v2(path.toUtf8().constData(), &raw, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3 *)> database(raw, sqlite3_close);
    if (opened != SQLITE_OK)
        return QString::fromUtf8(raw ? sqlite3_errmsg(raw) : "out of memory");
    sqlite3_busy_timeout(raw, 3000);

    QString verdict;
    const auto readVerdict = [](void *context, int, char **values, char **) {
        *static_cast<QString *>(context) = QString::fromUtf8(values[0] ? values[0] : "");
        return 0;
    };
    if (sqlite3_exec(raw, "PRAGMA quick_check(1)", readVerdict, &verdict, nullptr) != SQLITE_OK)
        return QString::fromUtf8(sqlite3_errmsg(raw));
    return verdict == u"ok" ? std::nullopt : std::optional(verdict);
}

/// The path, or what stands nearest above it.
QString nearestThatExists(QString path)
{
    while (!QFileInfo::exists(path) && path != u"/")
        path = QFileInfo(path).absolutePath();
    return path;
}

/// A connection of this process with itself, for asking who is at its other end.
class LoopbackPair
{
public:
    LoopbackPair()
    {
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *generic = reinterpret_cast<sockaddr *>(&address);
        const bool isConnected = ::bind(m_listening, generic, size) == 0 && ::listen(m_listening, 1) == 0 &&
                                 ::getsockname(m_listening, generic, &size) == 0 &&
                                 ::connect(m_connecting, generic, size) == 0;
        if (isConnected)
            m_accepted = ::accept4(m_listening, nullptr, nullptr, SOCK_CLOEXEC);
    }
    ~LoopbackPair()
    {
        for (const int descriptor : { m_listening, m_connecting, m_accepted }) {
            if (descriptor >= 0)
                ::close(descriptor);
        }
    }
    LoopbackPair(const LoopbackPair &) = delete;
    LoopbackPair &operator=(const LoopbackPair &) = delete;

    /// Negative when there is no loopback network.
    [[nodiscard]] int accepted() const { return m_accepted; }

private:
    int m_listening { ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0) };
    int m_connecting { ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0) };
    int m_accepted { -1 };
};

/// What keeps the session's terminal from being driven; nothing also where no driver knows its kind.
std::optional<TerminalDriver::Problem> terminalProblem(const SessionRow &session,
                                                       const std::vector<TerminalDriver *> &drivers)
{
    const QString type = session.terminalType;
    // Some terminals report their name alone when they can't be driven; their driver knows why.
    const auto driver = std::ranges::find_if(
        drivers, [&](TerminalDriver *candidate) { return candidate->handles(type) || candidate->name() == type; });
    if (driver == drivers.end())
        return std::nullopt;
    const TerminalTarget target { type, session.terminalSessionID, session.shellPid };
    // Terminals are not asked on the main thread.
    return std::async(std::launch::async, [&] { return (*driver)->examine(target); }).get();
}

} // namespace

QList<DoctorCheck> DoctorChecks::all() const
{
    return QList { application(), listener(), sessionBus(),   hook(),    python(), agent(), git(),          database(),
                   dataFolder(),  log(),      peerIdentity(), display(), tray(),   notch(), notifications() } +
           QList { sound(), microphone(), speech(), secretService() } + terminals();
}

DoctorCheck DoctorChecks::application() const
{
    DoctorCheck check { .name = u"application"_s };
    const auto reply = m_surroundings.client.list();
    const auto *failure = std::get_if<ControlFailure>(&reply);
    check.ok = !failure;
    check.detail = failure ? failure->reason : u"Vantry is running"_s;
    if (failure)
        check.advice = u"Start it with \"vantry\", or \"vantry --headless\" without a desktop"_s;
    return check;
}

DoctorCheck DoctorChecks::listener() const
{
    DoctorCheck check { .name = u"listener"_s, .weight = Weight::Essential };
    const QString port = QString::number(m_surroundings.port);
    const PortHealth health = probeHealth(m_surroundings.port, 2s);
    const QString holder = m_surroundings.ports.holder(m_surroundings.port).value_or(u"another program"_s);
    const auto reply = m_surroundings.client.list();
    const bool isRunning = std::holds_alternative<QString>(reply);
    switch (health) {
    case PortHealth::Answers:
        check.ok = true;
        check.detail = u"Port %1 answers, held by %2"_s.arg(port, holder);
        break;
    case PortHealth::Free:
        check.ok = !isRunning;
        check.detail = isRunning ? u"Vantry is running, but nothing listens on port %1"_s.arg(port)
                                 : u"Port %1 is free for Vantry"_s.arg(port);
        if (isRunning)
            check.advice = u"It tries again every 5 seconds; its log tells why it can't"_s;
        break;
    case PortHealth::Stranger:
        check.detail = u"Port %1 is held by %2, which isn't Vantry"_s.arg(port, holder);
        check.advice = u"End that program: agents' events go to this port"_s;
        break;
    }
    return check;
}

DoctorCheck DoctorChecks::sessionBus() const
{
    DoctorCheck check { .name = u"session bus"_s, .ok = m_surroundings.client.isConnected() };
    check.detail = check.ok ? u"The session bus can be reached"_s : u"There is no session bus"_s;
    if (!check.ok)
        check.advice = u"Commands can't reach a running Vantry without one; log in to a desktop, or start both in "
                       u"\"dbus-run-session\""_s;
    return check;
}

DoctorCheck DoctorChecks::hook() const
{
    const HookInstaller installer(m_surroundings.paths.home);
    DoctorCheck check { .name = u"hook"_s, .weight = Weight::Essential };
    if (!installer.isInstalled())
        check.detail = u"The agent's hook is not installed"_s;
    else if (!installer.isCurrent())
        check.detail = u"The agent's hook is from another version"_s;
    else
        check = { check.name, true, u"The agent's hook is installed"_s, {}, check.weight };
    if (!check.ok)
        check.advice = u"Run \"vantry hook install\""_s;
    return check;
}

DoctorCheck DoctorChecks::python() const
{
    DoctorCheck check { .name = u"python3"_s, .weight = Weight::Essential };
    const QString program = find(u"python3"_s);
    const auto version = program.isEmpty() ? std::nullopt
                                           : firstLineOf(program, { u"-c"_s, u"import platform; "
                                                                             "print(platform.python_version())"_s });
    if (program.isEmpty())
        check.detail = u"There is no python3"_s;
    else if (!version)
        check.detail = u"%1 does not run"_s.arg(program);
    else
        check.detail = u"%1 is version %2"_s.arg(program, *version);
    check.ok = version && QVersionNumber::fromString(*version) >= QVersionNumber(3, 8);
    if (!check.ok)
        check.advice = u"The agent's hook needs python3 of version 3.8 or later: install the package \"python3\""_s;
    return check;
}

DoctorCheck DoctorChecks::agent() const
{
    DoctorCheck check { .name = u"agent"_s };
    const QString program = find(u"claude"_s);
    check.ok = !program.isEmpty();
    check.detail = check.ok ? program : u"The command \"claude\" was not found"_s;
    if (!check.ok)
        check.advice = u"Install Claude Code, or add its folder to PATH"_s;
    return check;
}

DoctorCheck DoctorChecks::git() const
{
    DoctorCheck check { .name = u"git"_s };
    const QString program = u"/usr/bin/git"_s;
    const auto version = firstLineOf(program, { u"--version"_s });
    check.ok = version.has_value();
    check.detail = version.value_or(u"%1 was not found"_s.arg(program));
    if (!check.ok)
        check.advice = u"Without it no branch and no changed lines are shown: install the package \"git\""_s;
    return check;
}

DoctorCheck DoctorChecks::database() const
{
    DoctorCheck check { .name = u"database"_s, .weight = Weight::Essential };
    const QString path = m_surroundings.paths.database();
    if (!QFileInfo::exists(path)) {
        check.ok = true;
        check.detail = u"There is none yet; the first start makes it"_s;
        return check;
    }
    const auto problem = databaseProblem(path);
    check.ok = !problem;
    check.detail = u"%1: %2"_s.arg(path, problem.value_or(u"sound"_s));
    if (!check.ok)
        check.advice = u"Quit Vantry and move the file away: a new one is made, without the history"_s;
    return check;
}

DoctorCheck DoctorChecks::dataFolder() const
{
    DoctorCheck check { .name = u"data folder"_s, .weight = Weight::Essential };
    const QString path = m_surroundings.paths.dataFolder;
    const QFileInfo folder(path);
    if (!folder.exists()) {
        const QString above = nearestThatExists(path);
        check.ok = QFileInfo(above).isDir() && QFileInfo(above).isWritable();
        check.detail = check.ok ? u"There is none yet; the first start makes it"_s
                                : u"%1 can't be made: %2 can't be written to"_s.arg(path, above);
        if (!check.ok)
            check.advice = u"Make that a folder that belongs to you"_s;
        return check;
    }
    constexpr auto others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    if (!folder.isDir() || !folder.isWritable()) {
        check.detail = u"%1 can't be written to"_s.arg(path);
        check.advice = u"Make it a folder that belongs to you"_s;
    } else if (folder.permissions() & others) {
        check.detail = u"%1 is open to other users"_s.arg(path);
        check.advice = u"Run \"chmod 700 %1\""_s.arg(path);
        check.weight = Weight::Helpful;
    } else {
        check.ok = true;
        check.detail = u"%1 is yours alone"_s.arg(path);
    }
    return check;
}

DoctorCheck DoctorChecks::log() const
{
    DoctorCheck check { .name = u"log"_s };
    const QFileInfo file(m_surroundings.paths.debugLog());
    check.ok = !file.exists() || (file.isFile() && file.isWritable());
    if (!file.exists())
        check.detail = u"There is none yet; the first start makes it"_s;
    else
        check.detail = (check.ok ? u"%1 can be written to"_s : u"%1 can't be written to"_s).arg(file.filePath());
    if (!check.ok)
        check.advice = u"Remove it: a new one is made"_s;
    return check;
}

DoctorCheck DoctorChecks::peerIdentity() const
{
    DoctorCheck check { .name = u"peer identity"_s };
    const LoopbackPair pair;
    check.ok = pair.accepted() >= 0 && m_surroundings.peers.identify(pair.accepted()) == PeerIdentity::Peer::Trusted;
    check.detail = check.ok ? u"The kernel tells whose a local connection is"_s
                            : u"The kernel does not tell whose a local connection is"_s;
    if (!check.ok)
        check.advice = u"Other users of this machine can send events to Vantry; load the kernel module "
                       u"\"inet_diag\""_s;
    return check;
}

DoctorCheck DoctorChecks::display() const
{
    DoctorCheck check { .name = u"display"_s, .ok = m_surroundings.hasDisplay };
    check.detail =
        check.ok ? u"Windows can be brought forward"_s : u"There is no display, so no window can be brought forward"_s;
    if (!check.ok)
        check.advice = u"Start Vantry within your desktop's session: DISPLAY and WAYLAND_DISPLAY are unset here"_s;
    return check;
}

DoctorCheck DoctorChecks::tray() const
{
    DoctorCheck check { .name = u"tray"_s, .ok = m_surroundings.hasTray };
    check.detail = check.ok ? u"The desktop has a tray for Vantry's icon"_s
                            : u"There is no tray, so Vantry has no icon; the notch is shown in its stead, and "
                              "\"vantry show\" opens the panel"_s;
    if (!check.ok)
        check.advice = u"On GNOME, install gnome-shell-extension-appindicator and turn it on; elsewhere, add a tray to "
                       "the desktop's bar"_s;
    return check;
}

DoctorCheck DoctorChecks::notch() const
{
    DoctorCheck check { .name = u"notch"_s, .ok = m_surroundings.canPlaceWindows };
    check.detail = check.ok ? u"The notch can be shown at the top of the screen"_s
                            : u"No window can be placed on this desktop, so there is no notch"_s;
    if (!check.ok)
        check.advice = m_surroundings.hasDisplay ? u"Install xwayland and turn it on in the desktop"_s
                                                 : u"Start Vantry from the desktop"_s;
    return check;
}

DoctorCheck DoctorChecks::notifications() const
{
    using Presence = NotificationCentre::Server::Presence;
    const NotificationCentre::Server &server = m_surroundings.notificationServer;
    DoctorCheck check { .name = u"notifications"_s };
    switch (server.presence) {
    case Presence::Present:
        check.ok = server.capabilities.contains(u"actions");
        check.detail = check.ok ? u"The desktop shows notifications with buttons"_s
                                : u"The desktop shows notifications, but without buttons"_s;
        if (!check.ok)
            check.advice = u"Requests are answered in the panel; another notification server, such as \"dunst\", has "
                           "buttons"_s;
        break;
    case Presence::Startable:
        check.ok = true;
        check.detail = u"The first notification starts the desktop's notification server"_s;
        break;
    case Presence::Unknown:
        check.detail = u"The desktop's notification server does not answer"_s;
        check.advice = u"End it, or start it again: Vantry takes the new one at once"_s;
        break;
    case Presence::Absent:
        check.detail = u"Nobody shows notifications on this desktop"_s;
        check.advice = u"Start a notification server, such as \"dunst\": Vantry takes it at once"_s;
        break;
    }
    return check;
}

DoctorCheck DoctorChecks::sound() const
{
    const auto &problem = m_surroundings.soundProblem;
    if (!problem)
        return { .name = u"sound"_s, .ok = true, .detail = u"Sounds can be heard"_s };
    return { .name = u"sound"_s, .detail = problem->detail, .advice = problem->advice };
}

DoctorCheck DoctorChecks::microphone() const
{
    const auto &problem = m_surroundings.microphoneProblem;
    DoctorCheck check { .name = u"microphone"_s, .ok = !problem };
    check.detail = problem ? u"Nothing can be dictated: %1"_s.arg(*problem) : u"There is a microphone"_s;
    if (problem)
        check.advice = u"See that an audio server runs and that its default source is a microphone"_s;
    return check;
}

DoctorCheck DoctorChecks::speech() const
{
    const auto &problem = m_surroundings.speechProblem;
    DoctorCheck check { .name = u"speech recognition"_s, .ok = !problem };
    check.detail = problem ? u"Nothing can be dictated: %1"_s.arg(*problem) : u"Speech can be recognised"_s;
    if (problem)
        check.advice = u"Install the packages \"libpocketsphinx3\" and \"pocketsphinx-en-us\""_s;
    return check;
}

DoctorCheck DoctorChecks::secretService() const
{
    const auto &problem = m_surroundings.secretStoreProblem;
    if (!problem)
        return { .name = u"secret service"_s, .ok = true, .detail = u"The desktop keeps secrets"_s };
    return { .name = u"secret service"_s, .detail = problem->detail, .advice = problem->advice };
}

QList<DoctorCheck> DoctorChecks::terminals() const
{
    const auto reply = m_surroundings.client.list();
    const auto *document = std::get_if<QString>(&reply);
    const auto status = document ? StatusDocument::fromText(*document) : std::nullopt;
    QList<DoctorCheck> problems;
    qsizetype sound = 0;
    for (const SessionRow &session : status ? status->sessions : QList<SessionRow>()) {
        if (!session.isAlive)
            continue;
        const auto problem = terminalProblem(session, m_surroundings.terminals);
        if (!problem) {
            ++sound;
            continue;
        }
        problems.append(
            { .name = u"terminal"_s,
              .detail = u"%1 (%2): %3"_s.arg(displayText(session.id.left(8)), session.project, problem->detail),
              .advice = problem->advice });
    }
    if (sound == 0 && !problems.isEmpty())
        return problems;
    const QString all =
        sound == 1 ? u"One live session's is in order"_s : u"Those of %1 live sessions are in order"_s.arg(sound);
    const DoctorCheck check { .name = u"terminals"_s,
                              .ok = true,
                              .detail = sound == 0 ? u"There is no live session"_s : all };
    return QList { check } + problems;
}

QString DoctorChecks::find(const QString &program) const
{
    return QStandardPaths::findExecutable(program, m_surroundings.searchPath);
}

} // namespace vantry
