#include "panels/MarkdownSegments.h"

#include "base/Text.h"

namespace vantry {
namespace {

constexpr QStringView fence = u"```";

void appendText(std::vector<Segment> &segments, QStringView text)
{
    if (!trimmedWhitespace(text).isEmpty())
        segments.push_back({ Segment::Kind::text, trimmedLineEnds(text).toString(), {}, {} });
}

void appendCode(std::vector<Segment> &segments, QStringView lang, QStringView code)
{
    segments.push_back({ Segment::Kind::codeBlock, {}, lang.toString(), trimmedLineEnds(code).toString() });
}

} // namespace

bool isLineEnd(QChar character)
{
    const char16_t unit = character.unicode();
    return (unit >= 0x0A && unit <= 0x0D) || unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

QStringView trimmedLineEnds(QStringView text)
{
    while (!text.isEmpty() && isLineEnd(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isLineEnd(text.back()))
        text.chop(1);
    return text;
}

std::vector<Segment> splitSegments(QStringView text)
{
    std::vector<Segment> segments;
    QStringView rest = text;
    // Behind the last one none is looked for: a long line of fences would be read to its end for each of them.
    const qsizetype lastLineFeed = text.lastIndexOf(u'\n');
    for (qsizetype open = rest.indexOf(fence); open >= 0; open = rest.indexOf(fence)) {
        appendText(segments, rest.first(open));
        rest = rest.sliced(open + fence.size());
        QStringView lang;
        if (text.size() - rest.size() <= lastLineFeed) {
            const qsizetype lineFeed = rest.indexOf(u'\n');
            lang = trimmedWhitespace(rest.first(lineFeed));
            rest = rest.sliced(lineFeed + 1);
        }
        const qsizetype close = rest.indexOf(fence);
        if (close < 0) {
            appendCode(segments, lang, rest);
            return segments;
        }
        appendCode(segments, lang, rest.first(close));
        rest = rest.sliced(close + fence.size());
    }
    appendText(segments, rest);
    return segments;
}

} // namespace vantry
