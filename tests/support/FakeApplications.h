#pragma once

#include "platform/Applications.h"

#include <QHash>
#include <QStringList>

#include <mutex>

namespace vantry::test {

/// Applications and windows that a test makes up. Set the public fields before anything is asked; then any thread may
/// call it.
class FakeApplications final : public Applications
{
public:
    [[nodiscard]] QSet<QString> runningNames() const override { return names; }
    bool activate(const QString &name) override
    {
        note(u"activate " + name);
        return names.contains(name);
    }
    bool activateBundle(const QString &bundleIdentifier) override
    {
        note(u"activateBundle " + bundleIdentifier);
        return bundles.contains(bundleIdentifier);
    }
    bool raise(WindowID window) override
    {
        note(u"raise " + QString::number(window));
        return windows.contains(window);
    }
    /// That of the process itself; it has no parents here.
    [[nodiscard]] std::optional<WindowID> windowOf(std::int64_t pid) const override
    {
        const auto found = windowsOfProcesses.constFind(pid);
        return found == windowsOfProcesses.cend() ? std::nullopt : std::optional(*found);
    }

    /// "activate NAME", "activateBundle IDENTIFIER", "raise WINDOW".
    [[nodiscard]] QStringList calls() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_calls;
    }

    QSet<QString> names;
    QSet<QString> bundles;
    QSet<WindowID> windows;
    QHash<std::int64_t, WindowID> windowsOfProcesses;

private:
    void note(const QString &call)
    {
        const std::scoped_lock lock(m_mutex);
        m_calls.append(call);
    }

    mutable std::mutex m_mutex;
    QStringList m_calls;
};

} // namespace vantry::test
