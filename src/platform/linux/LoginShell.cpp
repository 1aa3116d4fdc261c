#include "platform/linux/LoginShell.h"

#include <QFile>
#include <QFileInfo>

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

namespace vantry {
namespace {

// What a shell runs with -c, or as a start-up file, has no job control: there Ctrl-C would end the shell with the
// command, and a command stopped by Ctrl-Z could never be continued. So the command line waits in a variable until the
// shell is about to show its first prompt, after all of the user's start-up files. The file that arranges for this
// comes from a here-document, and is gone once it has been read.

/// Run by `bash -l -c`, which has read the login files: an interactive shell follows, which reads ~/.bashrc.
constexpr const char *bashStart = R"sh(
VANTRY_COMMAND_LINE=$1 exec "$0" --rcfile /dev/fd/9 -i 9<<'END'
exec 9<&-
[ ! -r ~/.bashrc ] || . ~/.bashrc
vantry_prompt_command=("${PROMPT_COMMAND[@]}")
vantry_first_prompt() {
    local vantry_command=$VANTRY_COMMAND_LINE
    PROMPT_COMMAND=("${vantry_prompt_command[@]}")
    unset VANTRY_COMMAND_LINE vantry_prompt_command
    unset -f vantry_first_prompt
    history -s -- "$vantry_command"
    eval "$vantry_command"
    for vantry_command in "${PROMPT_COMMAND[@]}"; do eval "$vantry_command"; done
}
unset PROMPT_COMMAND
PROMPT_COMMAND=vantry_first_prompt
END
)sh";

/// Run by /bin/sh: zsh looks for its start-up files in $ZDOTDIR, which for the first of them is a folder of ours.
constexpr const char *zshStart = R"sh(
export VANTRY_COMMAND_LINE="$1"
folder=$(mktemp -d) || exec "$0" -l -i -c 'eval "$VANTRY_COMMAND_LINE"; exec "$0" -l -i' "$0"
cat >"$folder/.zshenv" <<'END'
rm -rf -- "$ZDOTDIR"
if (( ${+VANTRY_ZDOTDIR} )); then ZDOTDIR=$VANTRY_ZDOTDIR; else unset ZDOTDIR; fi
unset VANTRY_ZDOTDIR
[[ ! -r ${ZDOTDIR-$HOME}/.zshenv ]] || . "${ZDOTDIR-$HOME}/.zshenv"
vantry_first_prompt() {
    local vantry_command=$VANTRY_COMMAND_LINE
    precmd_functions=(${precmd_functions:#vantry_first_prompt})
    unset VANTRY_COMMAND_LINE
    unfunction vantry_first_prompt
    print -rs -- "$vantry_command"
    eval "$vantry_command"
}
precmd_functions+=(vantry_first_prompt)
END
[ -z "${ZDOTDIR+set}" ] || export VANTRY_ZDOTDIR="$ZDOTDIR"
ZDOTDIR=$folder exec "$0" -l -i
)sh";

/// Run by the login shell itself. Such shells do have job control in the file that $ENV names.
constexpr const char *posixStart = R"sh(
VANTRY_ENV=${ENV-} VANTRY_COMMAND_LINE=$1 ENV=/dev/fd/9 exec "$0" -i 9<<'END'
exec 9<&-
ENV=$VANTRY_ENV
unset VANTRY_ENV
[ ! -r "$ENV" ] || . "$ENV"
eval "unset VANTRY_COMMAND_LINE; $VANTRY_COMMAND_LINE"
END
)sh";

/// Run by /bin/sh. The signals of the keys are for the command alone.
constexpr const char *fallbackStart = R"sh(
trap : INT QUIT TSTP
(eval "$1")
trap - INT QUIT TSTP
exec "$0"
)sh";

bool canBeShell(const QString &path)
{
    const QFileInfo file(path);
    const QString name = file.fileName();
    return file.isAbsolute() && file.isFile() && file.isExecutable() && name != u"nologin" && name != u"false";
}

QString shellOfPasswordFile()
{
    passwd entry {};
    passwd *found = nullptr;
    std::vector<char> texts(64 * 1024);
    if (getpwuid_r(geteuid(), &entry, texts.data(), texts.size(), &found) != 0 || !found)
        return {};
    return QFile::decodeName(entry.pw_shell);
}

/// fish takes a backslash within single quotes for an escape; else such a command line means the same there.
QString quotedForFish(const QString &commandLine)
{
    QString result;
    bool isQuoted = false;
    bool isEscaped = false;
    for (const QChar c : commandLine) {
        if (c == u'\'' && !isEscaped)
            isQuoted = !isQuoted;
        isEscaped = c == u'\\' && !isQuoted && !isEscaped;
        if (c == u'\\' && isQuoted)
            result.append(c);
        result.append(c);
    }
    return result;
}

} // namespace

QString loginShell()
{
    for (const QString &shell : { shellOfPasswordFile(), qEnvironmentVariable("SHELL") }) {
        if (canBeShell(shell))
            return shell;
    }
    return QStringLiteral("/bin/sh");
}

QStringList loginShellArguments(const QString &commandLine)
{
    return loginShellArguments(loginShell(), commandLine);
}

QStringList loginShellArguments(const QString &shell, const QString &commandLine)
{
    const QString standardShell = QStringLiteral("/bin/sh");
    const QString login = QStringLiteral("-l");
    const QString command = QStringLiteral("-c");
    const QString name = QFileInfo(shell).fileName();
    if (name == u"bash")
        return { shell, login, command, QLatin1String(bashStart), shell, commandLine };
    if (name == u"zsh")
        return { standardShell, command, QLatin1String(zshStart), shell, commandLine };
    if (name == u"fish") {
        return { shell, login, QStringLiteral("-i"), QStringLiteral("-C"),
                 u"status job-control full; " + quotedForFish(commandLine) + u"; status job-control interactive" };
    }
    constexpr std::array posixShells { u"sh", u"dash", u"ash", u"mksh" };
    if (std::ranges::find(posixShells, QStringView(name)) != posixShells.end())
        return { shell, login, command, QLatin1String(posixStart), shell, commandLine };
    return { standardShell, login, command, QLatin1String(fallbackStart), shell, commandLine };
}

QStringList variablesNotForShells()
{
    return { QStringLiteral("QT_*"), QStringLiteral("TMUX"), QStringLiteral("TMUX_PANE"), QStringLiteral("GIT_*"),
             QStringLiteral("VANTRY_*") };
}

} // namespace vantry
