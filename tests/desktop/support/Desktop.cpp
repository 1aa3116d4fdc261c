#include "desktop/support/Desktop.h"

#include <QDir>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace vantry::test {

using namespace Qt::StringLiterals;

namespace {

/// What the terminal around the tests, or the developer's desktop, would tell the programs of this one.
bool isOfAnotherDesktop(const QString &variable)
{
    static const QRegularExpression names(
        u"^(DISPLAY|XAUTHORITY|WINDOWID|WAYLAND_DISPLAY|DBUS_.*|XDG_.*|QT_.*|TMUX.*|KITTY_.*|KONSOLE_.*|ALACRITTY_.*|"
        "GHOSTTY_.*|TERM_PROGRAM.*|TERMINAL|SESSION_MANAGER|ENV|BASH_ENV)$"_s);
    return names.match(variable).hasMatch();
}

QProcessEnvironment cleanEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QStringList variables = environment.keys();
    for (const QString &variable : variables) {
        if (isOfAnotherDesktop(variable))
            environment.remove(variable);
    }
    environment.insert(u"LANG"_s, u"C.UTF-8"_s);
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    environment.insert(u"TERM"_s, u"xterm-256color"_s);
    environment.insert(u"SHELL"_s, u"/bin/bash"_s);
    environment.insert(u"LIBGL_ALWAYS_SOFTWARE"_s, u"1"_s);
    environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
    // The library that reads the X server's keyboard copies strings by their length, from memory that ends with them.
    environment.insert(u"ASAN_OPTIONS"_s, environment.value(u"ASAN_OPTIONS"_s) + u":strict_string_checks=0"_s);
    return environment;
}

} // namespace

Desktop::Desktop(Options options)
    : m_environment(cleanEnvironment())
{
    // Where programs keep their files.
    const std::initializer_list<std::pair<QString, QString>> folders { { u"HOME"_s, u"home"_s },
                                                                       { u"XDG_CONFIG_HOME"_s, u"home/.config"_s },
                                                                       { u"XDG_DATA_HOME"_s, u"home/.local/share"_s },
                                                                       { u"XDG_STATE_HOME"_s, u"home/.local/state"_s },
                                                                       { u"XDG_CACHE_HOME"_s, u"home/.cache"_s },
                                                                       { u"XDG_RUNTIME_DIR"_s, u"run"_s } };
    for (const auto &[variable, folder] : folders) {
        EXPECT_TRUE(QDir().mkpath(path(folder)));
        m_environment.insert(variable, path(folder));
    }
    QFile::setPermissions(path(u"run"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    if (!options.firstStart)
        skipSetUp();

    // The services that the bus starts find the display only when the server is there first.
    startServer();
    if (options.bus)
        startBus();
    if (options.windowManager)
        startWindowManager();
    setEnvironment();
}

Desktop::~Desktop()
{
    m_programs.clear();
    m_windowManager.reset();
    m_bus.reset();
    endServer();
    // What others have started ends a moment later, and may still write into the home folder.
    EXPECT_TRUE(eventually([this] { return QDir(m_folder.path()).removeRecursively(); }));
    for (const auto &[variable, value] : m_formerEnvironment.asKeyValueRange()) {
        if (value)
            qputenv(variable.constData(), *value);
        else
            qunsetenv(variable.constData());
    }
}

void Desktop::skipSetUp()
{
    const QString folder = path(u"home/.config/Vantry"_s);
    QFile settings(folder + u"/settings.json"_s);
    EXPECT_TRUE(QDir().mkpath(folder) && settings.open(QFile::WriteOnly));
    settings.write("{\"hasCompletedOnboarding\":true}");
}

void Desktop::startServer()
{
    // A display that no other test takes over when this server ends in the midst of a test, as the first free one
    // would be.
    const auto number = QString::number(1'000 + ::getpid() % 50'000);
    m_display = u':' + number;
    m_server =
        std::make_unique<ChildProcess>(u"Xvfb"_s,
                                       QStringList { m_display, u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s,
                                                     u"1920x1080x24"_s, u"-noreset"_s, u"-nolisten"_s, u"tcp"_s },
                                       m_environment);
    m_server->setStandardErrorFile(QProcess::nullDevice());
    m_server->begin();
    EXPECT_EQ(QString::fromStdString(m_server->nextLine()), number) << "Xvfb did not start";
    m_environment.insert(u"DISPLAY"_s, m_display);
}

void Desktop::endServer()
{
    // It takes its files away, unless a test has killed it.
    m_server->sendSignal(SIGCONT);
    m_server->sendSignal(SIGTERM);
    m_server->waitForFinished();
    m_server.reset();
    QFile::remove(u"/tmp/.X11-unix/X"_s + m_display.sliced(1));
    QFile::remove(u"/tmp/.X%1-lock"_s.arg(m_display.sliced(1)));
}

void Desktop::startBus()
{
    m_bus = std::make_unique<ChildProcess>(
        u"dbus-daemon"_s, QStringList { u"--session"_s, u"--nofork"_s, u"--print-address"_s }, m_environment);
    m_bus->setStandardErrorFile(QProcess::nullDevice());
    m_bus->begin();
    m_busAddress = QString::fromStdString(m_bus->nextLine());
    EXPECT_FALSE(m_busAddress.isEmpty()) << "dbus-daemon did not start";
    m_environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, m_busAddress);
}

void Desktop::startWindowManager()
{
    // Its properties are there before it is ready: a window that comes in between doesn't get the focus.
    const QString ready = path(u"window-manager-is-ready"_s);
    m_windowManager = std::make_unique<ChildProcess>(
        u"openbox"_s, QStringList { u"--sm-disable"_s, u"--startup"_s, u"touch "_s + ready }, m_environment);
    m_windowManager->setStandardOutputFile(QProcess::nullDevice());
    m_windowManager->setStandardErrorFile(QProcess::nullDevice());
    m_windowManager->begin();
    EXPECT_TRUE(eventually([&] { return QFile::exists(ready); })) << "openbox did not start";
}

void Desktop::setEnvironment()
{
    const QStringList before = QProcessEnvironment::systemEnvironment().keys();
    for (const QString &variable : before + m_environment.keys()) {
        const QByteArray name = variable.toLocal8Bit();
        m_formerEnvironment.insert(name, qEnvironmentVariableIsSet(name.constData())
                                             ? std::optional(qgetenv(name.constData()))
                                             : std::nullopt);
    }
    for (const auto &[variable, value] : m_formerEnvironment.asKeyValueRange()) {
        const QString name = QString::fromLocal8Bit(variable);
        if (m_environment.contains(name))
            qputenv(variable.constData(), m_environment.value(name).toLocal8Bit());
        else
            qunsetenv(variable.constData());
    }
}

ChildProcess &Desktop::start(const QString &program, const QStringList &arguments)
{
    return start(program, arguments, m_environment);
}

ChildProcess &Desktop::start(const QString &program, const QStringList &arguments,
                             const QProcessEnvironment &environment)
{
    auto &process = m_programs.emplace_back(std::make_unique<ChildProcess>(program, arguments, environment));
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->setWorkingDirectory(path(u"home"_s));
    process->begin();
    EXPECT_NE(process->state(), QProcess::NotRunning) << program.toStdString() << " did not start";
    return *process;
}

QString Desktop::outputOf(const QString &program, const QStringList &arguments) const
{
    ChildProcess process(program, arguments, m_environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.begin();
    const CommandResult result = process.finish();
    return result.exitCode == 0 ? QString::fromStdString(result.out).trimmed() : QString();
}

quint64 Desktop::activeWindow() const
{
    const QString text = outputOf(u"xprop"_s, { u"-root"_s, u"_NET_ACTIVE_WINDOW"_s });
    return text.section(u'#', 1).trimmed().toULongLong(nullptr, 0);
}

QList<quint64> Desktop::windowsOfClass(const QString &windowClass) const
{
    const QString pattern = u'^' + QRegularExpression::escape(windowClass) + u'$';
    const QStringList lines =
        outputOf(u"xdotool"_s, { u"search"_s, u"--class"_s, pattern }).split(u'\n', Qt::SkipEmptyParts);
    QList<quint64> windows;
    for (const QString &line : lines) {
        // The search takes the first word of WM_CLASS, too.
        if (outputOf(u"xprop"_s, { u"-id"_s, line, u"WM_CLASS"_s }).endsWith(u'"' + windowClass + u'"'))
            windows.append(line.toULongLong());
    }
    return windows;
}

quint64 Desktop::waitForWindow(const QString &windowClass) const
{
    quint64 window = 0;
    const bool isThere = eventually(
        [&] {
            const QList<quint64> windows = windowsOfClass(windowClass);
            const auto shown = std::ranges::find_if(windows, [this](quint64 candidate) { return isShown(candidate); });
            window = shown == windows.end() ? 0 : *shown;
            return window != 0;
        },
        std::chrono::seconds(60));
    EXPECT_TRUE(isThere) << "no window of the class " << windowClass.toStdString();
    return window;
}

bool Desktop::isShown(quint64 window) const
{
    return outputOf(u"xwininfo"_s, { u"-id"_s, QString::number(window) }).contains(u"IsViewable"_s);
}

bool Desktop::waitUntilActive(quint64 window) const
{
    return eventually([&] { return activeWindow() == window; });
}

} // namespace vantry::test
