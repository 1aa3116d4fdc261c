#pragma once

#include "app/CommandLine.h"

#include <QStringView>

#include <optional>
#include <vector>

namespace vantry {

/// What a word of the command line stands for, so that shells know what to offer for it.
enum class WordKind {
    Text,                    ///< Anything.
    LiveSession,             ///< A session of the running application.
    RememberedSession,       ///< A session of the database.
    RememberedSessionOrFile, ///< The same, or a transcript's file.
    Folder,
    PermissionMode,
    Number
};

enum class OptionID { Json, Limit, Stop, Resume, Continue, Mode, Headless, Demo, Help, Version };

struct OptionEntry
{
    OptionID id { OptionID::Json };
    QStringView name;     ///< With its dashes.
    QStringView summary;  ///< A clause for one line.
    QStringView value {}; ///< What stands for the value in a usage line; empty for an option without one.
    WordKind kind { WordKind::Text };
    QStringView meaning {};              ///< Of the value, in the middle of a sentence: "a number".
    std::optional<OptionID> excludes {}; ///< Given together, they are wrong usage; both say so.
};

/// A word that belongs to no option.
struct OperandEntry
{
    QStringView name; ///< As it stands in a usage line.
    WordKind kind { WordKind::Text };
    QStringView meaning {};    ///< In the middle of a sentence: "a session's ID".
    bool isRepeated { false }; ///< Once or more; only the last one can be.
};

/// A command line taken apart: everything but the command's name.
struct Arguments
{
    QStringList operands;
    OutputForm form { OutputForm::Text };
    int index { 0 };
    int limit { 20 };
    bool stop { false };
    command::Launch::Mode launchMode { command::Launch::Mode::Fresh };
    QString resumedID;
    AgentPermissionMode permissionMode { AgentPermissionMode::askPermissions };
};

struct CommandEntry
{
    QStringView name;        ///< One word or two.
    QStringView summary;     ///< A clause for the help.
    QStringView description; ///< Sentences for the manual.
    std::vector<OperandEntry> operands {};
    std::vector<OptionEntry> options {};
    Command (*make)(const Arguments &) { nullptr };
};

struct CommandGroup
{
    QStringView title;
    QStringView remark; ///< What holds for all its commands; may be empty.
    std::vector<CommandEntry> commands;
};

/// A name that users meet (an exit code, a variable, a file), and what it means.
struct NamedMeaning
{
    QStringView name;
    QStringView meaning;
};

// All that can be called, written down once: the parser, the help, the manual page and the shells' completions follow
// from it. Constant; any thread.
[[nodiscard]] const std::vector<CommandGroup> &commandGroups();
/// The commands of all groups, in order.
[[nodiscard]] const std::vector<const CommandEntry *> &allCommands();
/// What is given in a command's stead.
[[nodiscard]] const std::vector<OptionEntry> &startOptions();
[[nodiscard]] const std::vector<NamedMeaning> &exitCodes();
[[nodiscard]] const std::vector<NamedMeaning> &environmentVariables();
[[nodiscard]] const std::vector<NamedMeaning> &files();

/// Whether the option stands in the place of the one before it, as in "[--resume ID | --continue]".
[[nodiscard]] bool isAlternative(const CommandEntry &command, std::size_t option);
/// The command with what it takes, as in "deny ID [--stop]".
[[nodiscard]] QString usage(const CommandEntry &command);
/// An option with its value, as in "--limit N".
[[nodiscard]] QString usage(const OptionEntry &option);

} // namespace vantry
