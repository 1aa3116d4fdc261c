#include "terminal/TerminalScripts.h"

namespace vantry::TerminalScripts {

namespace {

constexpr QStringView itermSessionScriptHead = u"tell application \"iTerm2\"\n"
                                               u"    repeat with w in windows\n"
                                               u"        repeat with t in tabs of w\n"
                                               u"            repeat with s in sessions of t\n"
                                               u"                if unique ID of s contains \"";
constexpr QStringView itermSessionScriptTail = u"\n                    return\n"
                                               u"                end if\n"
                                               u"            end repeat\n"
                                               u"        end repeat\n"
                                               u"    end repeat\n"
                                               u"end tell";

/// Does the statements, each with its line feed and indentation in front, to the session `s`.
AppleScript forITermSession(const QString &sessionID, const QString &statements)
{
    return { .source = itermSessionScriptHead + sessionID + u"\" then" + statements + itermSessionScriptTail };
}

QString escapedQuotes(QString text)
{
    return text.replace(u'"', QStringLiteral("\\\""));
}

} // namespace

AppleScript activate(const QString &application)
{
    return { .source = u"tell application \"" + application + u"\" to activate", .activates = application };
}

AppleScript selectITermSession(const QString &sessionID)
{
    return { .source = QStringLiteral("tell application \"iTerm2\"\n"
                                      "    activate\n"
                                      "    repeat with w in windows\n"
                                      "        repeat with t in tabs of w\n"
                                      "            repeat with s in sessions of t\n"
                                      "                if unique ID of s contains \"") +
                       sessionID +
                       QStringLiteral("\" then\n"
                                      "                    select t\n"
                                      "                    select s\n"
                                      "                    return\n"
                                      "                end if\n"
                                      "            end repeat\n"
                                      "        end repeat\n"
                                      "    end repeat\n"
                                      "end tell") };
}

AppleScript writeToITermSession(const QString &sessionID, const QStringList &texts, bool submits)
{
    const QString pause = QStringLiteral("\n                    delay 0.1");
    QStringList writes;
    for (const QString &text : texts)
        writes.append(u"\n                    tell s to write text \"" + escapedQuotes(text) + u"\" newline no");
    // The newline that a write has by default is the Return key.
    if (submits)
        writes.append(QStringLiteral("\n                    tell s to write text \"\""));
    return forITermSession(sessionID, writes.join(pause));
}

AppleScript chooseInITermSession(const QString &sessionID, int index)
{
    QString statements;
    if (index >= 1) {
        const QString arrows = QStringLiteral("\x1b[B").repeated(index);
        statements =
            u"\n                tell s to write text \"" + arrows + u"\" newline no\n                delay 0.3";
    }
    statements += QStringLiteral("\n                    tell s to write text character id 27 newline no\n"
                                 "                    delay 0.1\n"
                                 "                    tell s to write text \"\"");
    return forITermSession(sessionID, statements);
}

AppleScript closeITermSession(const QString &sessionID)
{
    return forITermSession(sessionID, QStringLiteral("\n                    tell s to close"));
}

AppleScript openITermTab(const QString &commandLine)
{
    return { .source = QStringLiteral("tell application \"iTerm2\"\n"
                                      "    tell current window\n"
                                      "        create tab with default profile\n"
                                      "        tell current session\n"
                                      "            write text \"") +
                       commandLine +
                       QStringLiteral("\"\n"
                                      "        end tell\n"
                                      "    end tell\n"
                                      "end tell") };
}

AppleScript openTerminalWindow(const QString &commandLine)
{
    return { .source = QStringLiteral("tell application \"Terminal\"\n"
                                      "    do script \"") +
                       commandLine +
                       QStringLiteral("\"\n"
                                      "end tell") };
}

} // namespace vantry::TerminalScripts
