#include "terminal/AgentLauncher.h"

#include "base/DebugLog.h"
#include "platform/Applications.h"
#include "terminal/ScriptRunner.h"
#include "terminal/SessionTarget.h"
#include "terminal/TerminalLanes.h"
#include "terminal/TerminalScripts.h"

#include <QFileInfo>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace vantry {

struct AgentLauncher::Request
{
    QString projectPath;
    TerminalBridge::LaunchMode mode;
    AgentPermissionMode permissionMode;
    std::optional<QString> prompt;
    TerminalCompletion completion;
    AgentOptions options {};

    [[nodiscard]] QString commandLine() const
    {
        return agentCommandLine(projectPath, mode, permissionMode, prompt, options);
    }
};

AgentLauncher::AgentLauncher(const TerminalBridge::Ports &ports, TerminalLanes &lanes, ScriptRunner &scripts,
                             TerminalCompletions &completions)
    : m_ports(ports)
    , m_lanes(lanes)
    , m_scripts(scripts)
    , m_completions(completions)
    , m_knownOptions(std::make_shared<std::optional<AgentOptions>>())
{}

void AgentLauncher::launch(const QString &projectPath, const TerminalBridge::LaunchMode &mode,
                           const AgentLaunchFlags &flags, const std::optional<QString> &prompt,
                           TerminalCompletion completion)
{
    Request request { projectPath, mode, flags.permissionMode, prompt, std::move(completion) };
    const bool asksAgent = dependsOnOptions(request.permissionMode) && m_ports.agentHelp;
    const bool asksDisk = !m_ports.drivers.empty();
    if (!asksAgent && !asksDisk)
        return openByScript(request);

    // The agent takes a second to answer, and a disk may hang.
    const auto options = std::make_shared<AgentOptions>();
    const auto prepare = [projectPath, asksAgent, asksDisk, options, known = m_knownOptions,
                          help = m_ports.agentHelp]() -> TerminalDriver::Failure {
        if (asksDisk && !QFileInfo(projectPath).isDir())
            return u"there is no folder %1"_s.arg(projectPath);
        if (asksAgent && !*known)
            *known = AgentOptions::fromHelp(help());
        *options = known->value_or(AgentOptions {});
        return std::nullopt;
    };
    m_lanes.run(u"launch"_s, { { .call = prepare } },
                [this, request = std::move(request), options](const auto &failure) mutable {
                    request.options = *options;
                    if (!failure)
                        return openInFirst(request, places());
                    log(u"claude not launched: "_s + *failure);
                    if (request.completion)
                        request.completion(failure);
                });
}

AgentLauncher::Places AgentLauncher::places() const
{
    const QList<SessionPtr> sessions = m_ports.liveSessions ? m_ports.liveSessions() : QList<SessionPtr>();
    Places places;
    for (TerminalDriver *driver : m_ports.drivers) {
        SessionPtr newest;
        for (const SessionPtr &session : sessions) {
            const TerminalTarget target = targetOf(*session);
            if (session->isAlive() && driver->handles(target.type) && driver->abilities(target).open &&
                (!newest || newest->startedAt() < session->startedAt()))
                newest = session;
        }
        if (newest)
            places.push_back({ driver, targetOf(*newest) });
        places.push_back({ driver });
    }
    return places;
}

void AgentLauncher::openInFirst(const Request &request, Places places)
{
    if (places.empty())
        return openByScript(request);
    if (!places.front().target)
        return findAndOpen(request, std::move(places));

    const Place place = places.front();
    places.pop_front();
    logLaunch(request, place.driver->name());
    const auto open = [driver = place.driver, target = *place.target,
                       command = TerminalCommand { request.projectPath, request.commandLine() }] {
        return driver->open(target, command);
    };
    m_lanes.run(TerminalLanes::laneOf(*place.target), { { .call = open } },
                [this, request, places = std::move(places), name = place.driver->name()](const auto &failure) {
                    if (failure) {
                        log(u"failed to open "_s + name + u": "_s + *failure);
                        return openInFirst(request, places);
                    }
                    if (request.completion)
                        request.completion(failure);
                });
}

void AgentLauncher::findAndOpen(const Request &request, Places places)
{
    TerminalDriver *driver = places.front().driver;
    places.pop_front();
    const auto found = std::make_shared<std::optional<TerminalTarget>>();
    const auto find = [driver, found]() -> TerminalDriver::Failure {
        *found = driver->findPlaceToOpen();
        return std::nullopt;
    };
    m_lanes.run(u"find "_s + driver->name(), { { .call = find } },
                [this, request, places = std::move(places), driver, found](const auto &failure) mutable {
                    if (failure)
                        log(u"failed to find a place in "_s + driver->name() + u": "_s + *failure);
                    if (*found)
                        places.push_front({ driver, *found });
                    openInFirst(request, std::move(places));
                });
}

void AgentLauncher::openByScript(const Request &request)
{
    const QString name = preferredTerminal();
    logLaunch(request, name);
    if (name == u"iTerm2")
        m_scripts.runAppleScript(TerminalScripts::openITermTab(request.commandLine()), request.completion);
    else if (name == u"Terminal")
        m_scripts.runAppleScript(TerminalScripts::openTerminalWindow(request.commandLine()), request.completion);
    else {
        log(u"launchClaude not supported for '"_s + name + u"' — no native scripting API available"_s);
        m_completions.post(request.completion, u"no terminal was found that an agent can be started in"_s);
    }
}

QString AgentLauncher::preferredTerminal() const
{
    static constexpr std::array<QStringView, 5> inOrder { u"iTerm2", u"Ghostty", u"kitty", u"Warp", u"Alacritty" };
    const QSet<QString> running = m_ports.applications.runningNames();
    const auto *const found =
        std::ranges::find_if(inOrder, [&](QStringView name) { return running.contains(name.toString()); });
    return found == inOrder.end() ? u"Terminal"_s : found->toString();
}

void AgentLauncher::log(const QString &message) const
{
    m_ports.log.write(u"TerminalBridge: "_s + message);
}

void AgentLauncher::logLaunch(const Request &request, const QString &terminal) const
{
    log(u"launching claude in "_s + request.projectPath + u" via "_s + terminal);
}

} // namespace vantry
