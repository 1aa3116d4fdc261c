#include "app/SingleInstance.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace vantry {

SingleInstance::~SingleInstance()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

SingleInstance::Claim SingleInstance::claim(const QString &lockFile)
{
    if (m_descriptor >= 0)
        return Claim::Mine;
    // The file stays when the lock goes: a removed one could be held by one process and made again by the next.
    const int descriptor =
        ::open(QFile::encodeName(lockFile).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (descriptor < 0)
        return Claim::Unavailable;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
        m_descriptor = descriptor;
        return Claim::Mine;
    }
    const bool isTaken = errno == EWOULDBLOCK;
    ::close(descriptor);
    return isTaken ? Claim::Taken : Claim::Unavailable;
}

} // namespace vantry
