#include "platform/linux/WindowStrut.h"

#include <algorithm>

namespace vantry {

namespace {

struct Span
{
    std::int64_t first;
    std::int64_t last;
};

bool touches(Span strut, int first, int last)
{
    return strut.first <= last && strut.last >= first;
}

QRect without(const QRect &screen, const WindowStrut &strut, QSize desktop)
{
    constexpr std::size_t edges = 4;
    QRect area = screen;
    for (std::size_t edge = 0; edge < edges; ++edge) {
        const Span along { strut[edges + 2 * edge], strut[edges + 2 * edge + 1] };
        const bool isAtSide = edge < 2;
        const bool isNear =
            isAtSide ? touches(along, screen.top(), screen.bottom()) : touches(along, screen.left(), screen.right());
        const auto width = static_cast<int>(std::min<std::uint32_t>(strut[edge], 1U << 16U));
        if (width == 0 || !isNear)
            continue;
        QRect rest = area;
        switch (edge) {
        case 0:
            rest.setLeft(std::max(rest.left(), width));
            break;
        case 1:
            rest.setRight(std::min(rest.right(), desktop.width() - width - 1));
            break;
        case 2:
            rest.setTop(std::max(rest.top(), width));
            break;
        default:
            rest.setBottom(std::min(rest.bottom(), desktop.height() - width - 1));
            break;
        }
        if (!rest.isEmpty())
            area = rest;
    }
    return area;
}

} // namespace

QRect areaWithoutStruts(const QRect &screen, const QList<WindowStrut> &struts, QSize desktop)
{
    QRect area = screen;
    for (const WindowStrut &strut : struts)
        area = without(area, strut, desktop);
    return area;
}

} // namespace vantry
