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
    enum Option { NoOptions = 0, Json = 1, Limit = 2, Stop = 4 };
    enum class Operands { None, SessionID, Words };

    int options { NoOptions };
    Operands operands { Operands::None };
};

/// A command line taken apart: everything but the command's own name.
struct Pieces
{
    QStringList operands;
    OutputForm form { OutputForm::Text };
    int limit { 20 };
    bool stop { false };
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
        { u"hook install"_s, { { G::Json, {} }, [](const Pieces &p) { return command::HookInstall { p.form }; } } },
        { u"hook status"_s, { { G::Json, {} }, [](const Pieces &p) { return command::HookStatus { p.form }; } } },
        { u"doctor"_s, { { G::Json, {} }, [](const Pieces &p) { return command::Doctor { p.form }; } } },
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
        if (argument == u"--json" && (m_grammar.options & Grammar::Json)) {
            m_pieces.form = OutputForm::Json;
        } else if (argument == u"--stop" && (m_grammar.options & Grammar::Stop)) {
            m_pieces.stop = true;
        } else if (argument == u"--limit" && (m_grammar.options & Grammar::Limit)) {
            if (m_rest.isEmpty())
                return UsageError { u"\"--limit\" needs a number"_s };
            return readLimit(m_rest.takeFirst());
        } else if (argument.startsWith(u"--limit=") && (m_grammar.options & Grammar::Limit)) {
            return readLimit(argument.sliced(8));
        } else {
            return unknownOption(argument);
        }
        return std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> readLimit(const QString &text)
    {
        bool isNumber = false;
        const int value = text.toInt(&isNumber);
        if (!isNumber || value < 1)
            return UsageError { u"\"--limit\" needs a whole number from 1 to %1, not \"%2\""_s.arg(
                QString::number(std::numeric_limits<int>::max()), text) };
        m_pieces.limit = value;
        return std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> checkOperands() const
    {
        const QStringList &given = m_pieces.operands;
        switch (m_grammar.operands) {
        case Grammar::Operands::None:
            return given.isEmpty() ? std::nullopt : std::optional(unexpected(given.first()));
        case Grammar::Operands::SessionID:
            if (given.isEmpty() || given.first().isEmpty())
                return UsageError { u"a session's ID is missing"_s };
            return given.size() == 1 ? std::nullopt : std::optional(unexpected(given.at(1)));
        case Grammar::Operands::Words:
            if (given.join(QString()).trimmed().isEmpty())
                return UsageError { u"a word to search for is missing"_s };
            return std::nullopt;
        }
        return std::nullopt;
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
        if (argument != u"--headless")
            return argument.startsWith(u'-') ? unknownOption(argument)
                                             : UsageError { u"unexpected argument \"%1\""_s.arg(argument) };
        start.windows = command::Start::Windows::None;
    }
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
       vantry COMMAND [ARGUMENT...]

Sessions (of the running Vantry)
  status [--json]                   show the live sessions, what needs you first
  watch [--json]                    the same, then every change
  allow ID                          allow what the agent asks for
  deny ID [--stop]                  deny it; --stop ends the agent's turn, too
  always-allow ID                   allow it from now on, as the agent suggests
  kill ID                           end the agent

History
  search WORD... [--limit N] [--json]
                                    find remembered sessions
  recent [--limit N] [--json]       the most recent ones (N is 20 if not given)

Set-up
  hook install [--json]             connect the agent: install its hook
  hook status [--json]              tell whether the hook is installed
  doctor [--json]                   check all that Vantry leans on
  quit                              end the running Vantry

  --help, --version

ID is a session's identifier or the beginning of one, as status shows it.
"--" ends the options. NO_COLOR turns colours off.

Exit codes: 0 done; 1 refused or not found (hook status: not installed; doctor:
the hook, Python, the port, the data folder or the database needs you); 2 wrong
usage; 3 no Vantry is running.
)"_s;
}

} // namespace vantry
