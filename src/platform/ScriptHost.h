#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace vantry {

/// A script for the desktop's scripting system: its exact source, and what it asks for, so that a desktop without such
/// a system can carry that out by other means.
struct AppleScript
{
    QString source;
    QString activates {}; ///< The application that it brings forward, when it does nothing else; else empty.
    friend bool operator==(const AppleScript &, const AppleScript &) = default;
};

/// Runs scripts, and the fixed tools of some terminals. Main thread only; nothing here blocks it, and there is no order
/// among what was asked for.
class ScriptHost
{
public:
    struct Outcome
    {
        std::optional<QString> launchError {}; ///< It could not be started, and why.
        std::optional<QString> unsupported {}; ///< This desktop can't do it, and why.
        int exitStatus { 0 };
        friend bool operator==(const Outcome &, const Outcome &) = default;
    };
    using Done = std::function<void(const Outcome &)>;

    virtual ~ScriptHost() = default;

    /// Runs it and then calls `done` on the main thread. What it prints is dropped.
    virtual void run(const AppleScript &script, Done done) = 0;
    /// The same for a program at an absolute path.
    virtual void runTool(const QString &executable, const QStringList &arguments, Done done) = 0;
};

} // namespace vantry
