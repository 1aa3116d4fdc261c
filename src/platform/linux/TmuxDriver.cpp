#include "platform/linux/TmuxDriver.h"

#include "base/Files.h"
#include "platform/Applications.h"
#include "platform/ProcessTable.h"
#include "platform/linux/LoginShell.h"

#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace vantry {
namespace {

using Command = TmuxRemote::Command;
using Failure = TerminalDriver::Failure;

/// tmux in tmux in tmux ...
constexpr int mostNested = 4;

QString noSuchTarget()
{
    return QStringLiteral("the session's tmux pane is not known");
}

QString paneIsGone()
{
    return QStringLiteral("the tmux pane is gone");
}

/// A window as part of a session. One window can be part of several.
struct Place
{
    QString session; ///< "$1"
    QString window;  ///< "@2"
    QString sessionName;

    [[nodiscard]] QString target() const { return session + u':' + window; }
};

/// A terminal that is attached to a server.
struct Client
{
    std::int64_t activity { 0 }; ///< When it was last used, in seconds.
    std::int64_t pid { 0 };
    QString session;
    QString name;
};

/// Where a pane is, and who could see it.
struct Surroundings
{
    Failure failure;
    std::vector<Place> places; ///< At least one when there is no failure.
    std::vector<Client> clients;

    [[nodiscard]] const Place *placeIn(const QString &session) const
    {
        const auto found = std::ranges::find(places, session, &Place::session);
        return found == places.end() ? nullptr : &*found;
    }
    /// The client that is used to show the pane: one that shows a session with its window, if there is one; then the
    /// one that was used last.
    [[nodiscard]] const Client *bestClient() const
    {
        const auto rank = [this](const Client &client) {
            return std::pair(placeIn(client.session) != nullptr, client.activity);
        };
        const auto best = std::ranges::max_element(clients, {}, rank);
        return best == clients.end() ? nullptr : &*best;
    }
    /// As part of that client's session, if it is part of it.
    [[nodiscard]] const Place &bestPlace() const
    {
        const Client *client = bestClient();
        const Place *seen = client ? placeIn(client->session) : nullptr;
        return seen ? *seen : places.front();
    }
};

Surroundings surroundingsOf(const TmuxRemote &remote, const QString &pane)
{
    const auto reply = remote.run(
        { { QStringLiteral("list-panes"), QStringLiteral("-a"), QStringLiteral("-F"),
            QStringLiteral("pane #{pane_id} #{session_id} #{window_id} #{session_name}") },
          // A control client is a program's and shows nothing.
          { QStringLiteral("list-clients"), QStringLiteral("-F"),
            QStringLiteral(
                "#{?client_control_mode,,client #{client_activity} #{client_pid} #{session_id} #{client_name}}") } });
    Surroundings found { reply.failure, {}, {} };
    for (const QString &line : reply.lines) {
        const QStringList fields = line.split(u' ');
        if (fields.size() < 5)
            continue;
        const QString rest = line.section(u' ', 4);
        if (fields[0] == u"pane" && fields[1] == pane)
            found.places.push_back({ fields[2], fields[3], rest });
        else if (fields[0] == u"client")
            found.clients.push_back({ fields[1].toLongLong(), fields[2].toLongLong(), fields[3], rest });
    }
    if (!found.failure && found.places.empty())
        found.failure = paneIsGone();
    return found;
}

QString quotedForShell(const QString &word)
{
    return u'\'' + QString(word).replace(u'\'', QStringLiteral("'\\''")) + u'\'';
}

/// Has keys typed into a pane. Whatever the pane is showing in front of its program is left first: it would take the
/// keys. Where the user types into all panes of a window at once, tmux would pass on ours, too, and answer other
/// agents' questions: that is off meanwhile.
class Keys
{
public:
    Keys(const TmuxRemote &remote, const QString &pane)
        : m_remote(remote)
        , m_pane(pane)
    {
        const auto reply =
            remote.run({ { QStringLiteral("display-message"), QStringLiteral("-p"), QStringLiteral("-t"), pane,
                           QStringLiteral("#{pane_id} #{pane_dead} #{pane_input_off} #{pane_synchronized}") },
                         { QStringLiteral("show-options"), QStringLiteral("-p"), QStringLiteral("-v"),
                           QStringLiteral("-t"), pane, QStringLiteral("synchronize-panes") } });
        const QStringList state = reply.lines.value(0).split(u' ');
        if (reply.failure)
            m_failure = reply.failure;
        else if (state.value(0) != pane)
            m_failure = paneIsGone();
        else if (state.value(1) == u"1")
            m_failure = QStringLiteral("the program in the tmux pane has ended");
        else if (state.value(2) == u"1")
            m_failure = QStringLiteral("the tmux pane takes no input: its user has turned that off");
        m_isSynchronized = state.value(3) == u"1";
        m_isSynchronizedByItself = !reply.lines.value(1).isEmpty();
    }

    /// Why nothing can be typed, or wasn't.
    [[nodiscard]] const Failure &failure() const { return m_failure; }

    /// Does nothing after a failure.
    void send(const Command &sendKeys)
    {
        if (m_failure)
            return;
        QList<Command> commands { { QStringLiteral("copy-mode"), QStringLiteral("-q"), QStringLiteral("-t"), m_pane } };
        if (m_isSynchronized)
            commands.append(synchronization({ QStringLiteral("-p") }, { QStringLiteral("off") }));
        commands.append(sendKeys);
        if (m_isSynchronized && m_isSynchronizedByItself)
            commands.append(synchronization({ QStringLiteral("-p") }, { QStringLiteral("on") }));
        else if (m_isSynchronized)
            commands.append(synchronization({ QStringLiteral("-p"), QStringLiteral("-u") }, {}));
        m_failure = m_remote.run(commands).failure;
    }

private:
    [[nodiscard]] Command synchronization(const QStringList &options, const QStringList &value) const
    {
        return QStringList { QStringLiteral("set-option") } + options +
               QStringList { QStringLiteral("-t"), m_pane, QStringLiteral("synchronize-panes") } + value;
    }

    const TmuxRemote &m_remote;
    const QString m_pane;
    Failure m_failure;
    bool m_isSynchronized { false };
    bool m_isSynchronizedByItself { false }; ///< Not only with its window.
};

/// The variables that a process was started with, as far as it may be asked.
QHash<QByteArray, QString> environmentOf(std::int64_t pid)
{
    QHash<QByteArray, QString> variables;
    const FileContent content = readRegularFile("/proc/" + std::to_string(pid) + "/environ");
    for (const QByteArray &entry : QByteArray::fromStdString(content.bytes.value_or("")).split('\0')) {
        const qsizetype sign = entry.indexOf('=');
        if (sign > 0)
            variables.insert(entry.first(sign), QString::fromUtf8(entry.sliced(sign + 1)));
    }
    return variables;
}

} // namespace

TmuxDriver::TmuxDriver(Applications &applications, const ProcessTable &processes, std::vector<TerminalDriver *> hosts,
                       std::chrono::milliseconds patience)
    : m_applications(applications)
    , m_processes(processes)
    , m_hosts(std::move(hosts))
    , m_patience(patience)
{}

QString TmuxDriver::name() const
{
    return QStringLiteral("tmux");
}

bool TmuxDriver::handles(const QString &terminalType) const
{
    return terminalType == u"tmux-pane";
}

TerminalDriver::Abilities TmuxDriver::abilities(const TerminalTarget &target) const
{
    const bool isUsable = handles(target.type) && TmuxPane::parse(target.sessionID);
    return { isUsable, isUsable, isUsable, isUsable };
}

Failure TmuxDriver::focus(const TerminalTarget &target)
{
    const auto pane = TmuxPane::parse(target.sessionID);
    return pane ? focusPane(*pane, 1) : noSuchTarget();
}

Failure TmuxDriver::focusPane(const TmuxPane &pane, int depth)
{
    const TmuxRemote server = remote(pane);
    const Surroundings surroundings = surroundingsOf(server, pane.pane);
    if (surroundings.failure)
        return surroundings.failure;
    const Client *client = surroundings.bestClient();
    const Place &place = surroundings.bestPlace();

    QList<Command> commands { { QStringLiteral("select-window"), QStringLiteral("-t"), place.target() },
                              { QStringLiteral("select-pane"), QStringLiteral("-t"), pane.pane } };
    if (client && client->session != place.session)
        commands.append({ QStringLiteral("switch-client"), QStringLiteral("-c"), client->name, QStringLiteral("-t"),
                          place.session });
    if (auto failure = server.run(commands).failure)
        return failure;
    if (!client) {
        return u"no terminal is attached to this tmux session; attach one with: tmux -S " +
               quotedForShell(pane.socket) + u" attach -t " + quotedForShell(place.sessionName);
    }
    showTerminalOf(client->pid, depth);
    return std::nullopt;
}

/// The pane is chosen whatever comes of this: the client may be in a console, or at the other end of a network.
void TmuxDriver::showTerminalOf(std::int64_t client, int depth)
{
    if (const auto outer = paneAround(client)) {
        if (depth < mostNested)
            static_cast<void>(focusPane(*outer, depth + 1));
        return;
    }
    const auto variables = environmentOf(client);
    const auto both = [&](const char *place, const char *part) {
        return QString(variables.value(place) + u',' + variables.value(part));
    };
    if (showInHost({ QStringLiteral("kitty-window"), both("KITTY_LISTEN_ON", "KITTY_WINDOW_ID") }) ||
        showInHost({ QStringLiteral("konsole-session"), both("KONSOLE_DBUS_SERVICE", "KONSOLE_DBUS_SESSION") }))
        return;
    // The terminal's own word comes first: one process may have many windows.
    const auto window = variables.value("WINDOWID").toULongLong();
    if (window != 0 && m_applications.raise(window))
        return;
    if (const auto found = m_applications.windowOf(client))
        m_applications.raise(*found);
}

bool TmuxDriver::showInHost(const TerminalTarget &target)
{
    return std::ranges::any_of(m_hosts, [&](TerminalDriver *host) {
        return host->handles(target.type) && host->abilities(target).focus && !host->focus(target);
    });
}

/// The pane that the client runs in, when that is one. Its own variables don't tell: to nest tmux, one clears TMUX, and
/// a terminal that was started from a pane has inherited it.
std::optional<TmuxPane> TmuxDriver::paneAround(std::int64_t client) const
{
    constexpr int mostAncestors = 100;
    std::int64_t pid = client;
    for (int step = 0; step < mostAncestors; ++step) {
        const auto parent = m_processes.parent(pid);
        if (!parent || *parent <= 1)
            break;
        if (m_processes.commandName(*parent) == u"tmux: server") {
            const auto variables = environmentOf(pid);
            const QString server = variables.value("TMUX"); // "socket,process,session"
            return TmuxPane::parse(server.section(u',', 0, -3) + u',' + variables.value("TMUX_PANE"));
        }
        pid = *parent;
    }
    return std::nullopt;
}

Failure TmuxDriver::typeText(const TerminalTarget &target, const QString &text)
{
    const auto pane = TmuxPane::parse(target.sessionID);
    if (!pane)
        return noSuchTarget();
    const TmuxRemote server = remote(*pane);
    Keys keys(server, pane->pane);
    // tmux takes 16 KB in one message; a UTF-16 unit becomes three bytes at most.
    constexpr qsizetype mostUnits = 5'000;
    for (qsizetype at = 0; at < text.size() && !keys.failure();) {
        qsizetype size = std::min(mostUnits, text.size() - at);
        if (at + size < text.size() && text[at + size].isLowSurrogate())
            --size;
        keys.send({ QStringLiteral("send-keys"), QStringLiteral("-t"), pane->pane, QStringLiteral("-l"),
                    QStringLiteral("--"), text.sliced(at, size) });
        at += size;
    }
    return keys.failure();
}

Failure TmuxDriver::pressReturn(const TerminalTarget &target)
{
    const auto pane = TmuxPane::parse(target.sessionID);
    if (!pane)
        return noSuchTarget();
    const TmuxRemote server = remote(*pane);
    Keys keys(server, pane->pane);
    keys.send({ QStringLiteral("send-keys"), QStringLiteral("-t"), pane->pane, QStringLiteral("Enter") });
    return keys.failure();
}

Failure TmuxDriver::close(const TerminalTarget &target)
{
    const auto pane = TmuxPane::parse(target.sessionID);
    if (!pane)
        return noSuchTarget();
    return remote(*pane).run({ { QStringLiteral("kill-pane"), QStringLiteral("-t"), pane->pane } }).failure;
}

Failure TmuxDriver::open(const TerminalTarget &target, const TerminalCommand &command)
{
    const auto pane = TmuxPane::parse(target.sessionID);
    if (!pane)
        return noSuchTarget();
    if (!QFileInfo(command.directory).isDir())
        return u"there is no folder " + command.directory;
    const TmuxRemote server = remote(*pane);
    const Surroundings surroundings = surroundingsOf(server, pane->pane);
    if (surroundings.failure)
        return surroundings.failure;

    // The window starts in the folder of the tmux program. One that is given with -c, the server would expand, and run
    // the commands that stand in it.
    const Command newWindow { QStringLiteral("new-window"), QStringLiteral("-P"),
                              QStringLiteral("-F"),         QStringLiteral("#{pane_id}"),
                              QStringLiteral("-t"),         QString(surroundings.bestPlace().session + u':'),
                              QStringLiteral("--") };
    const auto reply = server.run({ newWindow + loginShellArguments(command.commandLine) }, command.directory);
    if (reply.failure)
        return reply.failure;
    // It is the session's current window by now. Where no terminal is attached, it waits for one.
    static_cast<void>(focusPane({ pane->socket, reply.lines.value(0) }, 1));
    return std::nullopt;
}

std::optional<TerminalTarget> TmuxDriver::findPlaceToOpen()
{
    return std::nullopt;
}

std::optional<TerminalDriver::Problem> TmuxDriver::examine(const TerminalTarget &target)
{
    const auto pane = TmuxPane::parse(target.sessionID);
    if (!pane)
        return Problem { noSuchTarget(), QStringLiteral("start the agent anew, with its hooks installed") };
    if (TmuxRemote::program().isEmpty()) {
        return Problem { QStringLiteral("the program tmux is not on the PATH that Vantry was started with"),
                         QStringLiteral("install tmux, or start Vantry with a PATH that leads to it") };
    }
    const auto reply =
        remote(*pane).run({ { QStringLiteral("display-message"), QStringLiteral("-p"), QStringLiteral("-t"), pane->pane,
                              QStringLiteral("#{version} #{pane_id}") } });
    if (reply.failure)
        return Problem { *reply.failure, QStringLiteral("attach to tmux and see whether the agent still runs") };
    const QStringList words = reply.lines.value(0).split(u' ');
    static const QRegularExpression number(QStringLiteral("^(?:next-)?(\\d+)\\.(\\d+)"));
    const auto version = number.match(words.value(0));
    constexpr std::pair oldest { 3, 2 };
    if (words.value(0).isEmpty() ||
        (version.hasMatch() && std::pair(version.captured(1).toInt(), version.captured(2).toInt()) < oldest)) {
        return Problem { u"the tmux server is of version " + words.value(0) + u", which is too old",
                         QStringLiteral("install tmux 3.2 or newer, and start its server anew") };
    }
    if (words.value(1) != pane->pane)
        return Problem { paneIsGone(), QStringLiteral("nothing can be typed into the session any more") };
    return std::nullopt;
}

} // namespace vantry
