#include "app/HelpText.h"

#include "app/CommandTable.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype width = 80;
constexpr qsizetype summaryColumn = 36;

/// The words in lines that end before the width; the first one begins at `column`, the others at `indent`.
QString wrapped(const QString &text, qsizetype column, qsizetype indent)
{
    QString result;
    bool isLineStart = true;
    for (const QString &word : text.split(u' ')) {
        if (!isLineStart && column + 1 + word.size() > width) {
            result += u'\n' + QString(indent, u' ');
            column = indent;
            isLineStart = true;
        }
        result += isLineStart ? word : u' ' + word;
        column += word.size() + (isLineStart ? 0 : 1);
        isLineStart = false;
    }
    return result + u'\n';
}

QString paragraph(const QString &text)
{
    return wrapped(text, 0, 0);
}

QString lineFor(const CommandEntry &command)
{
    QString line = u"  "_s + usage(command);
    if (line.size() < summaryColumn)
        line = line.leftJustified(summaryColumn);
    else
        line += u'\n' + QString(summaryColumn, u' ');
    return line + wrapped(command.summary.toString(), summaryColumn, summaryColumn);
}

QString exitCodeText()
{
    QStringList codes;
    for (const auto &[code, meaning] : exitCodes())
        codes.append(code + u' ' + meaning);
    return u"Exit codes: "_s + codes.join(u"; ") + u'.';
}

} // namespace

QString helpText()
{
    QString text = uR"(Vantry shows what your coding agents are doing, and lets you answer them.

Usage: vantry [--headless]          start; a second start finds the first
       vantry --demo                start with invented sessions, for a look
       vantry COMMAND [ARGUMENT...]

)"_s;
    for (const CommandGroup &group : commandGroups()) {
        text += group.title + (group.remark.isEmpty() ? QString() : u" ("_s + group.remark + u')') + u'\n';
        for (const CommandEntry &command : group.commands)
            text += lineFor(command);
        text += u'\n';
    }
    text += u"  --help, --version\n\n"_s;
    text += paragraph(u"ID is a session's identifier or the beginning of one, as status and recent show it."_s);
    text += paragraph(u"\"--\" ends the options. NO_COLOR turns colours off."_s) + u'\n';
    return text + paragraph(exitCodeText());
}

} // namespace vantry
