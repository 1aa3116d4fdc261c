#pragma once

#include "platform/TerminalDriver.h"

#include <QSet>
#include <QStringList>

#include <condition_variable>
#include <mutex>
#include <utility>

namespace vantry::test {

/// A terminal that a test makes up. Keeps what it was asked, in order. Any thread may call it.
class FakeTerminalDriver final : public TerminalDriver
{
public:
    explicit FakeTerminalDriver(QString name = QStringLiteral("tmux"), QString type = QStringLiteral("tmux-pane"))
        : m_name(std::move(name))
        , m_type(std::move(type))
    {}

    void setAbilities(Abilities abilities)
    {
        const std::scoped_lock lock(m_mutex);
        m_abilities = abilities;
    }
    /// What every call from now on fails with; nothing: they succeed.
    void setFailure(Failure failure)
    {
        const std::scoped_lock lock(m_mutex);
        m_failure = std::move(failure);
    }
    void setPlaceToOpen(std::optional<TerminalTarget> place)
    {
        const std::scoped_lock lock(m_mutex);
        m_place = std::move(place);
    }
    void setProblem(std::optional<Problem> problem)
    {
        const std::scoped_lock lock(m_mutex);
        m_problem = std::move(problem);
    }
    /// Calls for the target with this identifier wait, once they have been noted, until it is released.
    void hold(const QString &sessionID)
    {
        const std::scoped_lock lock(m_mutex);
        m_held.insert(sessionID);
    }
    void release(const QString &sessionID)
    {
        const std::scoped_lock lock(m_mutex);
        m_held.remove(sessionID);
        m_changed.notify_all();
    }
    /// Waits until so many calls have been noted.
    void waitForCalls(qsizetype count)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_calls.size() >= count; });
    }

    /// "focus ID", "type ID: TEXT", "return ID", "close ID", "open ID: DIRECTORY: COMMAND LINE", "find", "examine ID".
    [[nodiscard]] QStringList calls() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_calls;
    }

    [[nodiscard]] QString name() const override { return m_name; }
    [[nodiscard]] bool handles(const QString &terminalType) const override { return terminalType == m_type; }
    /// Those of a target without an identifier are none.
    [[nodiscard]] Abilities abilities(const TerminalTarget &target) const override
    {
        const std::scoped_lock lock(m_mutex);
        return target.sessionID.isEmpty() ? Abilities {} : m_abilities;
    }

    Failure focus(const TerminalTarget &target) override { return note(u"focus " + target.sessionID, target); }
    Failure typeText(const TerminalTarget &target, const QString &text) override
    {
        return note(u"type " + target.sessionID + u": " + text, target);
    }
    Failure pressReturn(const TerminalTarget &target) override { return note(u"return " + target.sessionID, target); }
    Failure close(const TerminalTarget &target) override { return note(u"close " + target.sessionID, target); }
    Failure open(const TerminalTarget &target, const TerminalCommand &command) override
    {
        return note(u"open " + target.sessionID + u": " + command.directory + u": " + command.commandLine, target);
    }
    [[nodiscard]] std::optional<TerminalTarget> findPlaceToOpen() override
    {
        note(QStringLiteral("find"), {});
        const std::scoped_lock lock(m_mutex);
        return m_place;
    }
    [[nodiscard]] std::optional<Problem> examine(const TerminalTarget &target) override
    {
        note(u"examine " + target.sessionID, target);
        const std::scoped_lock lock(m_mutex);
        return m_problem;
    }

private:
    Failure note(const QString &call, const TerminalTarget &target)
    {
        std::unique_lock lock(m_mutex);
        m_calls.append(call);
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return !m_held.contains(target.sessionID); });
        return m_failure;
    }

    const QString m_name;
    const QString m_type;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    Abilities m_abilities { .focus = true, .type = true, .open = true, .close = true };
    Failure m_failure;
    std::optional<TerminalTarget> m_place;
    std::optional<Problem> m_problem;
    QSet<QString> m_held;
    QStringList m_calls;
};

} // namespace vantry::test
