#pragma once

#include <QString>

#include <optional>

namespace vantry {

/// What the agent prints about its options. It is found as the user's own login shell finds it, since often only the
/// shell's start-up files know its folder. Nothing when there is no agent or it takes longer than 10 seconds. Blocks;
/// any thread but the main one.
[[nodiscard]] std::optional<QString> agentHelp();
/// The same in a shell that is given by its path, with the start-up files of this home.
[[nodiscard]] std::optional<QString> agentHelp(const QString &shell, const QString &home);

} // namespace vantry
