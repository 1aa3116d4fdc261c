#pragma once

#include "platform/LoginItem.h"

#include <QFileSystemWatcher>
#include <QString>

#include <memory>

namespace vantry {

/// An entry in the desktop's autostart folder. One that is there but hidden or switched off counts as off, and an entry
/// that somebody else has written stays until the user turns it on or off here.
class LinuxLoginItem final : public LoginItem
{
public:
    /// `file` is the entry's path, `program` the path of what it starts.
    LinuxLoginItem(QString file, QString program);
    ~LinuxLoginItem() override;

    [[nodiscard]] bool isEnabled() const override;
    [[nodiscard]] std::optional<QString> setEnabled(bool isEnabled) override;
    void setOnChanged(std::function<void()> changed) override;

    /// The value of "Exec" that starts the program of this path, without arguments.
    [[nodiscard]] static QString execValue(const QString &program);

private:
    void watch();

    const QString m_file;
    const QString m_program;
    std::unique_ptr<QFileSystemWatcher> m_watcher; ///< While somebody is told.
    std::function<void()> m_changed;
};

} // namespace vantry
