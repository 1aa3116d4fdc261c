#include "panels/SessionLaunch.h"

#include "base/Text.h"

#include <QDir>
#include <QUuid>

#include <chrono>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds pollInterval = 500ms;
constexpr int mostPolls = 60;

SessionPtr makePlaceholder(const QString &path, Date now)
{
    VantrySession::Init init;
    init.id = u"pending-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces);
    init.state = SessionState::launching;
    init.projectName = lastPathComponent(path);
    init.cwd = path;
    init.lastUpdated = now;
    init.startedAt = now;
    return std::make_shared<VantrySession>(std::move(init));
}

} // namespace

SessionLaunch::SessionLaunch(Services services, const QString &path, TerminalBridge::LaunchMode mode, Outcome outcome)
    : m_services(services)
    , m_path(QDir::cleanPath(path))
    , m_mode(std::move(mode))
    , m_outcome(std::move(outcome))
    , m_startedAt(services.clock.monotonicNow())
    , m_placeholder(makePlaceholder(path, services.clock.now()))
{
    for (const SessionPtr &session : services.sessionManager.sessions()) {
        if (session->isAlive())
            m_known.insert(session->id());
    }
}

void SessionLaunch::startPolling()
{
    m_timer = m_services.scheduler.every(pollInterval, [this] { poll(); });
    poll();
}

void SessionLaunch::poll()
{
    const SessionPtr session = launchedSession();
    const bool isLast = m_services.clock.monotonicNow() - m_startedAt >= mostPolls * pollInterval;
    if (!session && !isLast)
        return;
    m_timer.cancel();
    // A copy: what is called may destroy this.
    const Outcome outcome = m_outcome;
    if (session)
        outcome.found(session);
    else
        outcome.givenUp();
}

SessionPtr SessionLaunch::launchedSession() const
{
    const auto *resume = std::get_if<TerminalBridge::Resume>(&m_mode);
    for (const SessionPtr &session : m_services.sessionManager.sessions()) {
        if (!session->isAlive())
            continue;
        // A resumed session keeps its identifier, wherever it goes on.
        const bool isLaunched =
            resume ? session->id() == resume->sessionID
                   : !m_known.contains(session->id()) && session->cwd() && QDir::cleanPath(*session->cwd()) == m_path;
        if (isLaunched)
            return session;
    }
    return nullptr;
}

} // namespace vantry
