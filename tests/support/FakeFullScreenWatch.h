#pragma once

#include "platform/FullScreenWatch.h"

#include <QSet>

namespace vantry::test {

/// Full-screen windows that a test makes up.
class FakeFullScreenWatch final : public FullScreenWatch
{
public:
    [[nodiscard]] bool isFullScreen(const QString &screenName) const override { return covered.contains(screenName); }

    void set(const QSet<QString> &screenNames)
    {
        covered = screenNames;
        if (onChanged)
            onChanged();
    }

    QSet<QString> covered; ///< Names of screens.
};

} // namespace vantry::test
