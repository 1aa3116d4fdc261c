#pragma once

#include "platform/NotificationCentre.h"

namespace vantry {

/// Where nothing is to be shown: without windows, and in the demonstration.
class NoNotifications final : public NotificationCentre
{
public:
    void setDelegate(Delegate *) override {}
    void setCategories(const QList<Category> &) override {}
    void requestAuthorization(Authorized) override {}
    void requestStatus(StatusKnown) override {}
    void add(const Request &, Failed) override {}
    void remove(const QString &) override {}
    [[nodiscard]] Server server() const override { return {}; }
};

} // namespace vantry
