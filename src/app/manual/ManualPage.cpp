#include "app/manual/ManualPage.h"

#include "app/CommandTable.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// Text as roff prints it: dashes that can be copied, nothing taken for a request.
QString escaped(QStringView text)
{
    QString result;
    for (const QChar character : text) {
        switch (character.unicode()) {
        case u'\\':
            result += u"\\e";
            break;
        case u'-':
            result += u"\\-";
            break;
        case u'~':
            result += u"\\(ti";
            break;
        case u'^':
            result += u"\\(ha";
            break;
        case u'`':
            result += u"\\(ga";
            break;
        case u'"':
            result += u"\\(dq";
            break;
        default:
            result += character;
        }
    }
    return result.startsWith(u'.') || result.startsWith(u'\'') ? u"\\&" + result : result;
}

QString bold(QStringView text)
{
    return u"\\fB" + escaped(text) + u"\\fR";
}

QString italic(QStringView text)
{
    return u"\\fI" + escaped(text) + u"\\fR";
}

QString section(const QString &title)
{
    return u".SH "_s + title + u'\n';
}

/// A term, and what it means, indented under it. The term is roff already.
QString item(const QString &term, const QString &meaning)
{
    return u".TP\n"_s + term + u'\n' + escaped(meaning) + u'\n';
}

QString term(const OptionEntry &option)
{
    return option.value.isEmpty() ? bold(option.name) : bold(option.name) + u' ' + italic(option.value);
}

/// A clause as a sentence.
QString sentence(QStringView clause)
{
    return clause.first(1).toString().toUpper() + clause.sliced(1) + u'.';
}

QString term(const CommandEntry &command)
{
    QString text = bold(command.name);
    for (const OperandEntry &operand : command.operands)
        text += u' ' + italic(operand.name) + (operand.isRepeated ? u"..." : u"");
    for (std::size_t i = 0; i < command.options.size(); ++i) {
        if (isAlternative(command, i))
            text.chop(1);
        text += (isAlternative(command, i) ? u" | " : u" [") + term(command.options[i]) + u']';
    }
    return text;
}

QString commandItem(const CommandEntry &command)
{
    QString text = item(term(command), command.description.toString());
    if (command.options.empty())
        return text;
    text += u".RS\n";
    for (const OptionEntry &option : command.options)
        text += item(term(option), sentence(option.summary));
    return text + u".RE\n";
}

QString permissionModes()
{
    QString text = u".PP\nThe permission modes of "_s + bold(u"launch") + u":\n";
    for (const AgentPermissionMode mode : allAgentPermissionModes)
        text += item(bold(rawValue(mode)), description(mode) + u'.');
    return text;
}

QString namedSection(const QString &title, const std::vector<NamedMeaning> &entries)
{
    QString text = section(title);
    for (const auto &[name, meaning] : entries)
        text += item(bold(name), meaning.endsWith(u'.') ? meaning.toString() : sentence(meaning));
    return text;
}

} // namespace

QString manualPage(const QString &version, const QString &date)
{
    QString text = uR"(.TH VANTRY 1 "%1" "Vantry %2" "User Commands"
.SH NAME
vantry \- see what coding agents are doing, and answer them
.SH SYNOPSIS
.B vantry
.RB [ \-\-headless " | " \-\-demo ]
.br
.B vantry
.I command
.RI [ argument ...]
.br
.B vantry \-\-help
|
.B \-\-version
.SH DESCRIPTION
Vantry watches the command-line coding agents that you run, in however many terminals, and tells you which of them needs
an answer. Without a command it starts; where it runs already, it shows its panel. With a command it asks the running
Vantry, or looks into what it remembers.
.PP
.I ID
is a session's identifier or the beginning of one, as
.B status
and
.B recent
show it.
.B \-\-
ends the options.
)"_s.arg(date, version);
    text += section(u"OPTIONS"_s);
    for (const OptionEntry &option : startOptions())
        text += item(term(option), sentence(option.summary));
    text += section(u"COMMANDS"_s);
    for (const CommandGroup &group : commandGroups()) {
        text += u".SS "_s + group.title + (group.remark.isEmpty() ? QString() : u' ' + group.remark) + u'\n';
        for (const CommandEntry &command : group.commands)
            text += commandItem(command);
        if (&group == &commandGroups().front())
            text += permissionModes();
    }
    text += namedSection(u"EXIT STATUS"_s, exitCodes());
    text += namedSection(u"ENVIRONMENT"_s, environmentVariables());
    return text + namedSection(u"FILES"_s, files());
}

} // namespace vantry
