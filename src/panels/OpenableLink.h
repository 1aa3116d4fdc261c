#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace vantry {

/// What a link in an agent's text may open: http and https with a host, mailto with an address, and a file or folder of
/// this machine that exists (a "file" URL or an absolute path; what stands behind "#" or "?" is dropped). Nothing for
/// everything else. Asks the file system.
[[nodiscard]] std::optional<QUrl> openableLink(const QString &link);

} // namespace vantry
