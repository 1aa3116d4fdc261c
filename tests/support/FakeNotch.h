#pragma once

#include "DynamicNotchKit/DynamicNotchControllable.h"

#include <QStringList>

#include <utility>
#include <vector>

namespace vantry::test {

/// A notch without a window, which writes down what it is told. Its animations end when the test says so.
class FakeNotch final : public DynamicNotchControllable
{
public:
    /// What several notches are told is in one journal.
    explicit FakeNotch(QStringList &journal)
        : m_journal(journal)
    {}

    void expand(const ScreenInfo &screen, Done done) override { begin(QStringLiteral("expand ") + screen.name, done); }
    void compact(const ScreenInfo &screen, Done done) override
    {
        begin(QStringLiteral("compact ") + screen.name, done);
    }
    void hide(Done done) override
    {
        begin(QStringLiteral("hide"), done);
        hover(false);
    }
    void makeKeyWindow() override { m_journal.append(QStringLiteral("key")); }
    [[nodiscard]] bool isHovering() const override { return m_isHovering; }

    /// Lets what is under way come to its end.
    void finish()
    {
        for (const Done &done : std::exchange(m_underWay, {})) {
            if (done)
                done();
        }
    }
    void hover(bool isHovering)
    {
        if (std::exchange(m_isHovering, isHovering) != isHovering && onHoverChanged)
            onHoverChanged(isHovering);
    }

private:
    void begin(const QString &call, const Done &done)
    {
        m_journal.append(call);
        m_underWay.push_back(done);
    }

    QStringList &m_journal;
    bool m_isHovering { false };
    std::vector<Done> m_underWay;
};

} // namespace vantry::test
