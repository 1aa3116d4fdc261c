#pragma once

#include "platform/Applications.h"

#include <QStringList>

#include <atomic>
#include <cstdint>

namespace vantry {

class ProcessTable;

/// The windows of an X server, the one that Wayland desktops run beside included. Where several windows fit, it is the
/// topmost that isn't iconified, as the one used last. Each call makes a connection of its own, which lives two seconds
/// at most, so there is no state, and a server that hangs or has gone is as none.
class LinuxApplications final : public Applications
{
public:
    /// The processes outlive this object.
    explicit LinuxApplications(const ProcessTable &processes);

    [[nodiscard]] QSet<QString> runningNames() const override;
    bool activate(const QString &name) override;
    bool activateBundle(const QString &bundleIdentifier) override;
    bool raise(WindowID window) override;
    [[nodiscard]] std::optional<WindowID> windowOf(std::int64_t pid) const override;

    /// Takes the desktop's leave to bring a window forward, as it comes with a click on a notification: the window
    /// manager is told the time of that click with the next window that is raised, and only with that one, since an old
    /// time is a reason to refuse. Any thread.
    void useActivationToken(const QString &token) { m_userTime = userTimeOf(token); }
    /// The X server's time in a startup notification's identifier ("…_TIME4711"); 0 when there is none.
    [[nodiscard]] static std::uint32_t userTimeOf(const QString &token);

private:
    bool activateClass(const QStringList &classes);

    const ProcessTable &m_processes;
    std::atomic<std::uint32_t> m_userTime { 0 };
};

} // namespace vantry
