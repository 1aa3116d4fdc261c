#include "app/CommandTable.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

const OptionEntry json { OptionID::Json, u"--json", u"print one JSON document" };
const OptionEntry limit { OptionID::Limit,  u"--limit", u"how many at most; 20 if not given", u"N",
                          WordKind::Number, u"a number" };
const OptionEntry stop { OptionID::Stop, u"--stop", u"end the agent's turn, too" };
const OptionEntry resume {
    OptionID::Resume,  u"--resume",       u"take up this session", u"ID", WordKind::RememberedSession,
    u"a session's ID", OptionID::Continue
};
const OptionEntry continueLatest { .id = OptionID::Continue,
                                   .name = u"--continue",
                                   .summary = u"take up the folder's latest session",
                                   .excludes = OptionID::Resume };
const OptionEntry mode { OptionID::Mode,           u"--mode",           u"how much the agent asks", u"MODE",
                         WordKind::PermissionMode, u"a permission mode" };

const OperandEntry session { u"ID", WordKind::LiveSession, u"a session's ID" };
const OperandEntry index { u"INDEX", WordKind::Number, u"an option's number" };
const OperandEntry text { u"TEXT", WordKind::Text, u"a text to send", true };
const OperandEntry folder { u"PATH", WordKind::Folder, u"a project's path" };
const OperandEntry words { u"WORD", WordKind::Text, u"a word to search for", true };
const OperandEntry source { u"ID|FILE", WordKind::RememberedSessionOrFile, u"a session's ID or a file" };

CommandGroup sessionCommands()
{
    return { u"Sessions",
             u"of the running Vantry",
             {
                 { u"status",
                   u"show the live sessions, what needs you first",
                   u"Shows the live sessions in a table, what needs you first. With nothing running, the JSON document "
                   "says so, too, and the exit code is 3.",
                   {},
                   { json },
                   [](const Arguments &a) -> Command { return command::Status { a.form }; } },
                 { u"watch",
                   u"show the live sessions, then every change",
                   u"Shows the live sessions, and then one line for each change, until it is interrupted or Vantry "
                   "ends. With --json each line is a document of its own.",
                   {},
                   { json },
                   [](const Arguments &a) -> Command { return command::Watch { a.form }; } },
                 { u"allow",
                   u"allow what the agent asks for",
                   u"Allows what the agent asks for. Where the session waits with several requests, the oldest one "
                   "is answered.",
                   { session },
                   {},
                   [](const Arguments &a) -> Command { return command::Allow { a.operands.first() }; } },
                 { u"deny",
                   u"deny what the agent asks for; --stop ends its turn, too",
                   u"Denies what the agent asks for. The agent goes on with that answer, unless --stop ends its turn.",
                   { session },
                   { stop },
                   [](const Arguments &a) -> Command {
                       using Agent = command::Deny::Agent;
                       return command::Deny { a.operands.first(), a.stop ? Agent::Stops : Agent::GoesOn };
                   } },
                 { u"always-allow",
                   u"allow what the agent asks for, and from now on, as it suggests",
                   u"Allows what the agent asks for, and installs the rule that the agent suggests, by which it "
                   "doesn't ask again.",
                   { session },
                   {},
                   [](const Arguments &a) -> Command { return command::AlwaysAllow { a.operands.first() }; } },
                 { u"answer",
                   u"choose an option of the agent's question; the first one is 0",
                   u"Chooses an option of the question that the agent asks; the first one is 0. Where the terminal "
                   "can't be typed into, it is brought forward.",
                   { session, index },
                   {},
                   [](const Arguments &a) -> Command {
                       return command::Answer { a.operands.first(), a.index };
                   } },
                 { u"send",
                   u"type a line into a session's terminal",
                   u"Types a line into the session's terminal and submits it. The words are joined by one space each. "
                   "Where the terminal can't be typed into, it is brought forward.",
                   { session, text },
                   {},
                   [](const Arguments &a) -> Command {
                       return command::Send { a.operands.first(), a.operands.sliced(1).join(u' ') };
                   } },
                 { u"focus",
                   u"bring a session's terminal forward",
                   u"Brings the session's terminal forward, with the right tab and pane.",
                   { session },
                   {},
                   [](const Arguments &a) -> Command { return command::Focus { a.operands.first() }; } },
                 { u"kill",
                   u"end the agent and close its terminal",
                   u"Ends the agent and closes its tab.",
                   { session },
                   {},
                   [](const Arguments &a) -> Command { return command::Kill { a.operands.first() }; } },
                 { u"launch",
                   u"start the agent in a project's folder; MODE is askPermissions, autoAcceptEdits, planMode or "
                   "bypassPermissions",
                   u"Starts the agent in a project's folder, in a new tab or window of a terminal: a new session, "
                   "one that is taken up, or the folder's latest.",
                   { folder },
                   { resume, continueLatest, mode },
                   [](const Arguments &a) -> Command {
                       return command::Launch { a.operands.first(), a.launchMode, a.resumedID, a.permissionMode };
                   } },
             } };
}

CommandGroup historyCommands()
{
    return { u"History",
             {},
             {
                 { u"search",
                   u"find remembered sessions",
                   u"Finds remembered sessions by any of their words, the best first.",
                   { words },
                   { limit, json },
                   [](const Arguments &a) -> Command {
                       return command::Search { a.operands, a.limit, a.form };
                   } },
                 { u"recent",
                   u"show the most recent ones (N is 20 if not given)",
                   u"Shows the most recent of the remembered sessions.",
                   {},
                   { limit, json },
                   [](const Arguments &a) -> Command {
                       return command::Recent { a.limit, a.form };
                   } },
                 { u"projects",
                   u"show where the agent was used lately",
                   u"Shows the folders in which the agent was used lately.",
                   {},
                   { limit, json },
                   [](const Arguments &a) -> Command {
                       return command::Projects { a.limit, a.form };
                   } },
                 { u"messages",
                   u"show the last N messages of a conversation, from the agent's transcript",
                   u"Shows the last messages of a session's conversation, from the agent's transcript, or of a "
                   "transcript's file.",
                   { source },
                   { limit, json },
                   [](const Arguments &a) -> Command {
                       return command::Messages { a.operands.first(), a.limit, a.form };
                   } },
             } };
}

CommandGroup setUpCommands()
{
    return { u"Set-up",
             {},
             {
                 { u"hook install",
                   u"connect the agent: install its hook",
                   u"Connects the agent: installs its hook, or renews it. Sessions that run already need a restart.",
                   {},
                   { json },
                   [](const Arguments &a) -> Command { return command::HookInstall { a.form }; } },
                 { u"hook status",
                   u"tell whether the hook is installed",
                   u"Tells whether the hook is installed, also by its exit code.",
                   {},
                   { json },
                   [](const Arguments &a) -> Command { return command::HookStatus { a.form }; } },
                 { u"doctor",
                   u"check all that Vantry leans on",
                   u"Checks all that Vantry leans on, one line each, with what to do about what is missing.",
                   {},
                   { json },
                   [](const Arguments &a) -> Command { return command::Doctor { a.form }; } },
             } };
}

CommandGroup windowCommands()
{
    return { u"Windows",
             {},
             {
                 { u"show",
                   u"show the panel",
                   u"Shows the panel of the running Vantry.",
                   {},
                   {},
                   [](const Arguments &) -> Command { return command::Show {}; } },
                 { u"settings",
                   u"show the settings",
                   u"Shows the settings of the running Vantry.",
                   {},
                   {},
                   [](const Arguments &) -> Command { return command::Settings {}; } },
                 { u"quit",
                   u"end the running Vantry",
                   u"Ends the running Vantry. Agents that wait for a decision ask in their terminals instead.",
                   {},
                   {},
                   [](const Arguments &) -> Command { return command::Quit {}; } },
             } };
}

} // namespace

const std::vector<CommandGroup> &commandGroups()
{
    static const std::vector<CommandGroup> groups { sessionCommands(), historyCommands(), setUpCommands(),
                                                    windowCommands() };
    return groups;
}

const std::vector<const CommandEntry *> &allCommands()
{
    static const std::vector<const CommandEntry *> all = [] {
        std::vector<const CommandEntry *> commands;
        for (const CommandGroup &group : commandGroups()) {
            for (const CommandEntry &command : group.commands)
                commands.push_back(&command);
        }
        return commands;
    }();
    return all;
}

const std::vector<OptionEntry> &startOptions()
{
    static const std::vector<OptionEntry> options {
        { .id = OptionID::Headless,
          .name = u"--headless",
          .summary = u"start without windows, notifications and sounds",
          .excludes = OptionID::Demo },
        { .id = OptionID::Demo,
          .name = u"--demo",
          .summary = u"start with invented sessions, for a look",
          .excludes = OptionID::Headless },
        { OptionID::Help, u"--help", u"show the help" },
        { OptionID::Version, u"--version", u"show the version" },
    };
    return options;
}

const std::vector<NamedMeaning> &exitCodes()
{
    static const std::vector<NamedMeaning> codes {
        { u"0", u"done" },
        { u"1", u"refused or not found (hook status: not installed; doctor: the hook, Python, the port, the data "
                "folder or the database needs you)" },
        { u"2", u"wrong usage" },
        { u"3", u"no Vantry is running" },
    };
    return codes;
}

const std::vector<NamedMeaning> &environmentVariables()
{
    static const std::vector<NamedMeaning> variables {
        { u"NO_COLOR", u"Set, it turns colours off." },
        { u"TERMINAL", u"The terminal in which agents are started, where none is open that Vantry can drive." },
        { u"VANTRY_RENDERER", u"Set to \"opengl\", windows are drawn by OpenGL." },
        { u"QT_QPA_PLATFORM", u"The window system; X11 where there is a DISPLAY, if it is not set." },
        { u"XDG_DATA_HOME", u"Where the database and the log are kept, in a folder of Vantry's own." },
        { u"XDG_CONFIG_HOME", u"Where the settings are kept, in a folder of Vantry's own." },
    };
    return variables;
}

const std::vector<NamedMeaning> &files()
{
    static const std::vector<NamedMeaning> names {
        { u"~/.local/share/Vantry/vantry.db", u"The remembered sessions." },
        { u"~/.local/share/Vantry/debug.log", u"The log." },
        { u"~/.config/Vantry/settings.json", u"The settings. A change is taken over at once." },
        { u"~/.config/autostart/com.vantry.app.desktop", u"Starts Vantry at login, if that is set." },
        { u"~/.claude/hooks/vantry_hook.py", u"The hook." },
        { u"~/.claude/settings.json", u"The agent's settings, which name the hook." },
    };
    return names;
}

QString usage(const OptionEntry &option)
{
    return option.value.isEmpty() ? option.name.toString() : option.name + u' ' + option.value;
}

bool isAlternative(const CommandEntry &command, std::size_t option)
{
    return option > 0 && command.options[option].excludes == command.options[option - 1].id;
}

QString usage(const CommandEntry &command)
{
    QString text = command.name.toString();
    for (const OperandEntry &operand : command.operands)
        text += u' ' + operand.name + (operand.isRepeated ? u"..." : u"");
    for (std::size_t i = 0; i < command.options.size(); ++i) {
        if (isAlternative(command, i))
            text.chop(1);
        text += (isAlternative(command, i) ? u" | " : u" [") + usage(command.options[i]) + u']';
    }
    return text;
}

} // namespace vantry
