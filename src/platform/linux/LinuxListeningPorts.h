#pragma once

#include "platform/ListeningPorts.h"

#include <QByteArrayView>
#include <QList>

namespace vantry {

/// A listening socket in /proc/net/tcp or tcp6.
struct ListeningSocket
{
    std::uint32_t owner { 0 }; ///< User identifier.
    std::uint64_t inode { 0 };

    friend bool operator==(const ListeningSocket &, const ListeningSocket &) = default;
};

/// The sockets that listen on this port, from the text of such a file. Lines of another form are skipped.
[[nodiscard]] QList<ListeningSocket> listeningSockets(QByteArrayView table, std::uint16_t port);

/// Looks for the socket's process among those that may be looked at: the user's own.
class LinuxListeningPorts final : public ListeningPorts
{
public:
    [[nodiscard]] std::optional<QString> holder(std::uint16_t port) const override;
};

} // namespace vantry
