#pragma once

#include "platform/ControlEndpoint.h"

#include <QList>
#include <QStringList>

namespace vantry::test {

/// Records what is announced; a test plays the callers through `requests`.
class FakeControlEndpoint final : public ControlEndpoint
{
public:
    Publication publish(ControlRequests &given) override
    {
        if (publication == Publication::Published)
            requests = &given;
        return publication;
    }
    void withdraw() override
    {
        requests = nullptr;
        ++withdrawals;
    }
    void announceChanged(const QString &sessionJson) override { changed.append(sessionJson); }
    void announceRemoved(const QString &sessionID) override { removed.append(sessionID); }
    void announceListening(bool isListening) override { listening.append(isListening); }
    void announceBackfill(std::uint32_t done, std::uint32_t total) override { backfill.append({ done, total }); }

    Publication publication { Publication::Published }; ///< What publish() will give.
    ControlRequests *requests { nullptr };              ///< Null while not published.
    int withdrawals { 0 };
    QStringList changed;
    QStringList removed;
    QList<bool> listening;
    QList<std::pair<std::uint32_t, std::uint32_t>> backfill;
};

} // namespace vantry::test
