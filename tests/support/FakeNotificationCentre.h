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
    void requestStatus(StatusKnown known) override { m_asking.push_back(std::move(known)); }
    void add(const Request &request, Failed failed) override
    {
        requests.append(request);
        failures.push_back(std::move(failed));
    }
    void remove(const QString &identifier) override { removed.append(identifier); }
    [[nodiscard]] Server server() const override { return m_server; }

    /// Answers those who have asked for the status.
    void tellStatus(Authorization authorization = Authorization::Authorized)
    {
        for (const StatusKnown &known : std::exchange(m_asking, {}))
            known({ authorization, m_server });
    }
    void setServer(const Server &server)
    {
        m_server = server;
        if (onServerChanged)
            onServerChanged();
    }

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

private:
    std::vector<StatusKnown> m_asking;
    Server m_server;
};

} // namespace vantry::test
