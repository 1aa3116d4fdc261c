#pragma once

#include <QString>
#include <QStringList>

namespace vantry {

// What is known of applications by name or bundle identifier: the classes of their windows (the second word of
// WM_CLASS), in lower case. An application that isn't known has the class that is its name.

[[nodiscard]] QStringList windowClassesOf(const QString &applicationName);
/// Empty for an identifier that isn't known.
[[nodiscard]] QStringList windowClassesOfBundle(const QString &bundleIdentifier);
/// The application's name by a window of it; the class itself when it isn't known.
[[nodiscard]] QString applicationNameOf(const QString &windowClass);

} // namespace vantry
