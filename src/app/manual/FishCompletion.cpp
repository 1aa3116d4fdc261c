#include "app/manual/Completions.h"
#include "app/manual/ShellText.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// What completes a word of this kind, as arguments of `complete`. Files are off unless asked for.
QString argumentsFor(WordKind kind)
{
    switch (kind) {
    case WordKind::LiveSession:
        return u" -a '(__vantry_sessions status)'"_s;
    case WordKind::RememberedSession:
        return u" -a '(__vantry_sessions recent)'"_s;
    case WordKind::RememberedSessionOrFile:
        return u" -F -a '(__vantry_sessions recent)'"_s;
    case WordKind::Folder:
        return u" -a '(__fish_complete_directories)'"_s;
    case WordKind::PermissionMode:
        return u" -a '(__vantry_permission_modes)'"_s;
    case WordKind::Text:
    case WordKind::Number:
        return {};
    }
    return {};
}

/// One line, which holds where `condition` does.
QString completion(const QString &condition, const QString &rest)
{
    return u"complete -c vantry -n "_s + shellQuoted(condition) + rest + u'\n';
}

QString described(QStringView summary)
{
    return u" -d "_s + shellQuoted(summary.toString());
}

QString optionLine(const QString &condition, const OptionEntry &option)
{
    QString rest = u" -l "_s + option.name.sliced(2);
    if (!option.value.isEmpty())
        rest += u" -x" + argumentsFor(option.kind);
    return completion(condition, rest + described(option.summary));
}

/// Whether the line calls this command; with a number, only where that many operands stand before the cursor.
QString condition(QStringView command, std::optional<std::size_t> operandCount = {})
{
    return u"__vantry_calls "_s + (operandCount ? QString::number(*operandCount) : u"any"_s) +
           (command.isEmpty() ? QString() : u' ' + command.toString());
}

QString commandLines(const CommandEntry &command)
{
    QString lines;
    for (std::size_t i = 0; i < command.operands.size(); ++i) {
        const QString arguments = argumentsFor(command.operands[i].kind);
        if (!arguments.isEmpty())
            lines += completion(condition(command.name, i), arguments);
    }
    for (const OptionEntry &option : command.options)
        lines += optionLine(condition(command.name), option);
    return lines;
}

QString firstWordLines(const FirstWord &first)
{
    QString lines = completion(condition({}, 0), u" -a "_s + first.word + described(first.summary));
    if (!first.hasSecondWords())
        return lines;
    for (const CommandEntry *command : first.commands) {
        lines += completion(condition(first.word, 0),
                            u" -a "_s + lastWord(*command) + described(shortSummary(command->summary)));
    }
    return lines;
}

QString permissionModes()
{
    QString list;
    for (const AgentPermissionMode mode : allAgentPermissionModes)
        list += u"    echo %1\\t%2\n"_s.arg(rawValue(mode), shellQuoted(description(mode)));
    return list;
}

QString namesOfOptionsWithValues()
{
    QStringList names;
    for (const OptionEntry &option : optionsWithValues())
        names.append(option.name.toString());
    return names.join(u' ');
}

} // namespace

QString fishCompletion()
{
    QString text = uR"fish(# fish completion for vantry

# __vantry_sessions status|recent: the sessions that this command shows, with what it says about them.
function __vantry_sessions
    timeout 2 vantry $argv[1] 2>/dev/null </dev/null |
        sed -En '0,/^ *ID  /d
            s/^[!? ]? ?([[:alnum:]][[:alnum:]._-]*)  +(.*)/\1\t\2/
            T
            s/  +/, /g
            p'
end

function __vantry_permission_modes
%1end

# __vantry_calls any|COUNT WORD...: whether the line begins with these words, and COUNT words that are no options stand
# behind them and before the cursor.
function __vantry_calls
    set -l words
    set -l skip no
    set -l ended no
    for token in (commandline -opc)[2..]
        if test $skip = yes
            set skip no
        else if test $ended = no -a "x$token" = x--
            set ended yes
        else if test $ended = no && string match -q -- '-*' $token
            contains -- $token %2 && set skip yes
        else
            set -a words $token
        end
    end
    set -l command $argv[2..]
    set -l count (count $command)
    test (count $words) -ge $count || return 1
    if test $count -gt 0
        test "$words[1..$count]" = "$command" || return 1
    end
    test $argv[1] = any || test (math (count $words) - $count) -eq $argv[1]
end

complete -c vantry -f
)fish"_s.arg(permissionModes(), namesOfOptionsWithValues());
    for (const OptionEntry &option : startOptions())
        text += optionLine(condition({}, 0), option);
    for (const FirstWord &first : firstWords())
        text += firstWordLines(first);
    for (const CommandEntry *command : allCommands())
        text += commandLines(*command);
    return text;
}

} // namespace vantry
