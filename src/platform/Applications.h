#pragma once

#include <QSet>
#include <QString>

#include <cstdint>
#include <optional>

namespace vantry {

/// The desktop's running applications and their windows. Any thread; calls are quick round trips to the window system.
/// Without one, nothing is running.
class Applications
{
public:
    using WindowID = std::uint64_t;

    virtual ~Applications() = default;

    /// The names of running applications that have one: "kitty", "Visual Studio Code".
    [[nodiscard]] virtual QSet<QString> runningNames() const = 0;
    /// Brings an application's window forward, also an iconified one. False when it isn't running; it is never started.
    virtual bool activate(const QString &name) = 0;
    /// The same by bundle identifier: "com.microsoft.VSCode".
    virtual bool activateBundle(const QString &bundleIdentifier) = 0;

    /// Brings one window forward. False when there is no such window.
    virtual bool raise(WindowID window) = 0;
    /// The window of a process, or of the nearest of its parents that has one.
    [[nodiscard]] virtual std::optional<WindowID> windowOf(std::int64_t pid) const = 0;
};

} // namespace vantry
