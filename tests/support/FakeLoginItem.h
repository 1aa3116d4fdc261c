#pragma once

#include "platform/LoginItem.h"

#include <atomic>
#include <utility>

namespace vantry::test {

/// An entry that is kept in memory. A test may change it as another program would.
class FakeLoginItem final : public LoginItem
{
public:
    [[nodiscard]] bool isEnabled() const override { return m_isEnabled; }
    [[nodiscard]] std::optional<QString> setEnabled(bool isEnabled) override
    {
        if (fails)
            return QStringLiteral("Permission denied");
        m_isEnabled = isEnabled;
        return std::nullopt;
    }
    void setOnChanged(std::function<void()> changed) override { onChanged = std::move(changed); }

    void changeFromOutside(bool isEnabled)
    {
        m_isEnabled = isEnabled;
        if (onChanged)
            onChanged();
    }

    std::function<void()> onChanged;
    std::atomic<bool> fails { false };

private:
    std::atomic<bool> m_isEnabled { false };
};

} // namespace vantry::test
