#include "panels/EmphasisExpression.h"
#include "panels/MarkdownText.h"

#include <QStringList>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

using namespace vantry;

/// What holds for any text must hold; a broken rule ends the run, and libFuzzer keeps the text.
void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// Without blanks and what is taken for markup.
QString lettersOf(QString text)
{
    return text.removeIf([](QChar c) { return c.isSpace() || c == u'`' || c == u'*'; });
}

void checkCover(const MarkdownText &markdown)
{
    QString covered;
    for (const Segment &segment : markdown.segments())
        covered += segment.text + segment.lang + segment.code;
    require(lettersOf(covered) == lettersOf(markdown.text()));
}

void checkLink(const QString &opening)
{
    require(opening.startsWith(QStringLiteral("a href=\"")) && opening.endsWith(u'"') && opening.count(u'"') == 2);
    const QUrl url(opening.mid(8).chopped(1));
    const QStringList schemes { QStringLiteral("http"), QStringLiteral("https"), QStringLiteral("mailto"),
                                QStringLiteral("file") };
    require(url.isValid() && schemes.contains(url.scheme()));
}

/// Our own tags alone, each closed in order; no character that could be taken for another.
void checkHtml(const QString &html)
{
    const QStringList entities { QStringLiteral("lt;"), QStringLiteral("gt;"), QStringLiteral("amp;"),
                                 QStringLiteral("quot;") };
    const QStringList known { QStringLiteral("p"), QStringLiteral("b"), QStringLiteral("i"), QStringLiteral("code"),
                              QStringLiteral("a") };
    QStringList open;
    for (qsizetype i = 0; i < html.size(); ++i) {
        const QStringView rest = QStringView(html).sliced(i + 1);
        require(html[i] != u'>');
        if (html[i] == u'&')
            require(std::any_of(entities.begin(), entities.end(),
                                [rest](const QString &entity) { return rest.startsWith(entity); }));
        if (html[i] != u'<')
            continue;
        const qsizetype end = rest.indexOf(u'>');
        require(end > 0);
        const QString tag = rest.first(end).toString();
        i += end + 1;
        if (tag == QStringLiteral("br/"))
            continue;
        if (tag.startsWith(u'/')) {
            require(!open.isEmpty() && open.takeLast() == tag.mid(1));
            continue;
        }
        const bool isLink = tag.startsWith(QStringLiteral("a "));
        if (isLink)
            checkLink(tag);
        open.append(isLink ? QStringLiteral("a") : tag);
        require(known.contains(open.last()));
    }
    require(open.isEmpty());
}

void checkEmphasis(const QString &text)
{
    // The engine takes quadratic time.
    if (text.size() > 300)
        return;
    std::vector<EmphasisScanner::Match> matches;
    EmphasisScanner scanner(text);
    while (const auto match = scanner.next())
        matches.push_back(*match);
    require(matches == test::matchEmphasis(text));
}

void check(const QString &text)
{
    const MarkdownText markdown(text, false);
    checkCover(markdown);
    for (const Segment &segment : markdown.segments())
        checkEmphasis(segment.text);
    for (const QVariant &value : markdown.blocks()) {
        const auto block = value.value<MarkdownBlock>();
        if (!block.isCode)
            checkHtml(block.html);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto length = static_cast<qsizetype>(size);
    check(QString::fromUtf8(reinterpret_cast<const char *>(data), length));
    // Each byte as a part of markup: random bytes seldom make whole links.
    static const QStringList parts {
        QStringLiteral("*"),     QStringLiteral("**"),     QStringLiteral("`"),    QStringLiteral("```"),
        QStringLiteral("http"),  QStringLiteral("://"),    QStringLiteral("www."), QStringLiteral("mailto:"),
        QStringLiteral("file:"), QStringLiteral("a"),      QStringLiteral(".com"), QStringLiteral("@"),
        QStringLiteral("/"),     QStringLiteral("("),      QStringLiteral(")"),    QStringLiteral("["),
        QStringLiteral("]"),     QStringLiteral("<"),      QStringLiteral("&"),    QStringLiteral("\""),
        QStringLiteral("'"),     QStringLiteral("\n"),     QStringLiteral(" "),    QStringLiteral("\u2028"),
        QStringLiteral("8"),     QStringLiteral(":"),      QStringLiteral("?"),    QStringLiteral("%"),
        QStringLiteral("é"),     QStringLiteral("\ufdd0"), QStringLiteral("."),    QStringLiteral("-"),
    };
    QString text;
    for (std::size_t i = 0; i < size; ++i)
        text += parts.at(data[i] % parts.size());
    check(text);
    return 0;
}
