#pragma once

#include <QString>

namespace vantry {

/// Reserved for finding editors that can host the agent, and for putting an extension into them. Declarations alone:
/// nothing looks for editors.
namespace ExtensionInstaller {

/// An editor; which one, its command says.
struct IDEStatus
{
    QString name;    ///< As people know it.
    QString command; ///< Its name on the command line.
    bool isDetected { false };
    bool isInstalled { false }; ///< The extension, in the editor.

    /// Stable, for lists.
    [[nodiscard]] const QString &id() const { return command; }
};

} // namespace ExtensionInstaller

} // namespace vantry
