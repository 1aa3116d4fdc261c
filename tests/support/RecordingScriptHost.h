#pragma once

#include "platform/ScriptHost.h"

#include <QList>
#include <QStringList>

#include <utility>

namespace vantry::test {

/// Keeps the scripts and tools that it was to run. Each ends at once with `outcome`, or, while `isHeld`, when a test
/// lets it.
class RecordingScriptHost final : public ScriptHost
{
public:
    void run(const AppleScript &script, Done done) override
    {
        scripts.append(script);
        end(std::move(done));
    }
    /// Kept as one list with the program in front.
    void runTool(const QString &executable, const QStringList &arguments, Done done) override
    {
        tools.append(QStringList { executable } + arguments);
        end(std::move(done));
    }

    /// Ends what was held.
    void release()
    {
        for (const Done &done : std::exchange(m_held, {}))
            done(outcome);
    }

    [[nodiscard]] QStringList sources() const
    {
        QStringList all;
        for (const AppleScript &script : scripts)
            all.append(script.source);
        return all;
    }

    Outcome outcome;
    bool isHeld { false };
    QList<AppleScript> scripts;
    QList<QStringList> tools;

private:
    void end(Done done)
    {
        if (isHeld)
            m_held.append(std::move(done));
        else
            done(outcome);
    }

    QList<Done> m_held;
};

} // namespace vantry::test
