#include "panels/MarkdownInline.h"

#include "panels/LinkDetector.h"
#include "panels/MarkdownSegments.h"

namespace vantry {
namespace {

using Kind = InlinePart::Kind;

/// What the match shows. None where taking off its stars would lose text, or leave blanks just inside them: they were
/// no pair, but a star on either side took the others for its text.
std::optional<InlinePart> styled(QStringView match)
{
    if (match.startsWith(u'`'))
        return InlinePart { Kind::code, match.sliced(1).chopped(1).toString() };
    struct Style
    {
        QStringView stars;
        Kind kind;
    };
    constexpr std::array<Style, 3> styles { {
        { u"***", Kind::boldItalic },
        { u"**", Kind::bold },
        { u"*", Kind::italic },
    } };
    for (const Style &style : styles) {
        if (!match.startsWith(style.stars))
            continue;
        const qsizetype count = style.stars.size();
        if (!match.endsWith(style.stars) || match.size() <= 2 * count)
            return std::nullopt;
        const QStringView inside = match.sliced(count).chopped(count);
        if (inside.front().isSpace() || inside.back().isSpace())
            return std::nullopt;
        return InlinePart { style.kind, inside.toString() };
    }
    return std::nullopt;
}

void appendPlain(std::vector<InlinePart> &parts, QStringView text)
{
    qsizetype last = 0;
    LinkDetector detector(text);
    while (auto link = detector.next()) {
        if (link->begin > last)
            parts.push_back({ Kind::plain, text.sliced(last, link->begin - last).toString() });
        parts.push_back(
            { Kind::link, text.sliced(link->begin, link->end - link->begin).toString(), std::move(link->url) });
        last = link->end;
    }
    if (last < text.size())
        parts.push_back({ Kind::plain, text.sliced(last).toString() });
}

} // namespace

std::vector<InlinePart> splitInline(const QString &text)
{
    std::vector<InlinePart> parts;
    const QStringView view = text;
    qsizetype last = 0;
    EmphasisScanner scanner(view);
    while (const auto match = scanner.next()) {
        auto part = styled(view.sliced(match->begin, match->end - match->begin));
        if (!part)
            continue;
        appendPlain(parts, view.sliced(last, match->begin - last));
        parts.push_back(std::move(*part));
        last = match->end;
    }
    appendPlain(parts, view.sliced(last));
    if (parts.empty())
        parts.push_back({ Kind::plain, text });
    return parts;
}

EmphasisScanner::EmphasisScanner(QStringView text)
    : m_text(text)
{}

std::optional<EmphasisScanner::Match> EmphasisScanner::next()
{
    for (; m_position < m_text.size(); ++m_position) {
        ++m_steps;
        std::optional<Match> match;
        if (m_text[m_position] == u'`')
            match = codeAt(m_position);
        for (qsizetype stars = 3; stars > 0 && !match; --stars)
            match = emphasisAt(m_position, stars);
        if (match) {
            m_position = match->end;
            return match;
        }
    }
    return std::nullopt;
}

std::optional<EmphasisScanner::Match> EmphasisScanner::codeAt(qsizetype begin)
{
    const qsizetype close = m_text.indexOf(u'`', begin + 1);
    m_steps += (close < 0 ? m_text.size() : close) - begin;
    if (close <= begin + 1)
        return std::nullopt;
    return Match { begin, close + 1 };
}

std::optional<EmphasisScanner::Match> EmphasisScanner::emphasisAt(qsizetype begin, qsizetype stars)
{
    const qsizetype content = begin + stars;
    if (!hasStars(begin, stars) || content >= m_text.size() || isSpace(content))
        return std::nullopt;
    const qsizetype close = closerFrom(content + 1, stars);
    if (close >= lineEndFrom(content))
        return std::nullopt;
    return Match { begin, close + stars };
}

/// Where the next stars stand that can close, the text's length for none. The position never goes back from one call
/// to the next, nor does the line's end.
qsizetype EmphasisScanner::closerFrom(qsizetype position, qsizetype stars)
{
    qsizetype &closer = m_closers.at(static_cast<std::size_t>(stars));
    closer = std::max(closer, position);
    for (; closer < m_text.size(); ++closer) {
        ++m_steps;
        if (hasStars(closer, stars) && !isSpace(closer - 1))
            return closer;
    }
    return m_text.size();
}

qsizetype EmphasisScanner::lineEndFrom(qsizetype position)
{
    m_lineEnd = std::max(m_lineEnd, position);
    while (m_lineEnd < m_text.size() && !isLineEnd(m_text[m_lineEnd])) {
        ++m_lineEnd;
        ++m_steps;
    }
    return m_lineEnd;
}

bool EmphasisScanner::hasStars(qsizetype position, qsizetype stars) const
{
    return m_text.sliced(position).startsWith(QStringView(u"***").first(stars));
}

bool EmphasisScanner::isSpace(qsizetype position) const
{
    return m_text[position].isSpace();
}

} // namespace vantry
