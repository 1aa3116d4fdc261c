#pragma once

#include <QString>

namespace vantry {

/// A lock on a file that one process at a time holds, for as long as this object lives. It also holds where there is no
/// session bus to own a name on. Any thread, one at a time.
class SingleInstance
{
public:
    enum class Claim {
        Mine,
        Taken,       ///< Another process holds it.
        Unavailable, ///< The file can't be made or locked: nothing keeps a second instance out.
    };

    SingleInstance() = default;
    ~SingleInstance();
    SingleInstance(const SingleInstance &) = delete;
    SingleInstance &operator=(const SingleInstance &) = delete;

    /// Returns at once. May be called again until it is `Mine`.
    [[nodiscard]] Claim claim(const QString &lockFile);

private:
    int m_descriptor { -1 };
};

} // namespace vantry
