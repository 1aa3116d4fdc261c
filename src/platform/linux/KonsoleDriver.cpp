#include "platform/linux/KonsoleDriver.h"

#include "base/FileDescriptor.h"
#include "platform/linux/KonsoleRemote.h"
#include "platform/linux/LinuxProcessTable.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <fcntl.h>
#include <signal.h>
#include <termios.h>

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Kind = KonsoleFailure::Kind;
using Window = KonsoleRemote::Window;
using MainWindow = KonsoleRemote::MainWindow;

struct KonsoleTarget
{
    QString service;
    int session { 0 };

    [[nodiscard]] static std::optional<KonsoleTarget> parse(const QString &text)
    {
        static const QRegularExpression form(u"\\A(:[0-9]{1,9}\\.[0-9]{1,9}),/Sessions/([1-9][0-9]{0,8})\\z"_s);
        const auto match = form.match(text);
        if (!match.hasMatch())
            return std::nullopt;
        return KonsoleTarget { match.captured(1), match.captured(2).toInt() };
    }
};

TerminalDriver::Failure unusable()
{
    return u"there is no usable konsole session"_s;
}

TerminalDriver::Failure textOf(const std::optional<KonsoleFailure> &failure)
{
    return failure ? std::optional(failure->text) : std::nullopt;
}

/// The process as /proc shows it; nothing when it is gone.
std::optional<ProcessStat> look(int pid)
{
    QFile file(u"/proc/%1/stat"_s.arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    auto stat = ProcessStat::parse(file.readAll().toStdString());
    return stat && !stat->isGone() ? stat : std::nullopt;
}

/// Whether a shell's line editor waits for input: it has switched off the terminal's own editing of lines.
bool hasLineEditor(int shell)
{
    const QByteArray path = QFile::encodeName(u"/proc/%1/fd/0"_s.arg(shell));
    const FileDescriptor terminal(::open(path.constData(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    termios settings {};
    return terminal && tcgetattr(terminal.get(), &settings) == 0 && (settings.c_lflag & ICANON) == 0;
}

/// Shows the window to the user.
bool raise(KonsoleRemote &konsole, const Window &window, Applications &applications)
{
    const auto mainWindow = konsole.mainWindowOf(window);
    return mainWindow && applications.raise(mainWindow->id);
}

/// Types into a session whose program still runs.
TerminalDriver::Failure type(KonsoleRemote &konsole, int session, const QString &text)
{
    const int program = konsole.processID(session);
    if (!konsole.failure() && program == 0)
        return u"the program in the konsole session has ended"_s;
    if (!konsole.failure())
        konsole.sendText(session, text);
    return textOf(konsole.failure());
}

/// Ends the session's program as a terminal's end does; the kernel passes that on to what runs in front of it.
TerminalDriver::Failure endProgram(KonsoleRemote &konsole, int session)
{
    const int program = konsole.processID(session);
    if (konsole.failure())
        return textOf(konsole.failure());
    if (program == 0)
        return std::nullopt;
    const std::int64_t parent = konsole.ownProcessID();
    const auto isRunning = [&] {
        const auto stat = look(program);
        return stat && stat->parent == parent;
    };
    if (program <= 1 || parent <= 1 || !isRunning())
        return u"the program in the konsole session can't be found"_s;
    ::kill(program, SIGHUP);
    if (konsole.waitUntil([&] { return !isRunning(); }, 700ms))
        return std::nullopt;
    ::kill(program, SIGKILL);
    return konsole.waitUntil([&] { return !isRunning(); }, 300ms)
               ? std::nullopt
               : std::optional(u"the program in the konsole session does not end"_s);
}

/// Whether no window shows the session any more. Without an answer nothing is known.
bool isClosed(KonsoleRemote &konsole, int session)
{
    const bool isShown = konsole.windowOf(session).has_value();
    return konsole.failure() ? konsole.failure()->kind == Kind::Gone : !isShown;
}

/// A window that holds this session alone: the one that shows it now, or a new one to which it is moved.
std::optional<MainWindow> windowOfItsOwn(KonsoleRemote &konsole, int session)
{
    const auto window = konsole.windowOf(session);
    auto mainWindow = window ? konsole.mainWindowOf(*window) : std::nullopt;
    if (!mainWindow || window->sessions.size() == 1)
        return mainWindow;
    const std::vector<MainWindow> before = konsole.mainWindows();
    konsole.setCurrentSession(*window, session);
    if (konsole.currentSession(*window) != session)
        return std::nullopt;
    konsole.activateAction(*mainWindow, u"detach-view"_s);
    // The user may have gone to another tab in between, and that one was moved.
    const auto moved = konsole.windowOf(session);
    if (!moved || moved->path == window->path || moved->sessions.size() != 1)
        return std::nullopt;
    for (const MainWindow &candidate : konsole.mainWindows()) {
        if (std::ranges::find(before, candidate) == before.end())
            return candidate;
    }
    return std::nullopt;
}

} // namespace

KonsoleDriver::KonsoleDriver(QString busAddress, Applications &applications, std::chrono::milliseconds patience)
    : m_busAddress(std::move(busAddress))
    , m_applications(applications)
    , m_patience(patience)
{}

QString KonsoleDriver::name() const
{
    return u"konsole"_s;
}

bool KonsoleDriver::handles(const QString &terminalType) const
{
    return terminalType == u"konsole-session";
}

TerminalDriver::Abilities KonsoleDriver::abilities(const TerminalTarget &target) const
{
    if (!KonsoleTarget::parse(target.sessionID))
        return {};
    return { .focus = true, .type = true, .open = true, .close = true };
}

TerminalDriver::Failure KonsoleDriver::focus(const TerminalTarget &target)
{
    const auto parsed = KonsoleTarget::parse(target.sessionID);
    if (!parsed)
        return unusable();
    KonsoleRemote konsole(m_busAddress, parsed->service, m_patience);
    const auto window = konsole.windowOf(parsed->session);
    if (window)
        konsole.setCurrentSession(*window, parsed->session);
    if (konsole.failure())
        return textOf(konsole.failure());
    if (window && raise(konsole, *window, m_applications))
        return std::nullopt;
    // Another program of the desktop that has a konsole in it shows the session, or the window could not be told.
    static_cast<void>(konsole.processID(parsed->session));
    if (konsole.failure())
        return textOf(konsole.failure());
    const auto desktopWindow = m_applications.windowOf(konsole.ownProcessID());
    if (desktopWindow && m_applications.raise(*desktopWindow))
        return std::nullopt;
    return u"konsole's window could not be brought forward"_s;
}

TerminalDriver::Failure KonsoleDriver::typeText(const TerminalTarget &target, const QString &text)
{
    const auto parsed = KonsoleTarget::parse(target.sessionID);
    if (!parsed)
        return unusable();
    KonsoleRemote konsole(m_busAddress, parsed->service, m_patience);
    return type(konsole, parsed->session, text);
}

TerminalDriver::Failure KonsoleDriver::pressReturn(const TerminalTarget &target)
{
    return typeText(target, u"\r"_s);
}

TerminalDriver::Failure KonsoleDriver::close(const TerminalTarget &target)
{
    const auto parsed = KonsoleTarget::parse(target.sessionID);
    if (!parsed)
        return unusable();
    const int session = parsed->session;
    KonsoleRemote konsole(m_busAddress, parsed->service, m_patience);
    if (auto failure = endProgram(konsole, session))
        return failure;
    // A tab whose program ended by itself closes. One whose program was ended by the signal stays, with a note in it,
    // and konsole closes windows on request, but no tabs.
    const auto closed = [&] { return isClosed(konsole, session); };
    konsole.waitUntil([&] { return konsole.processID(session) == 0; }, 500ms);
    if (konsole.waitUntil(closed, 100ms))
        return std::nullopt;
    if (const auto window = windowOfItsOwn(konsole, session))
        konsole.activateAction(*window, u"close-window"_s);
    return konsole.waitUntil(closed, m_patience)
               ? std::nullopt
               : std::optional(u"what ran in the tab has ended, but konsole keeps it"_s);
}

TerminalDriver::Failure KonsoleDriver::open(const TerminalTarget &target, const TerminalCommand &command)
{
    const auto parsed = KonsoleTarget::parse(target.sessionID);
    if (!parsed)
        return unusable();
    if (!QFileInfo(command.directory).isDir())
        return u"there is no folder "_s + command.directory;
    // Typed into a line editor, they would be keys.
    if (std::ranges::any_of(command.commandLine, [](QChar c) { return c.category() == QChar::Other_Control; }))
        return u"konsole can't be given a command with control characters"_s;
    KonsoleRemote konsole(m_busAddress, parsed->service, m_patience);
    // Whether typing is allowed is found out before there is a tab.
    if (auto failure = type(konsole, parsed->session, {}))
        return failure;
    const auto window = konsole.windowOf(parsed->session);
    if (!window)
        return konsole.failure() ? textOf(konsole.failure()) : u"the konsole session has no window"_s;
    const int session = konsole.newSession(*window, command.directory);
    if (session <= 0)
        return konsole.failure() ? textOf(konsole.failure()) : u"konsole opened no tab"_s;
    const int shell = konsole.processID(session);
    // What is typed before the shell reads stays in the terminal's own buffer, which is short, and shows twice.
    konsole.waitUntil([&] { return hasLineEditor(shell); }, m_patience / 2);
    konsole.sendText(session, command.commandLine + u'\r');
    if (konsole.failure())
        return textOf(konsole.failure());
    raise(konsole, *window, m_applications);
    return std::nullopt;
}

std::optional<TerminalTarget> KonsoleDriver::findPlaceToOpen()
{
    KonsoleRemote bus(m_busAddress, {}, m_patience);
    for (const QString &service : bus.konsoles()) {
        KonsoleRemote konsole(m_busAddress, service, m_patience);
        for (const Window &window : konsole.windows()) {
            if (!window.sessions.isEmpty())
                return TerminalTarget { u"konsole-session"_s,
                                        u"%1,/Sessions/%2"_s.arg(service).arg(window.sessions.first()) };
        }
    }
    return std::nullopt;
}

std::optional<TerminalDriver::Problem> KonsoleDriver::examine(const TerminalTarget &target)
{
    const auto parsed = KonsoleTarget::parse(target.sessionID);
    if (!parsed)
        return Problem { *unusable(), u"start the agent again in a new konsole tab"_s };
    KonsoleRemote konsole(m_busAddress, parsed->service, m_patience);
    // Typing nothing tells whether typing is allowed.
    konsole.sendText(parsed->session, {});
    if (!konsole.failure())
        return std::nullopt;
    const QString text = konsole.failure()->text;
    switch (konsole.failure()->kind) {
    case Kind::Refused:
        return Problem { text, u"put the line \"EnableSecuritySensitiveDBusAPI=true\" under [KonsoleWindow] into "
                               "~/.config/konsolerc, then quit konsole and start it again"_s };
    case Kind::NoBus:
        return Problem { text, u"start Vantry in the desktop session, where DBUS_SESSION_BUS_ADDRESS is set"_s };
    case Kind::Unanswered:
        return Problem { text, u"see whether konsole hangs or shows a question"_s };
    case Kind::Gone:
    case Kind::NoObject:
    case Kind::Other:
        break;
    }
    return Problem { text, u"start the agent again in a new konsole tab"_s };
}

} // namespace vantry
