#pragma once

#include <QHash>
#include <QString>

#include <string>

namespace vantry {

/// The main group of a desktop entry, in freedesktop.org's format. A value; any thread.
class DesktopEntry
{
public:
    /// What isn't a line of the main group is passed over.
    explicit DesktopEntry(const std::string &bytes);

    /// As it stands in the file.
    [[nodiscard]] QString value(const QString &key, const QString &fallback = {}) const;
    /// Whether a desktop that finds it in its folder for autostart is told to leave it.
    [[nodiscard]] bool isSwitchedOff() const;
    /// What "Exec" runs, without its arguments; empty when it runs nothing.
    [[nodiscard]] QString program() const;

private:
    QHash<QString, QString> m_values;
};

} // namespace vantry
