#include "panels/OpenableLink.h"

#include <QFile>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace vantry {

namespace {

/// A regular file or a folder. Other things that stand in the file system may block whoever opens them.
bool isFileOrFolder(const QString &path)
{
    struct stat status = {};
    return !path.contains(QChar::Null) && ::stat(QFile::encodeName(path).constData(), &status) == 0 &&
           (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode));
}

std::optional<QUrl> existingFile(const QString &path)
{
    return path.startsWith(u'/') && isFileOrFolder(path) ? std::optional(QUrl::fromLocalFile(path)) : std::nullopt;
}

} // namespace

std::optional<QUrl> openableLink(const QString &link)
{
    if (link.startsWith(u'/'))
        return link.startsWith("//"_L1) ? std::nullopt : existingFile(link);
    const QUrl url(link);
    if (!url.isValid())
        return std::nullopt;
    const QString scheme = url.scheme();
    if (scheme == u"http" || scheme == u"https")
        return url.host().isEmpty() ? std::nullopt : std::optional(url);
    if (scheme == u"mailto")
        return url.path().isEmpty() ? std::nullopt : std::optional(url);
    if (scheme == u"file" && (url.host().isEmpty() || url.host() == u"localhost"))
        return existingFile(url.path(QUrl::FullyDecoded));
    return std::nullopt;
}

} // namespace vantry
