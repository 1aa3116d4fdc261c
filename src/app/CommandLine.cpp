#include "app/CommandLine.h"

#include "app/CommandTable.h"

#include <QSet>

#include <algorithm>
#include <limits>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

using Parsed = std::variant<Command, UsageError>;

UsageError unknownOption(const QString &argument)
{
    return { u"unknown option \"%1\""_s.arg(argument) };
}

UsageError unexpected(const QString &argument)
{
    return { u"unexpected argument \"%1\""_s.arg(argument) };
}

/// Reads one command's arguments from left to right.
class Reader
{
public:
    Reader(const CommandEntry &command, QStringList arguments)
        : m_command(command)
        , m_rest(std::move(arguments))
    {}

    [[nodiscard]] std::variant<Arguments, UsageError> read()
    {
        bool optionsEnded = false;
        while (!m_rest.isEmpty()) {
            const QString argument = m_rest.takeFirst();
            if (optionsEnded || !argument.startsWith(u'-') || argument == u"-") {
                m_arguments.operands.append(argument);
            } else if (argument == u"--") {
                optionsEnded = true;
            } else if (const auto error = readOption(argument)) {
                return *error;
            }
        }
        if (const auto error = checkOperands())
            return *error;
        return m_arguments;
    }

private:
    /// The value of an option is the text behind "=", else the next argument.
    [[nodiscard]] std::optional<UsageError> readOption(const QString &argument)
    {
        const qsizetype equals = argument.indexOf(u'=');
        const QString name = argument.first(equals < 0 ? argument.size() : equals);
        const auto option = std::ranges::find(m_command.options, name, &OptionEntry::name);
        if (option == m_command.options.end() || (option->value.isEmpty() && equals >= 0))
            return unknownOption(argument);
        if (option->excludes && m_given.contains(*option->excludes))
            return UsageError { u"\"--resume\" and \"--continue\" can't go together"_s };
        m_given.insert(option->id);
        if (option->value.isEmpty())
            return take(*option, {});
        if (equals < 0 && m_rest.isEmpty())
            return UsageError { u"\"%1\" needs %2"_s.arg(option->name, option->meaning) };
        return take(*option, equals < 0 ? m_rest.takeFirst() : argument.sliced(equals + 1));
    }

    [[nodiscard]] std::optional<UsageError> take(const OptionEntry &option, const QString &value)
    {
        using Mode = command::Launch::Mode;
        switch (option.id) {
        case OptionID::Json:
            m_arguments.form = OutputForm::Json;
            break;
        case OptionID::Stop:
            m_arguments.stop = true;
            break;
        case OptionID::Continue:
            m_arguments.launchMode = Mode::ContinueLatest;
            break;
        case OptionID::Resume:
            if (value.isEmpty())
                return UsageError { u"\"%1\" needs %2"_s.arg(option.name, option.meaning) };
            m_arguments.launchMode = Mode::Resume;
            m_arguments.resumedID = value;
            break;
        case OptionID::Limit:
            return takeLimit(value);
        case OptionID::Mode:
            return takePermissionMode(value);
        case OptionID::Headless:
        case OptionID::Demo:
        case OptionID::Help:
        case OptionID::Version:
            return unknownOption(option.name.toString()); // No command has them.
        }
        return std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> takeLimit(const QString &text)
    {
        const auto value = wholeNumber(text);
        if (!value || *value < 1)
            return UsageError { u"\"--limit\" needs a whole number from 1 to %1, not \"%2\""_s.arg(
                QString::number(std::numeric_limits<int>::max()), text) };
        m_arguments.limit = *value;
        return std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> takePermissionMode(const QString &text)
    {
        const auto mode = agentPermissionModeFromRawValue(text);
        if (!mode)
            return UsageError { u"there is no permission mode \"%1\", only %2"_s.arg(
                text, permissionModeNames().join(u", ")) };
        m_arguments.permissionMode = *mode;
        return std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> checkOperands()
    {
        const QStringList &given = m_arguments.operands;
        const auto &wanted = m_command.operands;
        const auto count = static_cast<qsizetype>(wanted.size());
        for (qsizetype i = 0; i < count; ++i) {
            const OperandEntry &operand = wanted[static_cast<std::size_t>(i)];
            if (auto error = checkOperand(operand, operand.isRepeated ? given.mid(i) : given.mid(i, 1)))
                return error;
        }
        if (given.size() > count && (wanted.empty() || !wanted.back().isRepeated))
            return unexpected(given.at(count));
        return std::nullopt;
    }

    [[nodiscard]] std::optional<UsageError> checkOperand(const OperandEntry &operand, const QStringList &given)
    {
        const QString text = given.join(QString());
        if (operand.kind == WordKind::Number) {
            const auto number = wholeNumber(text);
            if (!number || *number < 0)
                return UsageError { u"%1 is missing; the first one is 0"_s.arg(operand.meaning) };
            m_arguments.index = *number;
        } else if (operand.isRepeated ? text.trimmed().isEmpty() : text.isEmpty()) {
            return UsageError { u"%1 is missing"_s.arg(operand.meaning) };
        }
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

    const CommandEntry &m_command;
    QStringList m_rest;
    QSet<OptionID> m_given;
    Arguments m_arguments;
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
            return argument.startsWith(u'-') ? unknownOption(argument) : unexpected(argument);
    }
    if (start.windows == command::Start::Windows::None && start.sessions == command::Start::Sessions::Invented)
        return UsageError { u"\"--demo\" is for looking at, and \"--headless\" shows nothing"_s };
    return Command { start };
}

/// The second words of the commands that begin with this one; empty for a command of one word.
QStringList secondWords(const QString &first)
{
    const QString beginning = first + u' ';
    QStringList words;
    for (const CommandEntry *command : allCommands()) {
        if (command->name.startsWith(beginning))
            words.append(command->name.sliced(beginning.size()).toString());
    }
    return words;
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
    if (const QStringList second = secondWords(name); !second.isEmpty()) {
        if (rest.isEmpty() || rest.first().startsWith(u'-'))
            return UsageError { u"\"%1\" needs \"%2\""_s.arg(name, second.join(u"\" or \"")) };
        name += u' ' + rest.takeFirst();
    }
    const auto &commands = allCommands();
    const auto found = std::ranges::find(commands, name, [](const CommandEntry *command) { return command->name; });
    if (found == commands.end())
        return UsageError { u"unknown command \"%1\""_s.arg(name) };

    auto read = Reader(**found, std::move(rest)).read();
    if (auto *error = std::get_if<UsageError>(&read))
        return std::move(*error);
    return (*found)->make(std::get<Arguments>(read));
}

} // namespace vantry
