#pragma once

#include "platform/Applications.h"

#include <QStringList>

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

private:
    const ProcessTable &m_processes;
};

} // namespace vantry
