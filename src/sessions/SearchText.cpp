#include "sessions/SearchText.h"

#include <QStringList>
#include <QStringView>

#include <algorithm>

namespace vantry {
namespace {

constexpr qsizetype maximumLength = 4096;
constexpr qsizetype maximumWords = 64;

/// Without the characters that mean something in an expression; those that part words become blanks.
QString withoutSyntax(QStringView text)
{
    constexpr QStringView dropped = u"\"(){}:^";
    QString cleaned;
    cleaned.reserve(text.size());
    for (const QChar character : text) {
        if (character.isNull() || dropped.contains(character))
            continue;
        cleaned += character == u'-' || character == u'*' ? QChar(u' ') : character;
    }
    return cleaned;
}

/// FTS5's white space, blanks left out.
bool isLineSpace(QChar character)
{
    return character == u'\t' || character == u'\n' || character == u'\r';
}

/// Each word of the piece in double quotes.
QStringList quotedWords(QStringView piece)
{
    QStringList words;
    while (!piece.isEmpty()) {
        const auto end = std::ranges::find_if(piece, isLineSpace);
        const qsizetype length = end - piece.begin();
        if (length > 0)
            words.append(u'"' + piece.first(length).toString() + u'"');
        piece = piece.sliced(std::min(length + 1, piece.size()));
    }
    return words;
}

bool isAsciiLetterOrDigit(QChar character)
{
    const char16_t code = character.unicode();
    return (code >= u'0' && code <= u'9') || (code >= u'a' && code <= u'z') || (code >= u'A' && code <= u'Z');
}

} // namespace

QString matchExpression(const QString &text)
{
    const QString cleaned = withoutSyntax(QStringView(text).left(maximumLength));
    QStringList expression;
    for (const QStringView piece : QStringView(cleaned).split(u' ', Qt::SkipEmptyParts)) {
        QStringList words = quotedWords(piece);
        if (words.isEmpty())
            continue;
        words.last() += u'*';
        expression += words;
        if (expression.size() >= maximumWords)
            break;
    }
    return expression.mid(0, maximumWords).join(u' ');
}

std::optional<QString> identifierExpression(const QString &id)
{
    // An ASCII letter or digit is part of a word for the tokenizer in any case; a NUL would end the expression.
    if (!std::ranges::any_of(id, isAsciiLetterOrDigit) || id.contains(QChar(u'\0')))
        return std::nullopt;
    QString quoted = id;
    quoted.replace(u'"', QStringLiteral("\"\""));
    return QStringLiteral("session_id : \"") + quoted + u'"';
}

} // namespace vantry
