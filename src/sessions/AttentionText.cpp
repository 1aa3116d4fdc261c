#include "sessions/AttentionText.h"

#include "base/Text.h"

#include <algorithm>

namespace vantry {

namespace {

constexpr int linesThatMayAsk = 3;

bool isNewline(QChar c)
{
    constexpr QStringView newlines = u"\n\v\f\r\u0085\u2028\u2029";
    return newlines.contains(c);
}

/// Cuts the last line off the text, with the line break before it. CR LF is one line break.
QStringView takeLastLine(QStringView &text)
{
    const auto lineBreak = std::find_if(text.crbegin(), text.crend(), isNewline).base();
    const QStringView line(lineBreak, text.cend());
    text.truncate(lineBreak - text.cbegin());
    if (text.endsWith(u"\r\n"))
        text.chop(2);
    else if (!text.isEmpty())
        text.chop(1);
    return line;
}

char32_t codePointAt(QStringView text, qsizetype at)
{
    const bool isPair = text[at].isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
    return isPair ? QChar::surrogateToUcs4(text[at], text[at + 1]) : text[at].unicode();
}

qsizetype unitsOf(char32_t codePoint)
{
    return QChar::requiresSurrogates(codePoint) ? 2 : 1;
}

/// Up to the first whitespace or punctuation character.
QStringView firstWord(QStringView text)
{
    qsizetype end = 0;
    while (end < text.size()) {
        const char32_t c = codePointAt(text, end);
        if (QChar::isSpace(c) || QChar::isPunct(c))
            break;
        end += unitsOf(c);
    }
    return text.first(end);
}

/// First letter upper case, in a word whose other letters are lower case already.
QString capitalised(QStringView word)
{
    const char32_t initial = codePointAt(word, 0);
    const char32_t upper = QChar::toTitleCase(initial);
    return QString::fromUcs4(&upper, 1) + word.sliced(unitsOf(initial)).toString();
}

} // namespace

bool endsWithQuestion(QStringView text)
{
    QStringView rest = trimmedWhitespace(text);
    for (int i = 0; i < linesThatMayAsk && !rest.isEmpty(); ++i) {
        if (trimmedWhitespace(takeLastLine(rest)).endsWith(u'?'))
            return true;
    }
    return false;
}

bool mentionsPermission(const QString &message)
{
    return message.toLower().contains(u"permission");
}

std::optional<QString> toolAskedFor(const QString &message)
{
    constexpr QStringView phrase = u"permission to use ";
    const QString lowerCased = message.toLower();
    const qsizetype found = lowerCased.indexOf(phrase);
    if (found < 0)
        return std::nullopt;
    const QStringView word = firstWord(QStringView(lowerCased).sliced(found + phrase.size()));
    if (word.isEmpty())
        return std::nullopt;
    return capitalised(word);
}

} // namespace vantry
