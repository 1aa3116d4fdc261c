#include "app/control/DoctorChecks.h"

#include "app/control/HealthProbe.h"
#include "base/Subprocess.h"
#include "hooks/HookInstaller.h"

#include <QFileInfo>
#include <QStandardPaths>
#include <QVersionNumber>

#include <chrono>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Weight = DoctorCheck::Weight;

namespace {

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

/// Whether an application is running that does not answer.
bool isSilent(const std::variant<QString, ControlFailure> &reply)
{
    const auto *failure = std::get_if<ControlFailure>(&reply);
    return failure && failure->kind == ControlFailure::Kind::Unanswered;
}

} // namespace

std::optional<QString> firstLineOf(const QString &program, const QStringList &arguments)
{
    Subprocess process;
    process.executable = program;
    process.arguments = arguments;
    process.timeout = 3s;
    const Subprocess::Result result = process.run();
    if (!result.started || result.exitStatus != 0)
        return std::nullopt;
    return QString::fromUtf8(result.standardOutput).section(u'\n', 0, 0).trimmed();
}

DoctorChecks::DoctorChecks(const Surroundings &surroundings)
    : m_surroundings(surroundings)
    , m_status(std::async(std::launch::deferred, [&client = surroundings.client] { return client.list(); }))
{}

std::vector<DoctorInspection> DoctorChecks::inspections() const
{
    std::vector<DoctorInspection> inspections;
    const auto add = [&](const char *name, DoctorCheck (DoctorChecks::*look)() const, Weight weight = Weight::Helpful) {
        inspections.push_back(
            { QString::fromLatin1(name), weight, [this, look] { return QList<DoctorCheck> { (this->*look)() }; } });
    };
    add("application", &DoctorChecks::application);
    add("listener", &DoctorChecks::listener, Weight::Essential);
    add("session bus", &DoctorChecks::sessionBus);
    add("hook", &DoctorChecks::hook, Weight::Essential);
    add("python3", &DoctorChecks::python, Weight::Essential);
    add("agent", &DoctorChecks::agent);
    add("git", &DoctorChecks::git);
    add("data folder", &DoctorChecks::dataFolder, Weight::Essential);
    add("database", &DoctorChecks::database, Weight::Essential);
    add("log", &DoctorChecks::log);
    add("settings", &DoctorChecks::settings);
    add("autostart", &DoctorChecks::autostart);
    add("peer identity", &DoctorChecks::peerIdentity);
    add("display", &DoctorChecks::display);
    add("tray", &DoctorChecks::tray);
    add("notch", &DoctorChecks::notch);
    add("notifications", &DoctorChecks::notifications);
    add("sound", &DoctorChecks::sound);
    add("microphone", &DoctorChecks::microphone);
    add("speech recognition", &DoctorChecks::speech);
    add("secret service", &DoctorChecks::secretService);
    inspections.push_back({ u"terminal programs"_s, Weight::Helpful, [this] { return terminalPrograms(); } });
    inspections.push_back({ u"terminals"_s, Weight::Helpful, [this] { return terminals(); } });
    return inspections;
}

DoctorChecks::Reply DoctorChecks::status() const
{
    // Several threads may wait for it, each with a future of its own.
    const std::shared_future<Reply> status = m_status;
    return status.get();
}

QString DoctorChecks::find(const QString &program) const
{
    return QStandardPaths::findExecutable(program, m_surroundings.searchPath);
}

QString DoctorChecks::configFolder() const
{
    return QFileInfo(QFileInfo(m_surroundings.paths.configFile).path()).path();
}

DoctorCheck DoctorChecks::application() const
{
    DoctorCheck check { .name = u"application"_s };
    const auto reply = status();
    const auto *failure = std::get_if<ControlFailure>(&reply);
    check.ok = !failure;
    check.detail = failure ? failure->reason.first(1).toUpper() + failure->reason.sliced(1) : u"Vantry is running"_s;
    if (isSilent(reply))
        check.advice = u"End that process, then start Vantry again"_s;
    else if (failure)
        check.advice = u"Start it with \"vantry\", or \"vantry --headless\" without a desktop"_s;
    return check;
}

DoctorCheck DoctorChecks::listener() const
{
    DoctorCheck check { .name = u"listener"_s, .weight = Weight::Essential };
    const QString port = QString::number(m_surroundings.port);
    const PortHealth health = probeHealth(m_surroundings.port, 2s);
    const QString holder = m_surroundings.ports.holder(m_surroundings.port).value_or(u"another program"_s);
    const auto reply = status();
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
        if (isSilent(reply)) {
            check.detail = u"Port %1 is held by %2, which does not answer"_s.arg(port, holder);
            check.advice = u"End that process, then start Vantry again"_s;
        } else {
            check.detail = u"Port %1 is held by %2, which isn't Vantry"_s.arg(port, holder);
            check.advice = u"End that program: agents' events go to this port"_s;
        }
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
    const auto problem = HookInstaller(m_surroundings.paths.home).problem(m_surroundings.port);
    if (!problem)
        return { .name = u"hook"_s,
                 .ok = true,
                 .detail = u"The agent's hook is installed for all events"_s,
                 .weight = Weight::Essential };
    return { .name = u"hook"_s, .detail = problem->detail, .advice = problem->advice, .weight = Weight::Essential };
}

DoctorCheck DoctorChecks::python() const
{
    // What the hook leans on: there are packages of Python without a part of it.
    const QString script =
        u"import gc, json, marshal, os, signal, sys; print('.'.join(map(str, sys.version_info[:3])))"_s;

    DoctorCheck check { .name = u"python3"_s, .weight = Weight::Essential };
    const QString program = find(u"python3"_s);
    const auto version = program.isEmpty() ? std::nullopt : firstLineOf(program, { u"-c"_s, script });
    if (program.isEmpty())
        check.detail = u"There is no python3 on the PATH"_s;
    else if (!version)
        check.detail = u"%1 does not run, or lacks its own modules"_s.arg(program);
    else
        check.detail = u"%1 is version %2"_s.arg(program, *version);
    check.ok = version && QVersionNumber::fromString(*version) >= QVersionNumber(3, 8);
    if (!check.ok)
        check.advice = u"The agent's hook needs python3 of version 3.8 or later: install the package \"python3\""_s;
    return check;
}

DoctorCheck DoctorChecks::agent() const
{
    const auto program = m_surroundings.findTool(u"claude"_s);
    if (!program)
        return { .name = u"agent"_s,
                 .detail = u"The command \"claude\" was not found"_s,
                 .advice = u"Install Claude Code, or add its folder to PATH"_s };
    const auto version = firstLineOf(*program, { u"--version"_s });
    return { .name = u"agent"_s,
             .ok = version.has_value(),
             .detail = version ? u"%1 is version %2"_s.arg(*program, *version) : u"%1 does not run"_s.arg(*program),
             .advice = version ? std::nullopt : std::optional(u"Run it in a terminal to see why"_s) };
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

} // namespace vantry
