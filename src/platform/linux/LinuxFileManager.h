#pragma once

#include "base/WorkerPool.h"
#include "platform/FileManager.h"
#include "platform/linux/SessionBus.h"

#include <QObject>
#include <QUrl>

#include <functional>
#include <optional>

namespace vantry {

/// The file manager that owns org.freedesktop.FileManager1 on the session bus, or is started for it; without one the
/// file's folder is opened as any other address.
class LinuxFileManager final : public QObject, public FileManager
{
    Q_OBJECT

public:
    /// Has the desktop open an address. Called on a thread of its own, where it may wait.
    using Open = std::function<void(const QUrl &address)>;

    LinuxFileManager(const QString &busAddress, Open open);
    ~LinuxFileManager() override;

    void reveal(const QString &path) override;
    [[nodiscard]] QString revealLabel() const override { return tr("Show in Folder"); }

private:
    void openFolderOf(const QString &path);

    const QString m_busAddress;
    const Open m_open;
    std::optional<BusConnection> m_bus; ///< From the first use on.
    WorkerPool m_workers { 1, WorkerPool::Priority::Normal };
};

} // namespace vantry
