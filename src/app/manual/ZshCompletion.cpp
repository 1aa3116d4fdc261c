#include "app/manual/Completions.h"
#include "app/manual/ShellText.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// What completes a word of this kind, as the end of an argument's description.
QString actionFor(WordKind kind)
{
    switch (kind) {
    case WordKind::LiveSession:
        return u"_vantry_live_sessions"_s;
    case WordKind::RememberedSession:
        return u"_vantry_remembered_sessions"_s;
    case WordKind::RememberedSessionOrFile:
        return u"_vantry_remembered_sessions_or_files"_s;
    case WordKind::Folder:
        return u"_directories"_s;
    case WordKind::PermissionMode:
        return u"_vantry_permission_modes"_s;
    case WordKind::Text:
    case WordKind::Number:
        return u" "_s;
    }
    return {};
}

QString nameOf(OptionID id, const std::vector<OptionEntry> &options)
{
    for (const OptionEntry &option : options) {
        if (option.id == id)
            return option.name.toString();
    }
    return {};
}

/// The arguments of _arguments for these options.
QStringList specsOf(const std::vector<OptionEntry> &options)
{
    QStringList specs;
    for (const OptionEntry &option : options) {
        QString spec;
        if (option.excludes)
            spec += u'(' + nameOf(*option.excludes, options) + u')';
        spec += option.name + (option.value.isEmpty() ? u"" : u"=") + u'[' + option.summary + u']';
        if (!option.value.isEmpty())
            spec += u':' + option.value + u':' + actionFor(option.kind);
        specs.append(shellQuoted(spec));
    }
    return specs;
}

QString argumentsOf(const CommandEntry &command)
{
    QStringList specs = specsOf(command.options);
    for (std::size_t i = 0; i < command.operands.size(); ++i) {
        const OperandEntry &operand = command.operands[i];
        const QString place = operand.isRepeated ? u"*"_s : QString::number(i + 1);
        specs.append(shellQuoted(place + u':' + operand.name + u':' + actionFor(operand.kind)));
    }
    return specs.isEmpty() ? u"_message 'no more arguments'"_s : u"_arguments -S "_s + specs.join(u' ');
}

/// A word and its meaning, as _describe reads them.
QString described(const QString &word, const QString &meaning)
{
    return u"        "_s + shellQuoted(word + u':' + meaning) + u'\n';
}

QString firstWordList()
{
    QString list;
    for (const FirstWord &first : firstWords())
        list += described(first.word, first.summary);
    return list;
}

QString permissionModeList()
{
    QString list;
    for (const AgentPermissionMode mode : allAgentPermissionModes)
        list += described(rawValue(mode), description(mode));
    return list;
}

/// Makes one word of the two by which some commands are called, once both are there.
QString secondWordCases()
{
    QString cases;
    for (const FirstWord &first : firstWords()) {
        if (!first.hasSecondWords())
            continue;
        QString words;
        for (const CommandEntry *command : first.commands)
            words += described(lastWord(*command), shortSummary(command->summary));
        cases += uR"(    (%1)
        subcommands=(
%2        )
        if (( CURRENT == 2 )); then
            _describe -V -t commands command subcommands
            return
        fi
        words[1,2]=("$words[1,2]")
        (( CURRENT-- ))
        ;;
)"_s.arg(first.word, words);
    }
    return cases;
}

QString commandCases()
{
    QString cases;
    for (const CommandEntry *command : allCommands())
        cases += u"    (%1) %2 && found=0 ;;\n"_s.arg(shellQuoted(command->name.toString()), argumentsOf(*command));
    return cases;
}

} // namespace

QString zshCompletion()
{
    return uR"zsh(#compdef vantry

# _vantry_sessions status|recent: offers the sessions that this command shows.
_vantry_sessions() {
    local -a sessions
    sessions=(${(f)"$(timeout 2 vantry $1 2>/dev/null </dev/null |
        sed -En '0,/^ *ID  /d
            s/^[!? ]? ?([[:alnum:]][[:alnum:]._-]*)  +(.*)/\1:\2/
            T
            s/  +/, /g
            p')"})
    _describe -V -t sessions session sessions
}

_vantry_live_sessions() { _vantry_sessions status }
_vantry_remembered_sessions() { _vantry_sessions recent }
_vantry_remembered_sessions_or_files() { _alternative 'sessions: :_vantry_remembered_sessions' 'files: :_files' }

_vantry_permission_modes() {
    local -a modes=(
%1    )
    _describe -V -t modes 'permission mode' modes
}

_vantry_commands() {
    local -a commands=(
%2    )
    _describe -V -t commands command commands
}

_vantry() {
    local curcontext=$curcontext state state_descr line
    local -A opt_args
    local -i found=1
    local -a subcommands

    _arguments -C -S %3 '1: :_vantry_commands' '*:: :->arguments' && found=0
    [[ $state == arguments ]] || return found

    case $words[1] in
%4    esac
    case $words[1] in
%5    esac
    return found
}

_vantry "$@"
)zsh"_s.arg(permissionModeList(), firstWordList(), specsOf(startOptions()).join(u' '), secondWordCases(),
            commandCases());
}

} // namespace vantry
