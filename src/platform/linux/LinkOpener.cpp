#include "platform/linux/LinkOpener.h"

#include "base/Subprocess.h"
#include "platform/linux/LoginShell.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace vantry {

std::optional<QString> openWithDesktop(const QUrl &url, std::chrono::milliseconds watched)
{
    Subprocess opener;
    opener.executable = QStandardPaths::findExecutable(u"xdg-open"_s);
    if (opener.executable.isEmpty())
        return u"xdg-open is not installed"_s;
    opener.arguments = { url.toString(QUrl::FullyEncoded) };
    opener.removedVariables = variablesNotForShells();
    opener.timeout = watched;
    const Subprocess::Launch launch = opener.startDetached();
    if (!launch.started)
        return u"%1 can't be started"_s.arg(opener.executable);
    if (launch.exitStatus.value_or(0) != 0)
        return u"%1 ended with status %2"_s.arg(opener.executable).arg(*launch.exitStatus);
    return std::nullopt;
}

} // namespace vantry
