#include "app/CommandLine.h"
#include "app/HelpText.h"
#include "app/Launch.h"
#include "app/Platform.h"
#include "app/SignalHandler.h"
#include "app/ToolSearch.h"
#include "app/control/Console.h"
#include "app/control/DoctorChecks.h"
#include "app/control/HistoryCommands.h"
#include "app/control/HookCommands.h"
#include "app/control/SessionCommands.h"
#include "app/control/TranscriptCommands.h"
#include "app/control/WatchCommand.h"
#include "hooks/HTTPHookServer.h"

#include <QCoreApplication>

#include <chrono>
#include <csignal>
#include <cstdlib>

using namespace vantry;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Runs one command and gives its exit code. Each call needs the application object but help and version, which have
/// been dealt with before there is one.
class Runner
{
public:
    explicit Runner(StandardConsole &console)
        : m_console(console)
    {}

    int operator()(const command::Help &) { return print(helpText()); }
    int operator()(const command::Version &) { return print(u"vantry " VANTRY_VERSION "\n"_s); }
    int operator()(const command::Start &start)
    {
        return start.sessions == command::Start::Sessions::Invented ? runDemo(m_console) : runApplication(m_console);
    }
    int operator()(const command::Status &status) { return runStatus(status, *client(), m_console, port); }
    int operator()(const command::Watch &watch)
    {
        const auto running = client();
        WatchCommand command(watch, *running, m_console, m_clock, [](int code) { QCoreApplication::exit(code); });
        const SignalHandler endingSignals([] { QCoreApplication::quit(); });
        const auto code = command.start(port);
        return code ? *code : QCoreApplication::exec();
    }
    int operator()(const command::Allow &allow) { return runAllow(allow, *client(), m_console); }
    int operator()(const command::Deny &deny) { return runDeny(deny, *client(), m_console); }
    int operator()(const command::AlwaysAllow &allow) { return runAlwaysAllow(allow, *client(), m_console); }
    int operator()(const command::Answer &answer) { return runAnswer(answer, *client(), m_console); }
    int operator()(const command::Send &send) { return runSend(send, *client(), m_console); }
    int operator()(const command::Focus &focus) { return runFocus(focus, *client(), m_console); }
    int operator()(const command::Launch &launch) { return runLaunch(launch, *client(), m_paths, m_console, m_clock); }
    int operator()(const command::Kill &kill) { return runKill(kill, *client(), m_console); }
    int operator()(const command::Search &search) { return runSearch(search, m_paths, m_console, m_clock); }
    int operator()(const command::Recent &recent) { return runRecent(recent, m_paths, m_console, m_clock); }
    int operator()(const command::Projects &projects) { return runProjects(projects, m_paths, m_console, m_clock); }
    int operator()(const command::Messages &messages)
    {
        return runMessages(messages, m_paths, *client(), m_console, m_clock);
    }
    int operator()(const command::HookInstall &install)
    {
        return runHookInstall(install, HookInstaller(m_paths.home), port, m_console);
    }
    int operator()(const command::HookStatus &status)
    {
        return runHookStatus(status, HookInstaller(m_paths.home), m_console);
    }
    int operator()(const command::Doctor &doctor)
    {
        const auto running = platform::makeControlClient(4s);
        const auto peers = platform::makePeerIdentity();
        const auto ports = platform::makeListeningPorts();
        const auto sounds = platform::makeSoundPlayer();
        QtMainQueue mainQueue;
        const auto processes = platform::makeProcessTable();
        const platform::Terminals terminals = platform::makeTerminals(*processes, mainQueue);
        ToolSearch search = ToolSearch::forUser(m_paths.home);
        search.patience = 2s;
        const DoctorChecks checks(
            { .paths = m_paths,
              .client = *running,
              .peers = *peers,
              .ports = *ports,
              .port = port,
              .findTool = [search](const QString &name) { return search.find(name); },
              .terminals = terminals.driverList(),
              .desktop = { .hasDisplay = platform::hasDisplay(),
                           .canPlaceWindows = platform::canPlaceWindows,
                           .hasTray = platform::hasTray,
                           .notificationServer = platform::findNotificationServer,
                           .soundProblem = [&sounds] { return sounds->problem(); },
                           .microphoneProblem = [this] { return platform::microphoneProblem(m_clock); },
                           .speechProblem = platform::speechProblem,
                           .secretStoreProblem = platform::secretStoreProblem } });
        const DoctorReport report = inspectAll(checks.inspections(), 8s);
        const int code = printDoctor(doctor, report.checks, m_console);
        // A look that hangs can't be ended, and what it looks with must not end before it.
        if (!report.isFinished)
            std::_Exit(code);
        return code;
    }
    int operator()(const command::Show &) { return runShow(*client(), m_console); }
    int operator()(const command::Settings &) { return runSettings(*client(), m_console); }
    int operator()(const command::Quit &)
    {
        QtScheduler scheduler;
        return runQuit(*client(), m_console, scheduler);
    }

private:
    static constexpr std::uint16_t port = HTTPHookServer::defaultPort;

    static std::unique_ptr<ControlClient> client() { return platform::makeControlClient(); }

    int print(const QString &text)
    {
        m_console.print(text.toStdString());
        return exitCode::done;
    }

    StandardConsole &m_console;
    const Paths m_paths = Paths::fromEnvironment();
    const SystemClock m_clock;
};

QStringList argumentsOf(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

std::unique_ptr<QCoreApplication> makeApplicationFor(const Command &command, int &argc, char **argv, Console &console)
{
    if (std::holds_alternative<command::Help>(command) || std::holds_alternative<command::Version>(command))
        return nullptr;
    if (const auto *start = std::get_if<command::Start>(&command))
        return makeApplication(argc, argv, *start, console);
    return std::make_unique<QCoreApplication>(argc, argv);
}

} // namespace

int main(int argc, char **argv)
{
    // A reader that has gone is an error of the write, not the end of the process. A handler, unlike SIG_IGN, is not
    // handed on to what is started from here.
    std::signal(SIGPIPE, [](int) {});

    StandardConsole console;
    const auto parsed = parseCommandLine(argumentsOf(argc, argv));
    if (const auto *error = std::get_if<UsageError>(&parsed)) {
        console.printError(u"%1; see \"vantry --help\""_s.arg(error->message).toStdString());
        return exitCode::usage;
    }
    const auto &command = std::get<Command>(parsed);
    const auto application = makeApplicationFor(command, argc, argv, console);
    const int code = std::visit(Runner(console), command);
    return console.hasFailed() ? exitCode::refused : code;
}
