#pragma once

#include "platform/SessionLock.h"

namespace vantry::test {

/// A desktop session that a test locks.
class FakeSessionLock final : public SessionLock
{
public:
    [[nodiscard]] bool isLocked() const override { return locked; }

    void set(bool isLocked)
    {
        locked = isLocked;
        if (onChanged)
            onChanged();
    }

    bool locked { false };
};

} // namespace vantry::test
