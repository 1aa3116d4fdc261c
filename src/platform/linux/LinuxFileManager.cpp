#include "platform/linux/LinuxFileManager.h"

#include <QDBusPendingCallWatcher>
#include <QFileInfo>

#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// One that has to be started first takes some seconds.
constexpr int patience = 10'000;

} // namespace

LinuxFileManager::LinuxFileManager(const QString &busAddress, Open open)
    : m_busAddress(busAddress)
    , m_open(std::move(open))
{}

LinuxFileManager::~LinuxFileManager() = default;

void LinuxFileManager::reveal(const QString &path)
{
    if (!m_bus)
        m_bus.emplace(m_busAddress);
    if (!m_bus->isConnected())
        return openFolderOf(path);
    auto call = QDBusMessage::createMethodCall(u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
                                               u"org.freedesktop.FileManager1"_s, u"ShowItems"_s);
    const QString startupID;
    call << QStringList { QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) } << startupID;
    auto *watcher = new QDBusPendingCallWatcher((*m_bus)->asyncCall(call, patience), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, path] {
        watcher->deleteLater();
        if (watcher->isError())
            openFolderOf(path);
    });
}

void LinuxFileManager::openFolderOf(const QString &path)
{
    m_workers.run([open = m_open, folder = QUrl::fromLocalFile(QFileInfo(path).path())] { open(folder); });
}

} // namespace vantry
