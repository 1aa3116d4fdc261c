#pragma once

#include "platform/NotificationCentre.h"

#include <utility>
#include <vector>

namespace vantry::test {

/// Notifications that only a test sees. The test plays the desktop and the user.
class FakeNotificationCentre final : public NotificationCentre
{
public:
    void setDelegate(Delegate *value) override { delegate = value; }
    void setCategories(const QList<Category> &value) override { categories = value; }
    void requestAuthorization(Authorized done) override { authorizing.push_back(std::move(done)); }
    void add(const Request &request, Failed failed) override
    {
        requests.append(request);
        failures.push_back(std::move(failed));
    }
    void remove(const QString &identifier) override { removed.append(identifier); }
    [[nodiscard]] Server server() const override { return {}; }

    /// The user presses a button of a notification, or clicks on it.
    void respond(const Request &request, const QString &action, const QString &token = {}) const
    {
        delegate->didReceive({ request.identifier, action, request.userInfo, token });
    }
    /// What was added and has not been taken away.
    [[nodiscard]] QStringList shown() const
    {
        QStringList left;
        for (const Request &request : requests) {
            if (!removed.contains(request.identifier))
                left.append(request.title);
        }
        return left;
    }

    Delegate *delegate { nullptr };
    QList<Category> categories;
    std::vector<Authorized> authorizing;
    QList<Request> requests;
    std::vector<Failed> failures; ///< One for each request.
    QStringList removed;
};

} // namespace vantry::test
