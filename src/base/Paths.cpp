#include "base/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

namespace vantry {
namespace {

/// The variable's value when it is an absolute path, else nothing.
QString absolutePath(const char *variable)
{
    const QString value = QFile::decodeName(qgetenv(variable));
    return value.startsWith(u'/') ? QDir::cleanPath(value) : QString();
}

QString homeFromUserDatabase()
{
    std::vector<char> buffer(16 * 1024);
    passwd entry {};
    passwd *found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found || !found->pw_dir)
        return {};
    return QFile::decodeName(found->pw_dir);
}

} // namespace

Paths Paths::fromEnvironment()
{
    Paths paths;
    paths.home = absolutePath("HOME");
    if (paths.home.isEmpty())
        paths.home = homeFromUserDatabase();
    if (paths.home.isEmpty())
        paths.home = QStringLiteral("/");

    const QString prefix = paths.home == u"/" ? QString() : paths.home;
    QString data = absolutePath("XDG_DATA_HOME");
    if (data.isEmpty())
        data = prefix + QStringLiteral("/.local/share");
    QString config = absolutePath("XDG_CONFIG_HOME");
    if (config.isEmpty())
        config = prefix + QStringLiteral("/.config");
    paths.dataFolder = data + QStringLiteral("/Vantry");
    paths.configFile = config + QStringLiteral("/Vantry/settings.json");
    paths.runtimeFolder = absolutePath("XDG_RUNTIME_DIR");
    return paths;
}

bool makePrivateFolder(const QString &path)
{
    const QByteArray native = QFile::encodeName(QDir::cleanPath(path));
    if (native.isEmpty())
        return false;
    if (mkdir(native.constData(), 0700) == 0)
        return true;
    if (errno == ENOENT) {
        // The parents are not ours alone, so they get the mode that the user's mask gives.
        if (!QDir().mkpath(QFileInfo(QDir::cleanPath(path)).path()))
            return false;
        if (mkdir(native.constData(), 0700) == 0)
            return true;
    }
    struct stat status
    {};
    if (errno != EEXIST || stat(native.constData(), &status) != 0 || !S_ISDIR(status.st_mode))
        return false;
    return (status.st_mode & 0777) == 0700 || chmod(native.constData(), 0700) == 0;
}

} // namespace vantry
