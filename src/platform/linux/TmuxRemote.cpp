#include "platform/linux/TmuxRemote.h"

#include "base/Subprocess.h"

#include <QFile>
#include <QStandardPaths>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace vantry {
namespace {

bool isPaneIdentifier(QStringView text)
{
    constexpr qsizetype mostDigits = 10; // of a 32-bit number
    return text.size() > 1 && text.size() <= mostDigits + 1 && text.front() == u'%' &&
           std::ranges::all_of(text.sliced(1), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

/// tmux takes a semicolon at an argument's end for the end of the command, and a backslash in front of it away.
QString escaped(const QString &argument)
{
    return argument.endsWith(u';') ? QStringView(argument).chopped(1) + u"\\;" : argument;
}

/// What tmux says, as one line for a person.
QString failureIn(const QByteArray &standardError, const QString &socket)
{
    const QString text = QString::fromUtf8(standardError).trimmed();
    constexpr std::array gone { u"no server running", u"error connecting", u"server exited", u"lost server" };
    if (std::ranges::any_of(gone, [&](const char16_t *sign) { return text.startsWith(QStringView(sign)); }))
        return u"no tmux server answers at " + socket;
    if (text.startsWith(u"can't find pane") || text.startsWith(u"no such pane"))
        return QStringLiteral("the tmux pane is gone");
    return text.isEmpty() ? QStringLiteral("tmux failed") : u"tmux: " + text.section(u'\n', 0, 0);
}

} // namespace

std::optional<TmuxPane> TmuxPane::parse(const QString &identifier)
{
    const qsizetype comma = identifier.lastIndexOf(u',');
    if (!identifier.startsWith(u'/') || comma < 2 || !isPaneIdentifier(QStringView(identifier).sliced(comma + 1)))
        return std::nullopt;
    const auto isControl = [](QChar c) { return c.category() == QChar::Other_Control; };
    if (std::ranges::any_of(identifier, isControl))
        return std::nullopt;
    return TmuxPane { identifier.first(comma), identifier.sliced(comma + 1) };
}

TmuxRemote::TmuxRemote(QString socket, std::chrono::milliseconds patience)
    : m_socket(std::move(socket))
    , m_patience(patience)
{}

QString TmuxRemote::program()
{
    return QStandardPaths::findExecutable(QStringLiteral("tmux"));
}

std::optional<QString> TmuxRemote::refusal() const
{
    struct stat status
    {};
    if (stat(QFile::encodeName(m_socket).constData(), &status) != 0)
        return u"no tmux server answers at " + m_socket;
    if (!S_ISSOCK(status.st_mode) || status.st_uid != geteuid())
        return m_socket + u" is no tmux socket of this user";
    return std::nullopt;
}

TmuxRemote::Reply TmuxRemote::run(const QList<Command> &commands, const QString &directory) const
{
    if (auto reason = refusal())
        return { reason };
    Subprocess tmux;
    tmux.executable = program();
    if (tmux.executable.isEmpty())
        return { QStringLiteral("the program tmux is not installed") };
    // Without -u, what isn't ASCII would come back as underscores where the locale is none of UTF-8.
    tmux.arguments = { QStringLiteral("-u"), QStringLiteral("-S"), m_socket };
    const qsizetype options = tmux.arguments.size();
    for (const Command &command : commands) {
        if (tmux.arguments.size() > options)
            tmux.arguments.append(QStringLiteral(";"));
        std::ranges::transform(command, std::back_inserter(tmux.arguments), escaped);
    }
    tmux.workingDirectory = directory;
    tmux.removedVariables = { QStringLiteral("TMUX"), QStringLiteral("TMUX_PANE") };
    tmux.timeout = m_patience;

    const Subprocess::Result result = tmux.run();
    if (!result.started)
        return { QStringLiteral("tmux could not be started") };
    if (result.exitStatus < 0)
        return { u"the tmux server at " + m_socket + u" does not answer" };
    if (result.exitStatus != 0)
        return { failureIn(result.standardError, m_socket) };
    return { std::nullopt, QString::fromUtf8(result.standardOutput).split(u'\n') };
}

} // namespace vantry
