#pragma once

#include <QString>

namespace vantry {

/// Where things are kept. Made once in main() from the environment and handed on; nothing else asks for the home.
struct Paths
{
    QString home;          ///< The user's home directory.
    QString dataFolder;    ///< Database and debug log; made with mode 0700.
    QString configFile;    ///< The settings, one flat JSON object.
    QString runtimeFolder; ///< $XDG_RUNTIME_DIR, empty where there is none.

    [[nodiscard]] QString database() const { return dataFolder + QStringLiteral("/vantry.db"); }
    [[nodiscard]] QString debugLog() const { return dataFolder + QStringLiteral("/debug.log"); }
    [[nodiscard]] QString lockFile() const { return dataFolder + QStringLiteral("/vantry.lock"); }
    [[nodiscard]] QString agentFolder() const { return home + QStringLiteral("/.claude"); }

    /// From HOME, XDG_DATA_HOME, XDG_CONFIG_HOME and XDG_RUNTIME_DIR. A relative XDG value counts as unset.
    [[nodiscard]] static Paths fromEnvironment();
};

/// Makes the folder with its parents; the folder itself gets mode 0700. False when it can't be made.
bool makePrivateFolder(const QString &path);

} // namespace vantry
