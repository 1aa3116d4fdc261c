#include "panels/ChatFold.h"

#include <QStringBuilder>
#include <QStringList>

#include <utility>
#include <vector>

namespace vantry {

namespace {

constexpr std::size_t mostLines = 10;
constexpr std::size_t linesAtEachEnd = 4;

bool isLineEnd(QChar unit)
{
    switch (unit.unicode()) {
    case u'\n':
    case u'\v':
    case u'\f':
    case u'\r':
    case u'\u0085':
    case u'\u2028':
    case u'\u2029':
        return true;
    default:
        return false;
    }
}

std::vector<QStringView> linesOf(QStringView text)
{
    std::vector<QStringView> lines;
    qsizetype start = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (!isLineEnd(text[at]))
            continue;
        lines.push_back(text.sliced(start, at - start));
        if (text[at] == u'\r' && at + 1 < text.size() && text[at + 1] == u'\n')
            ++at;
        start = at + 1;
    }
    lines.push_back(text.sliced(start));
    return lines;
}

template <typename Iterator>
QString joined(Iterator begin, Iterator end)
{
    QString text = begin->toString();
    while (++begin != end)
        text += u'\n' % *begin;
    return text;
}

} // namespace

FoldedText foldLongText(const QString &text)
{
    const std::vector<QStringView> lines = linesOf(text);
    if (lines.size() <= mostLines)
        return { text, {}, 0 };
    return { joined(lines.begin(), lines.begin() + linesAtEachEnd), joined(lines.end() - linesAtEachEnd, lines.end()),
             static_cast<int>(lines.size() - 2 * linesAtEachEnd) };
}

} // namespace vantry
