#pragma once

#include "platform/SecretStore.h"

#include <QMap>
#include <QStringList>

#include <utility>
#include <vector>

namespace vantry::test {

/// Secrets that only a test sees.
class FakeSecretStore final : public SecretStore
{
public:
    void set(const QString &account, const QString &secret, Failed failed) override
    {
        calls.append(account + QStringLiteral("=") + secret);
        if (secret.isEmpty())
            kept.remove(account);
        else
            kept.insert(account, secret);
        failures.push_back(std::move(failed));
    }

    QStringList calls;            ///< "account=secret".
    QMap<QString, QString> kept;  ///< By account.
    std::vector<Failed> failures; ///< One for each call.
};

} // namespace vantry::test
