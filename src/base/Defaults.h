#pragma once

#include "base/DebugLog.h"
#include "base/MainQueue.h"

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace vantry {

/// The user's settings: one flat JSON object in a file, each key read where it is used. A value of another type than
/// asked for counts as absent. A change of the file from outside is taken over at once; a file that can't be parsed
/// counts as empty and is put aside (".broken") before it is replaced. Keys and values that are not ours are kept, with
/// every digit. Writes are atomic (mode 0600) and happen off the main thread, the last state winning.
/// Main thread only.
class Defaults final : public QObject
{
    Q_OBJECT

public:
    Defaults(const QString &path, MainQueue &mainQueue, Log &log, QObject *parent = nullptr);
    ~Defaults() override;

    [[nodiscard]] bool boolean(const QString &key, bool fallback) const;
    [[nodiscard]] QString string(const QString &key, const QString &fallback) const;
    [[nodiscard]] std::optional<QString> string(const QString &key) const;

    void setBoolean(const QString &key, bool value);
    void setString(const QString &key, const QString &value);
    void remove(const QString &key);

    /// Waits until everything that was set is in the file. For the end of the program and for tests.
    void flush();

Q_SIGNALS:
    /// After any value has changed, from here or from outside. Setting a value that is there already tells nobody.
    void changed();

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace vantry
