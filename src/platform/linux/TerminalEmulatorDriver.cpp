#include "platform/linux/TerminalEmulatorDriver.h"

#include "base/Subprocess.h"
#include "platform/linux/LoginShell.h"

#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <array>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

const auto onlyOpens = u"a terminal emulator can only be opened"_s;

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

/// What a terminal emulator wants between its own options and the program that it is to run. Most of them take after
/// xterm, as does whatever stands behind x-terminal-emulator.
QStringList introductionFor(const QString &executable)
{
    struct Habit
    {
        QString program;
        QStringList introduction;
    };
    static const std::array<Habit, 12> habits { {
        { u"xdg-terminal-exec"_s, {} },
        { u"kitty"_s, {} },
        { u"foot"_s, {} },
        { u"footclient"_s, {} },
        { u"gnome-terminal"_s, { u"--"_s } },
        { u"ptyxis"_s, { u"--"_s } },
        { u"kgx"_s, { u"--"_s } },
        { u"wezterm"_s, { u"start"_s, u"--"_s } },
        { u"xfce4-terminal"_s, { u"-x"_s } },
        { u"mate-terminal"_s, { u"-x"_s } },
        { u"terminator"_s, { u"-x"_s } },
        { u"deepin-terminal"_s, { u"-x"_s } },
    } };
    // x-terminal-emulator, or a name of the user's own, is a link to it.
    const QString program = QFileInfo(QFileInfo(executable).canonicalFilePath()).fileName();
    const auto known = std::ranges::find(habits, program, &Habit::program);
    return known == habits.end() ? QStringList { u"-e"_s } : known->introduction;
}

/// What the terminal that this program was started from has told its own shell: in another one it would mislead.
QStringList variablesOfAnotherTerminal()
{
    return { u"KITTY_LISTEN_ON"_s,  u"KITTY_WINDOW_ID"_s,  u"KITTY_PID"_s,     u"KITTY_PUBLIC_KEY"_s,
             u"KONSOLE_*"_s,        u"SHELL_SESSION_ID"_s, u"TERM_PROGRAM*"_s, u"VSCODE_*"_s,
             u"CURSOR_*"_s,         u"WINDSURF_*"_s,       u"ITERM_*"_s,       u"GHOSTTY_*"_s,
             u"ALACRITTY_*"_s,      u"WARP_*"_s,           u"WEZTERM_PANE"_s,  u"WEZTERM_UNIX_SOCKET"_s,
             u"GNOME_TERMINAL_*"_s, u"VTE_VERSION"_s,      u"XTERM_*"_s,       u"WINDOWID"_s };
}

} // namespace

std::optional<TerminalEmulator> TerminalEmulator::find(const QString &command)
{
    const auto make = [](const QString &program, const QStringList &options) -> std::optional<TerminalEmulator> {
        // A relative path would be another program in another folder.
        if (program.isEmpty() || (program.contains(u'/') && !program.startsWith(u'/')))
            return std::nullopt;
        const QString path = QStandardPaths::findExecutable(program);
        if (path.isEmpty())
            return std::nullopt;
        return TerminalEmulator { path, options + introductionFor(path) };
    };
    // A path may hold blanks itself.
    if (auto whole = make(command.trimmed(), {}))
        return whole;
    const QStringList words = command.simplified().split(u' ');
    return make(words.first(), words.mid(1));
}

TerminalEmulatorDriver::TerminalEmulatorDriver(std::chrono::milliseconds patience)
    : m_patience(patience)
{}

QString TerminalEmulatorDriver::name() const
{
    return u"terminal emulator"_s;
}

bool TerminalEmulatorDriver::handles(const QString & /*terminalType*/) const
{
    return false;
}

TerminalDriver::Abilities TerminalEmulatorDriver::abilities(const TerminalTarget & /*target*/) const
{
    return {};
}

TerminalDriver::Failure TerminalEmulatorDriver::focus(const TerminalTarget & /*target*/)
{
    return onlyOpens;
}

TerminalDriver::Failure TerminalEmulatorDriver::typeText(const TerminalTarget & /*target*/, const QString & /*text*/)
{
    return onlyOpens;
}

TerminalDriver::Failure TerminalEmulatorDriver::pressReturn(const TerminalTarget & /*target*/)
{
    return onlyOpens;
}

TerminalDriver::Failure TerminalEmulatorDriver::close(const TerminalTarget & /*target*/)
{
    return onlyOpens;
}

TerminalDriver::Failure TerminalEmulatorDriver::open(const TerminalTarget &target, const TerminalCommand &command)
{
    const auto emulator = TerminalEmulator::find(target.sessionID);
    if (!emulator)
        return u"there is no terminal emulator \"%1\""_s.arg(target.sessionID);
    if (!QFileInfo(command.directory).isDir())
        return u"there is no folder %1"_s.arg(command.directory);

    Subprocess window;
    window.executable = emulator->executable;
    window.arguments = emulator->arguments + loginShellArguments(command.commandLine);
    window.workingDirectory = command.directory;
    window.removedVariables = variablesNotForShells() + variablesOfAnotherTerminal();
    // A shell believes it more than the folder that it starts in.
    window.addedVariables = { { u"PWD"_s, command.directory } };
    window.timeout = m_patience;
    const Subprocess::Launch launch = window.startDetached();
    if (!launch.started)
        return u"%1 can't be started"_s.arg(emulator->executable);
    if (launch.exitStatus.value_or(0) > 0)
        return u"%1 ended at once with status %2"_s.arg(emulator->executable).arg(*launch.exitStatus);
    if (launch.exitStatus.value_or(0) < 0)
        return u"%1 was ended at once by a signal"_s.arg(emulator->executable);
    return std::nullopt;
}

std::optional<TerminalTarget> TerminalEmulatorDriver::findPlaceToOpen()
{
    if (!hasDisplay())
        return std::nullopt;
    for (const QString &command :
         { qEnvironmentVariable("TERMINAL"), u"xdg-terminal-exec"_s, u"x-terminal-emulator"_s }) {
        if (TerminalEmulator::find(command))
            return TerminalTarget { u"terminal-emulator"_s, command, {} };
    }
    return std::nullopt;
}

std::optional<TerminalDriver::Problem> TerminalEmulatorDriver::examine(const TerminalTarget & /*target*/)
{
    return std::nullopt;
}

} // namespace vantry
