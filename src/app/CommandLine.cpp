#include "app/CommandLine.h"

#include <QHash>

#include <functional>
#include <limits>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

using Parsed = std::variant<Command, UsageError>;

/// What a command takes, and how it is made from that.
struct Grammar
{
    enum Option { NoOptions = 0, Json = 1, Limit = 2, Stop = 4, LaunchOptions = 8 };
    enum class Operands { None, SessionID, SessionAndIndex, SessionAndText, Path, Source, Words };

    int options { NoOptions };
    Operands operands { Operands::None };
};

/// A command line taken apart: everything but the command's own name.
struct Pieces
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

using Make = std::function<Command(const Pieces &)>;

struct Entry
{
    Grammar grammar;
    Make make;
};

const QHash<QString, Entry> &commands()
{
    using G = Grammar;
    static const QHash<QString, Entry> table {
        { u"status"_s, { { G::Json, {} }, [](const Pieces &p) { return command::Status { p.form }; } } },
        { u"watch"_s, { { G::Json, {} }, [](const Pieces &p) { return command::Watch { p.form }; } } },
        { u"allow"_s,
          { { G::NoOptions, G::Operands::SessionID },
            [](const Pieces &p) { return command::Allow { p.operands.first() }; } } },
        { u"deny"_s,
          { { G::Stop, G::Operands::SessionID },
            [](const Pieces &p) {
                using Agent = command::Deny::Agent;
                return command::Deny { p.operands.first(), p.stop ? Agent::Stops : Agent::GoesOn };
            } } },
        { u"always-allow"_s,
          { { G::NoOptions, G::Operands::SessionID },
            [](const Pieces &p) { return command::AlwaysAllow { p.operands.first() }; } } },
        { u"answer"_s,
          { { G::NoOptions, G::Operands::SessionAndIndex },
            [](const Pieces &p) {
                return command::Answer { p.operands.first(), p.index };
            } } },
        { u"send"_s,
          { { G::NoOptions, G::Operands::SessionAndText },
            [](const Pieces &p) {
                return command::Send { p.operands.first(), p.operands.sliced(1).join(u' ') };
            } } },
        { u"focus"_s,
          { { G::NoOptions, G::Operands::SessionID },
            [](const Pieces &p) { return command::Focus { p.operands.first() }; } } },
        { u"launch"_s,
          { { G::LaunchOptions, G::Operands::Path },
            [](const Pieces &p) {
                return command::Launch { p.operands.first(), p.launchMode, p.resumedID, p.permissionMode };
            } } },
        { u"kill"_s,
          { { G::NoOptions, G::Operands::SessionID },
            [](const Pieces &p) { return command::Kill { p.operands.first() }; } } },
        { u"search"_s,
          { { G::Json | G::Limit, G::Operands::Words },
            [](const Pieces &p) {
                return command::Search { p.operands, p.limit, p.form };
            } } },
        { u"recent"_s,
          { { G::Json | G::Limit, {} },
            [](const Pieces &p) {
                return command::Recent { p.limit, p.form };
            } } },
        { u"projects"_s,
          { { G::Json | G::Limit, {} },
            [](const Pieces &p) {
                return command::Projects { p.limit, p.form };
            } } },
        { u"messages"_s,
          { { G::Json | G::Limit, G::Operands::Source },
            [](const Pieces &p) {
                return command::Messages { p.operands.first(), p.limit, p.form };
            } } },
        { u"hook install"_s, { { G::Json, {} }, [](const Pieces &p) { return command::HookInstall { p.form }; } } },
        { u"hook status"_s, { { G::Json, {} }, [](const Pieces &p) { return command::HookStatus { p.form }; } } },
        { u"doctor"_s, { { G::Json, {} }, [](const Pieces &p) { return command::Doctor { p.form }; } } },
        { u"show"_s, { {}, [](const Pieces &) { return command::Show {}; } } },
        { u"settings"_s, { {}, [](const Pieces &) { return command::Settings {}; } } },
        { u"quit"_s, { {}, [](const Pieces &) { return command::Quit {}; } } },
    };
    return table;
}

UsageError unknownOption(const QString &argument)
{
    return { u"unknown option \"%1\""_s.arg(argument) };
}

/// Reads one command's arguments from left to right.
class Reader
{
public:
    Reader(Grammar grammar, QStringList arguments)
        : m_grammar(grammar)
        , m_rest(std::move(arguments))
    {}

    [[nodiscard]] std::variant<Pieces, UsageError> read()
    {
        bool optionsEnded = false;
        while (!m_rest.isEmpty()) {
            const QString argument = m_rest.takeFirst();
            if (optionsEnded || !argument.startsWith(u'-') || argument == u"-") {
                m_pieces.operands.append(argument);
            } else if (argument == u"--") {
                optionsEnded = true;
            } else if (const auto error = readOption(argument)) {
                return *error;
            }
        }
        if (const auto error = checkOperands())
            return *error;
        return m_pieces;
    }

private:
    [[nodiscard]] std::optional<UsageError> readOption(const QString &argument)
    {
        const bool launches = m_grammar.options & Grammar::LaunchOptions;
        const QString name = argument.section(u'=', 0, 0);
        if (argument == u"--json" && (m_grammar.options & Grammar::Json)) {
            m_pieces.form = OutputForm::Json;
        } else if (argument == u"--stop" && (m_grammar.options & Grammar::Stop)) {
            m_pieces.stop = true;
        } else if (argument == u"--continue" && launches) {
            return readLaunchMode(command::Launch::Mode::ContinueLatest);
        } else if (name == u"--limit" && (m_grammar.options & Grammar::Limit)) {
            return readValue(argument, u"a number"_s, &Reader::readLimit);
        } else if (name == u"--resume" && launches) {
            return readValue(argument, u"a session's ID"_s, &Reader::readResumed);
        } else if (name == u"--mode" && launches) {
            return readValue(argument, u"a permission mode"_s, &Reader::readPermissionMode);
        } else {
            return unknownOption(argument);
        }
        return std::nullopt;
    }

    /// The value is the text behind "=", else the next argument.
    [[nodiscard]] std::optional<UsageError> readValue(const QString &option, const QString &what,
                                                      std::optional<UsageError> (Reader::*take)(const QString &))
    {
        const qsizetype equals = option.indexOf(u'=');
        if (equals < 0 && m_rest.isEmpty())
            return UsageError { u"\"%1\" needs %2"_s.arg(option, what) };
        return (this->*take)(equals < 0 ? m_rest.takeFirst() : option.sliced(equals + 1));
    }

    [[nodiscard]] std::optional<UsageError> readLimit(const QString &text)
    {
        const auto value = wholeNumber(text);
        if (!value || *value < 1)
            return UsageError { u"\"--limit\" needs a whole number from 1 to %1, not \"%2\""_s.arg(
                QString::number(std::numeric_limits<int>::max()), text) };
        m_pieces.limit = *value;
        return std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> readResumed(const QString &text)
    {
        if (text.isEmpty())
            return UsageError { u"\"--resume\" needs a session's ID"_s };
        m_pieces.resumedID = text;
        return readLaunchMode(command::Launch::Mode::Resume);
    }

    [[nodiscard]] std::optional<UsageError> readLaunchMode(command::Launch::Mode mode)
    {
        using Mode = command::Launch::Mode;
        if (m_pieces.launchMode != Mode::Fresh && m_pieces.launchMode != mode)
            return UsageError { u"\"--resume\" and \"--continue\" can't go together"_s };
        m_pieces.launchMode = mode;
        return std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> readPermissionMode(const QString &text)
    {
        const auto mode = agentPermissionModeFromRawValue(text);
        if (!mode)
            return UsageError { u"there is no permission mode \"%1\", only %2"_s.arg(
                text, permissionModeNames().join(u", ")) };
        m_pieces.permissionMode = *mode;
        return std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> checkOperands()
    {
        using Operands = Grammar::Operands;
        const QStringList &given = m_pieces.operands;
        switch (m_grammar.operands) {
        case Operands::None:
            return checkCount(0, {});
        case Operands::SessionID:
            return checkCount(1, u"a session's ID is missing"_s);
        case Operands::Path:
            return checkCount(1, u"a project's path is missing"_s);
        case Operands::Source:
            return checkCount(1, u"a session's ID or a file is missing"_s);
        case Operands::SessionAndIndex:
            return checkIndex();
        case Operands::SessionAndText:
            if (given.isEmpty() || given.first().isEmpty())
                return UsageError { u"a session's ID is missing"_s };
            return given.sliced(1).join(QString()).trimmed().isEmpty()
                       ? std::optional(UsageError { u"a text to send is missing"_s })
                       : std::nullopt;
        case Operands::Words:
            if (given.join(QString()).trimmed().isEmpty())
                return UsageError { u"a word to search for is missing"_s };
            return std::nullopt;
        }
        return std::nullopt;
    }

    /// Of several operands only the first is looked for here.
    [[nodiscard]] std::optional<UsageError> checkCount(qsizetype count, const QString &ifMissing) const
    {
        const QStringList &given = m_pieces.operands;
        if (count > 0 && (given.isEmpty() || given.first().isEmpty()))
            return UsageError { ifMissing };
        return given.size() > count ? std::optional(unexpected(given.at(count))) : std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> checkIndex()
    {
        if (const auto error = checkCount(2, u"a session's ID is missing"_s))
            return error;
        const auto index = wholeNumber(m_pieces.operands.value(1));
        if (!index || *index < 0)
            return UsageError { u"an option's number is missing; the first one is 0"_s };
        m_pieces.index = *index;
        return std::nullopt;
    }

    [[nodiscard]] static std::optional<int> wholeNumber(const QString &text)
    {
        bool isNumber = false;
        const int value = text.toInt(&isNumber);
        return isNumber ? std::optional(value) : std::nullopt;
    }

    [[nodiscard]] static QStringList permissionModeNames()
    {
        QStringList names;
        for (const AgentPermissionMode mode : allAgentPermissionModes)
            names.append(rawValue(mode));
        return names;
    }

    static UsageError unexpected(const QString &argument) { return { u"unexpected argument \"%1\""_s.arg(argument) }; }

    const Grammar m_grammar;
    QStringList m_rest;
    Pieces m_pieces;
};

Parsed parseStart(const QStringList &arguments)
{
    command::Start start;
    for (const QString &argument : arguments) {
        if (argument == u"--headless")
            start.windows = command::Start::Windows::None;
        else if (argument == u"--demo")
            start.sessions = command::Start::Sessions::Invented;
        else
            return argument.startsWith(u'-') ? unknownOption(argument)
                                             : UsageError { u"unexpected argument \"%1\""_s.arg(argument) };
    }
    if (start.windows == command::Start::Windows::None && start.sessions == command::Start::Sessions::Invented)
        return UsageError { u"\"--demo\" is for looking at, and \"--headless\" shows nothing"_s };
    return Command { start };
}

bool asksFor(const QStringList &arguments, const QString &longForm, const QString &shortForm)
{
    for (const QString &argument : arguments) {
        if (argument == u"--")
            return false;
        if (argument == longForm || argument == shortForm)
            return true;
    }
    return false;
}

} // namespace

Parsed parseCommandLine(const QStringList &arguments)
{
    if (asksFor(arguments, u"--help"_s, u"-h"_s))
        return Command { command::Help {} };
    if (arguments.isEmpty() || arguments.first().startsWith(u'-')) {
        if (arguments.size() == 1 && arguments.first() == u"--version")
            return Command { command::Version {} };
        return parseStart(arguments);
    }

    QStringList rest = arguments;
    QString name = rest.takeFirst();
    if (name == u"hook") {
        if (rest.isEmpty() || rest.first().startsWith(u'-'))
            return UsageError { u"\"hook\" needs \"install\" or \"status\""_s };
        name += u' ' + rest.takeFirst();
    }
    const auto entry = commands().constFind(name);
    if (entry == commands().cend())
        return UsageError { u"unknown command \"%1\""_s.arg(name) };

    auto pieces = Reader(entry->grammar, std::move(rest)).read();
    if (auto *error = std::get_if<UsageError>(&pieces))
        return std::move(*error);
    return entry->make(std::get<Pieces>(pieces));
}

QString helpText()
{
    return uR"(Vantry shows what your coding agents are doing, and lets you answer them.

Usage: vantry [--headless]          start; a second start finds the first
       vantry --demo                start with invented sessions, for a look
       vantry COMMAND [ARGUMENT...]

Sessions (of the running Vantry)
  status [--json]                   show the live sessions, what needs you first
  watch [--json]                    the same, then every change
  allow ID                          allow what the agent asks for
  deny ID [--stop]                  deny it; --stop ends the agent's turn, too
  always-allow ID                   allow it from now on, as the agent suggests
  answer ID INDEX                   choose an option of its question; the first
                                    one is 0
  send ID TEXT...                   type a line into its terminal
  focus ID                          bring its terminal forward
  kill ID                           end the agent and close its terminal
  launch PATH [--resume ID | --continue] [--mode MODE]
                                    start the agent in a project's folder; MODE
                                    is askPermissions, autoAcceptEdits, planMode
                                    or bypassPermissions

History
  search WORD... [--limit N] [--json]
                                    find remembered sessions
  recent [--limit N] [--json]       the most recent ones (N is 20 if not given)
  projects [--limit N] [--json]     where the agent was used lately
  messages ID|FILE [--limit N] [--json]
                                    the last N messages of a conversation, from
                                    the agent's transcript

Set-up
  hook install [--json]             connect the agent: install its hook
  hook status [--json]              tell whether the hook is installed
  doctor [--json]                   check all that Vantry leans on

Windows
  show                              show the panel
  settings                          show the settings
  quit                              end the running Vantry

  --help, --version

ID is a session's identifier or the beginning of one, as status and recent show
it.
"--" ends the options. NO_COLOR turns colours off.

Exit codes: 0 done; 1 refused or not found (hook status: not installed; doctor:
the hook, Python, the port, the data folder or the database needs you); 2 wrong
usage; 3 no Vantry is running.
)"_s;
}

} // namespace vantry
