#pragma once

#include <QString>

namespace vantry {

/// The desktop's file manager. Main thread only, which never waits for it.
class FileManager
{
public:
    virtual ~FileManager() = default;

    /// Shows the file in its folder. A file that isn't there shows the folder alone.
    virtual void reveal(const QString &path) = 0;
    /// What a button is called that does so.
    [[nodiscard]] virtual QString revealLabel() const = 0;
};

} // namespace vantry
