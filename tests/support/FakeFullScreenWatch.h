#pragma once

#include "platform/FullScreenWatch.h"

#include <QSet>

namespace vantry::test {

/// Full-screen windows that a test makes up, and the one watch over them. Outlives the watch.
class FakeFullScreenWatch
{
public:
    [[nodiscard]] MakeFullScreenWatch maker()
    {
        return [this] { return std::make_unique<Watch>(*this); };
    }
    [[nodiscard]] bool isWatched() const { return m_watch != nullptr; }

    void set(const QSet<QString> &screenNames)
    {
        covered = screenNames;
        if (m_watch && m_watch->onChanged)
            m_watch->onChanged();
    }

    QSet<QString> covered; ///< Names of screens.

private:
    class Watch final : public FullScreenWatch
    {
    public:
        explicit Watch(FakeFullScreenWatch &windows)
            : m_windows(windows)
        {
            m_windows.m_watch = this;
        }
        ~Watch() override { m_windows.m_watch = nullptr; }

        [[nodiscard]] bool isFullScreen(const QString &screenName) const override
        {
            return m_windows.covered.contains(screenName);
        }

    private:
        FakeFullScreenWatch &m_windows;
    };

    Watch *m_watch { nullptr };
};

} // namespace vantry::test
