#include "app/manual/Completions.h"
#include "app/manual/ShellText.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// The word by which the script knows a kind.
QString wordFor(WordKind kind)
{
    switch (kind) {
    case WordKind::LiveSession:
        return u"live"_s;
    case WordKind::RememberedSession:
        return u"remembered"_s;
    case WordKind::RememberedSessionOrFile:
        return u"remembered-or-file"_s;
    case WordKind::Folder:
        return u"folder"_s;
    case WordKind::PermissionMode:
        return u"mode"_s;
    case WordKind::Text:
    case WordKind::Number:
        return u"nothing"_s;
    }
    return {};
}

template <typename Entries>
QString namesOf(const Entries &entries)
{
    QStringList names;
    for (const auto &entry : entries)
        names.append(entry.name.toString());
    return names.join(u' ');
}

QString kindsOfOperands(const CommandEntry &command)
{
    QStringList kinds;
    for (const OperandEntry &operand : command.operands)
        kinds.append(wordFor(operand.kind));
    return kinds.join(u' ');
}

QString permissionModes()
{
    QStringList names;
    for (const AgentPermissionMode mode : allAgentPermissionModes)
        names.append(rawValue(mode));
    return names.join(u' ');
}

QString kindsOfValues()
{
    QString cases;
    for (const OptionEntry &option : optionsWithValues())
        cases += u"        %1) echo %2 ;;\n"_s.arg(option.name, wordFor(option.kind));
    return cases;
}

QString commandCases()
{
    QString cases;
    for (const FirstWord &first : firstWords()) {
        if (first.hasSecondWords()) {
            QStringList second;
            for (const CommandEntry *command : first.commands)
                second.append(lastWord(*command));
            cases += u"        %1) second='%2' ;;\n"_s.arg(first.word, second.join(u' '));
        }
        for (const CommandEntry *command : first.commands)
            cases += u"        '%1') kinds=(%2) options='%3' ;;\n"_s.arg(command->name, kindsOfOperands(*command),
                                                                         namesOf(command->options));
    }
    return cases;
}

} // namespace

QString bashCompletion()
{
    QStringList commands;
    for (const FirstWord &first : firstWords())
        commands.append(first.word);
    return uR"sh(# bash completion for vantry

# _vantry_sessions status|recent: the sessions that this command shows.
_vantry_sessions()
{
    timeout 2 vantry "$1" 2>/dev/null </dev/null |
        sed -En '0,/^ *ID  /d; s/^[!? ]? ?([[:alnum:]][[:alnum:]._-]*)  .*/\1/p'
}

# _vantry_offer KIND WORD: what a word of this kind can become.
_vantry_offer()
{
    case $1 in
        live) mapfile -t COMPREPLY < <(compgen -W "$(_vantry_sessions status)" -- "$2") ;;
        remembered) mapfile -t COMPREPLY < <(compgen -W "$(_vantry_sessions recent)" -- "$2") ;;
        remembered-or-file)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -W "$(_vantry_sessions recent)" -- "$2"; compgen -f -- "$2")
            ;;
        folder)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -d -- "$2")
            ;;
        mode) mapfile -t COMPREPLY < <(compgen -W '%1' -- "$2") ;;
    esac
}

# _vantry_value_of OPTION: the kind of its value; nothing where it has none.
_vantry_value_of()
{
    case $1 in
%2    esac
}

_vantry()
{
    local word=$2 given name='' second='' options='' waiting='' ended=''
    local -a kinds=()
    local -i i operands=0
    COMPREPLY=()
    [[ $word != '=' ]] || word=''

    for ((i = 1; i < COMP_CWORD; i++)); do
        given=${COMP_WORDS[i]}
        if [[ -n $waiting ]]; then
            # An option and its value are three words where "=" stands between them.
            [[ $given == '=' ]] || waiting=''
        elif [[ -z $ended && $given == -- ]]; then
            ended=yes
        elif [[ -z $ended && $given == -* ]]; then
            waiting=$(_vantry_value_of "$given")
        elif [[ -z $name || -n $second ]]; then
            name+=${name:+ }$given
            second=''
            case $name in
%3            esac
        else
            operands+=1
        fi
    done

    if [[ -n $waiting ]]; then
        _vantry_offer "$waiting" "$word"
    elif [[ -z $ended && $word == -* ]]; then
        [[ -n $name ]] || options='%4'
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    elif [[ -z $name ]]; then
        mapfile -t COMPREPLY < <(compgen -W '%5' -- "$word")
    elif [[ -n $second ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$second" -- "$word")
    else
        _vantry_offer "${kinds[operands]:-nothing}" "$word"
    fi
}

complete -F _vantry vantry
)sh"_s.arg(permissionModes(), kindsOfValues(), commandCases(), namesOf(startOptions()), commands.join(u' '));
}

} // namespace vantry
