#include "panels/ListSteps.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <vector>

namespace vantry {

namespace {

/// Of these keys, which all stand in the order too, the most that have the same sequence there: the longest increasing
/// subsequence of their places.
QSet<QString> keysThatStay(const QStringList &keys, const QHash<QString, qsizetype> &order)
{
    struct Link
    {
        qsizetype place;
        qsizetype key;
        qsizetype previous; ///< The link before it in its sequence; -1 for the first.
    };
    std::vector<Link> links;
    std::vector<qsizetype> ends; ///< Of the sequence of each length, the link with the lowest place at its end.
    for (qsizetype i = 0; i < keys.size(); ++i) {
        const qsizetype place = order.value(keys.at(i));
        const auto longer = std::ranges::lower_bound(
            ends, place, {}, [&](qsizetype end) { return links.at(static_cast<std::size_t>(end)).place; });
        links.push_back({ place, i, longer == ends.begin() ? -1 : *std::prev(longer) });
        const auto link = static_cast<qsizetype>(links.size()) - 1;
        if (longer == ends.end())
            ends.push_back(link);
        else
            *longer = link;
    }
    QSet<QString> stay;
    for (qsizetype link = ends.empty() ? -1 : ends.back(); link >= 0;) {
        const Link &last = links.at(static_cast<std::size_t>(link));
        stay.insert(keys.at(last.key));
        link = last.previous;
    }
    return stay;
}

} // namespace

QList<ListStep> listSteps(const QStringList &from, const QStringList &to)
{
    if (from == to)
        return {};
    QHash<QString, qsizetype> order;
    for (qsizetype i = 0; i < to.size(); ++i)
        order.insert(to.at(i), i);

    QList<ListStep> steps;
    QStringList keys = from;
    for (qsizetype i = keys.size() - 1; i >= 0; --i) {
        if (order.contains(keys.at(i)))
            continue;
        steps.append({ ListStep::Kind::Remove, i });
        keys.removeAt(i);
    }

    // Each key that doesn't stay goes right behind the one before it in the new list, which is in its place by then.
    const QSet<QString> stay = keysThatStay(keys, order);
    qsizetype place = 0; // Behind the key before.
    for (qsizetype i = 0; i < to.size(); ++i) {
        const qsizetype index = keys.indexOf(to.at(i));
        if (index < 0) {
            steps.append({ ListStep::Kind::Insert, -1, place, i });
            keys.insert(place, to.at(i));
        } else if (stay.contains(to.at(i))) {
            place = index;
        } else {
            // Taking it out from before its new place shifts that.
            place = index < place ? place - 1 : place;
            steps.append({ ListStep::Kind::Move, index, place });
            keys.move(index, place);
        }
        ++place;
    }
    return steps;
}

} // namespace vantry
