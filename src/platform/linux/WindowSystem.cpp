#include "platform/linux/WindowSystem.h"

#include <QDir>
#include <QLibraryInfo>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <cstring>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr auto choice = "QT_QPA_PLATFORM";

bool waylandAnswers()
{
    const QString display = qEnvironmentVariable("WAYLAND_DISPLAY");
    if (display.isEmpty())
        return false;
    const QByteArray path = QFile::encodeName(QDir(qEnvironmentVariable("XDG_RUNTIME_DIR")).absoluteFilePath(display));
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(path.size()) >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool answers = ::connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::close(descriptor);
    return answers;
}

/// The toolkit's part for Wayland is a package of its own.
bool toolkitKnowsWayland()
{
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + u"/platforms"_s);
    return !plugins.entryList({ u"libqwayland*"_s }, QDir::Files).isEmpty();
}

} // namespace

bool x11Answers()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return false;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

bool chooseWindowSystem()
{
    if (qEnvironmentVariableIsSet(choice))
        return true;
    if (x11Answers())
        return qputenv(choice, "xcb");
    return waylandAnswers() && toolkitKnowsWayland() && qputenv(choice, "wayland");
}

} // namespace vantry
