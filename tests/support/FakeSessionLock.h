#pragma once

#include "platform/SessionLock.h"

namespace vantry::test {

/// A desktop session that a test locks, and the one listener to it. Outlives the listener.
class FakeSessionLock
{
public:
    [[nodiscard]] MakeSessionLock maker()
    {
        return [this] { return std::make_unique<Listener>(*this); };
    }
    [[nodiscard]] bool isListenedTo() const { return m_listener != nullptr; }

    void set(bool isLocked)
    {
        locked = isLocked;
        if (m_listener && m_listener->onChanged)
            m_listener->onChanged();
    }

    bool locked { false };

private:
    class Listener final : public SessionLock
    {
    public:
        explicit Listener(FakeSessionLock &session)
            : m_session(session)
        {
            m_session.m_listener = this;
        }
        ~Listener() override { m_session.m_listener = nullptr; }

        [[nodiscard]] bool isLocked() const override { return m_session.locked; }

    private:
        FakeSessionLock &m_session;
    };

    Listener *m_listener { nullptr };
};

} // namespace vantry::test
