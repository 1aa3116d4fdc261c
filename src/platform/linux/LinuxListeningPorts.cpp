#include "platform/linux/LinuxListeningPorts.h"

#include <QDir>
#include <QFile>

#include <pwd.h>

namespace vantry {

using namespace Qt::StringLiterals;

static QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QList<ListeningSocket> listeningSockets(QByteArrayView table, std::uint16_t port)
{
    // "sl local_address rem_address st tx_queue:rx_queue tr:tm->when retrnsmt uid timeout inode …"
    constexpr auto listening = "0A";
    enum Column { LocalAddress = 1, State = 3, Owner = 7, Inode = 9, LeastColumns = 10 };

    QList<ListeningSocket> sockets;
    const QByteArray portText = ':' + QByteArray::number(port, 16).toUpper().rightJustified(4, '0');
    for (const QByteArray &line : table.toByteArray().split('\n')) {
        const QList<QByteArray> columns = line.simplified().split(' ');
        if (columns.size() < LeastColumns || columns[State] != listening || !columns[LocalAddress].endsWith(portText))
            continue;
        sockets.append({ columns[Owner].toUInt(), columns[Inode].toULongLong() });
    }
    return sockets;
}

/// The process that has this socket open; nothing when it can't be seen.
static std::optional<QString> processOf(std::uint64_t inode)
{
    const QString wanted = u"socket:[%1]"_s.arg(inode);
    const QStringList processes = QDir(u"/proc"_s).entryList({ u"[0-9]*"_s }, QDir::Dirs);
    for (const QString &process : processes) {
        const QString folder = u"/proc/%1/fd"_s.arg(process);
        const QStringList descriptors = QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
        for (const QString &descriptor : descriptors) {
            if (QFile(folder + u'/' + descriptor).symLinkTarget().endsWith(wanted))
                return process;
        }
    }
    return std::nullopt;
}

std::optional<QString> LinuxListeningPorts::holder(std::uint16_t port) const
{
    QList<ListeningSocket> sockets = listeningSockets(contents(u"/proc/net/tcp"_s), port);
    if (sockets.isEmpty())
        sockets = listeningSockets(contents(u"/proc/net/tcp6"_s), port);
    if (sockets.isEmpty())
        return std::nullopt;

    const ListeningSocket socket = sockets.first();
    if (const auto process = processOf(socket.inode)) {
        const QString command = QString::fromUtf8(contents(u"/proc/%1/comm"_s.arg(*process))).trimmed();
        return u"%1 (process %2)"_s.arg(command, *process);
    }
    const passwd *user = ::getpwuid(socket.owner);
    return user ? u"a process of the user %1"_s.arg(QString::fromLocal8Bit(user->pw_name))
                : u"a process of the user %1"_s.arg(socket.owner);
}

} // namespace vantry
