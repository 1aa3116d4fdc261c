#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace vantry {

/// Who listens on this machine's TCP ports. Any thread, one at a time.
class ListeningPorts
{
public:
    virtual ~ListeningPorts() = default;

    /// For a person, as in "python3 (process 4711)" or "a process of the user alice". Nothing when nobody listens on
    /// the port, or the machine doesn't tell.
    [[nodiscard]] virtual std::optional<QString> holder(std::uint16_t port) const = 0;
};

} // namespace vantry
