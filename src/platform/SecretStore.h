#pragma once

#include <QString>

#include <functional>

namespace vantry {

/// The desktop's store of passwords, for the program's own secrets. Main thread only, which never waits for it.
class SecretStore
{
public:
    /// Takes why a secret could not be kept.
    using Failed = std::function<void(const QString &error)>;

    /// What keeps secrets from being kept.
    struct Problem
    {
        QString detail;
        QString advice; ///< What to do about it.
    };

    virtual ~SecretStore() = default;

    /// Keeps the secret in the stead of what is kept under this account; an empty one takes that away. The user may be
    /// asked to unlock the store for a secret, never for an empty one. Of several in a row for one account, the last
    /// wins. `failed` is called at most once, later, and never for an empty one, nor when the store ends before.
    virtual void set(const QString &account, const QString &secret, Failed failed) = 0;
};

} // namespace vantry
