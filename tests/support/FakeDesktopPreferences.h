#pragma once

#include "platform/DesktopPreferences.h"

namespace vantry::test {

/// Preferences that a test sets.
class FakeDesktopPreferences final : public DesktopPreferences
{
public:
    [[nodiscard]] const Values &values() const override { return m_values; }

    void set(const Values &values)
    {
        m_values = values;
        if (onChanged)
            onChanged();
    }

private:
    Values m_values;
};

} // namespace vantry::test
