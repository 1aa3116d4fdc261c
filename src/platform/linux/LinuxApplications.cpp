#include "platform/linux/LinuxApplications.h"

#include "platform/ProcessTable.h"
#include "platform/linux/ApplicationTable.h"
#include "platform/linux/X11Windows.h"

#include <limits>

namespace vantry {
namespace {

/// The topmost that fits and isn't iconified; else the topmost that fits.
template <typename Predicate>
const X11Windows::Client *topmost(const QList<X11Windows::Client> &clients, Predicate fits)
{
    const X11Windows::Client *hidden = nullptr;
    for (auto client = clients.crbegin(); client != clients.crend(); ++client) {
        if (client->isDesktopPart || !fits(*client))
            continue;
        if (!client->isHidden)
            return &*client;
        if (!hidden)
            hidden = &*client;
    }
    return hidden;
}

} // namespace

LinuxApplications::LinuxApplications(const ProcessTable &processes)
    : m_processes(processes)
{}

bool LinuxApplications::activateClass(const QStringList &classes)
{
    const auto connection = X11Connection::open();
    if (!connection)
        return false;
    const X11Windows windows(*connection);
    const auto clients = windows.clients();
    const auto *client = topmost(clients, [&](const X11Windows::Client &candidate) {
        return !candidate.windowClass.isEmpty() && classes.contains(candidate.windowClass.toLower());
    });
    return client && windows.bringForward(client->window, m_userTime.exchange(0));
}

QSet<QString> LinuxApplications::runningNames() const
{
    const auto connection = X11Connection::open();
    if (!connection)
        return {};
    QSet<QString> names;
    const auto clients = X11Windows(*connection).clients();
    for (const X11Windows::Client &client : clients) {
        if (!client.windowClass.isEmpty())
            names.insert(applicationNameOf(client.windowClass));
    }
    return names;
}

bool LinuxApplications::activate(const QString &name)
{
    return activateClass(windowClassesOf(name));
}

bool LinuxApplications::activateBundle(const QString &bundleIdentifier)
{
    return activateClass(windowClassesOfBundle(bundleIdentifier));
}

bool LinuxApplications::raise(WindowID window)
{
    if (window > std::numeric_limits<xcb_window_t>::max())
        return false;
    const auto connection = X11Connection::open();
    if (!connection)
        return false;
    const X11Windows windows(*connection);
    const auto client = windows.clientAround(static_cast<xcb_window_t>(window));
    return client && windows.bringForward(*client, m_userTime.exchange(0));
}

std::uint32_t LinuxApplications::userTimeOf(const QString &token)
{
    static constexpr QLatin1StringView mark("_TIME");
    const qsizetype found = token.lastIndexOf(mark);
    return found < 0 ? 0 : QStringView(token).sliced(found + mark.size()).toUInt();
}

std::optional<Applications::WindowID> LinuxApplications::windowOf(std::int64_t pid) const
{
    const auto connection = X11Connection::open();
    if (!connection)
        return std::nullopt;
    const auto clients = X11Windows(*connection).clients();
    // No process has more parents than this; one that dies meanwhile could lead in a circle.
    constexpr int mostParents = 64;
    std::optional<std::int64_t> process = pid;
    for (int step = 0; step < mostParents && process && *process > 1; ++step) {
        const auto *client = topmost(clients, [&](const auto &candidate) { return candidate.pid == process; });
        if (client)
            return client->window;
        process = m_processes.parent(*process);
    }
    return std::nullopt;
}

} // namespace vantry
