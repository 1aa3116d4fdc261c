#pragma once

#include "platform/ScriptHost.h"

#include <QString>
#include <QStringList>

/// The scripts by which terminals with a scripting interface are driven. Session identifiers, texts and command lines
/// go into them as they stand, but for what is told: a script that this breaks fails as a whole. Pure functions, any
/// thread.
namespace vantry::TerminalScripts {

/// Brings an application forward.
[[nodiscard]] AppleScript activate(const QString &application);
/// Brings iTerm2 forward with the session whose unique ID contains this one.
[[nodiscard]] AppleScript selectITermSession(const QString &sessionID);
/// Writes the texts one after another, and Return behind them if it is asked for, with 0.1 s between any two. Double
/// quotes are escaped.
[[nodiscard]] AppleScript writeToITermSession(const QString &sessionID, const QStringList &texts, bool submits);
/// Moves down to the option with this index, from 0, then writes ESC and Return.
[[nodiscard]] AppleScript chooseInITermSession(const QString &sessionID, int index);
[[nodiscard]] AppleScript closeITermSession(const QString &sessionID);
/// Runs a command line in a new tab.
[[nodiscard]] AppleScript openITermTab(const QString &commandLine);
/// The same in a new window of Terminal.
[[nodiscard]] AppleScript openTerminalWindow(const QString &commandLine);

} // namespace vantry::TerminalScripts
