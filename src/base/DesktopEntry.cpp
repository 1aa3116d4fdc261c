#include "base/DesktopEntry.h"

#include <QStringView>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

bool isTrue(const QString &value)
{
    return value == u"true" || value == u"1";
}

/// A value of the type string without its escapes.
QString unescaped(const QString &value)
{
    QString text;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value.at(i) != u'\\' || i + 1 == value.size()) {
            text += value.at(i);
            continue;
        }
        const QChar letter = value.at(++i);
        text += letter == u's'   ? u' '
                : letter == u'n' ? u'\n'
                : letter == u't' ? u'\t'
                : letter == u'r' ? u'\r'
                                 : letter;
    }
    return text;
}

/// The first word of a command line, without its quotes.
QString firstWord(const QString &command)
{
    QString word;
    bool isQuoted = false;
    for (qsizetype i = 0; i < command.size(); ++i) {
        QChar letter = command.at(i);
        if (letter == u'"') {
            isQuoted = !isQuoted;
            continue;
        }
        if (letter.isSpace() && !isQuoted)
            break;
        if (letter == u'\\' && isQuoted && i + 1 < command.size())
            letter = command.at(++i);
        word += letter;
    }
    return word;
}

} // namespace

DesktopEntry::DesktopEntry(const std::string &bytes)
{
    bool isInMainGroup = false;
    const QString text = QString::fromStdString(bytes);
    for (const QStringView untrimmed : QStringView(text).split(u'\n')) {
        const QStringView line = untrimmed.trimmed();
        if (line.startsWith(u'['))
            isInMainGroup = line == u"[Desktop Entry]";
        const qsizetype separator = line.indexOf(u'=');
        if (isInMainGroup && separator > 0 && !line.startsWith(u'#'))
            m_values.insert(line.first(separator).trimmed().toString(),
                            line.sliced(separator + 1).trimmed().toString());
    }
}

QString DesktopEntry::value(const QString &key, const QString &fallback) const
{
    return m_values.value(key, fallback);
}

bool DesktopEntry::isSwitchedOff() const
{
    // "X-GNOME-Autostart-enabled" is what older desktops switch off with.
    return isTrue(value(u"Hidden"_s)) || !isTrue(value(u"X-GNOME-Autostart-enabled"_s, u"true"_s));
}

QString DesktopEntry::program() const
{
    return firstWord(unescaped(value(u"Exec"_s))).replace(u"%%"_s, u"%"_s);
}

} // namespace vantry
