#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace vantry {

/// Lets the user choose a file, in a dialog over the window that has the focus. Main thread only, which never waits for
/// the user.
class FileChooser
{
public:
    /// Which files are offered.
    struct Filter
    {
        QString name;
        QStringList suffixes; ///< Without their dot, in lower case; files that have them in capitals are offered, too.
    };
    /// Takes the path of a file that is there; nothing when the user cancelled, or when nobody could be asked.
    using Chosen = std::function<void(const std::optional<QString> &path)>;

    virtual ~FileChooser() = default;

    /// Asks for one file, which is no folder. `chosen` is called once, later, or never when the chooser ends before or
    /// the question is taken back, as it is by the next one.
    virtual void chooseFile(const QString &message, const Filter &filter, Chosen chosen) = 0;
    /// Takes the question back, if there is one, and its dialog away.
    virtual void cancel() = 0;
};

} // namespace vantry
