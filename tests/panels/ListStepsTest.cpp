#include "panels/ListSteps.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using Kind = ListStep::Kind;

QStringList keys(const char *letters)
{
    QStringList list;
    for (const char *letter = letters; *letter; ++letter)
        list.append(QString(QLatin1Char(*letter)));
    return list;
}

/// The list after the steps.
QStringList taken(QStringList list, const QList<ListStep> &steps, const QStringList &target)
{
    for (const ListStep &step : steps) {
        if (step.kind == Kind::Remove)
            list.removeAt(step.from);
        else if (step.kind == Kind::Insert)
            list.insert(step.to, target.at(step.item));
        else
            list.move(step.from, step.to);
    }
    return list;
}

qsizetype count(Kind kind, const QList<ListStep> &steps)
{
    return std::ranges::count(steps, kind, &ListStep::kind);
}

} // namespace

TEST(ListSteps, nothingIsDoneWhereNothingHasChanged)
{
    EXPECT_TRUE(listSteps({}, {}).isEmpty());
    EXPECT_TRUE(listSteps(keys("abc"), keys("abc")).isEmpty());
}

TEST(ListSteps, oneThatGoesToTheOtherEndIsOneMove)
{
    EXPECT_EQ(listSteps(keys("abcd"), keys("bcda")), (QList<ListStep> { { Kind::Move, 0, 3 } }));
    EXPECT_EQ(listSteps(keys("abcd"), keys("dabc")), (QList<ListStep> { { Kind::Move, 3, 0 } }));
}

TEST(ListSteps, oneThatGoesIsOneRemoval)
{
    EXPECT_EQ(listSteps(keys("abc"), keys("ac")), (QList<ListStep> { { Kind::Remove, 1 } }));
}

TEST(ListSteps, oneThatComesIsOneInsertion)
{
    EXPECT_EQ(listSteps(keys("ac"), keys("abc")), (QList<ListStep> { { Kind::Insert, -1, 1, 1 } }));
    EXPECT_EQ(listSteps({}, keys("a")), (QList<ListStep> { { Kind::Insert, -1, 0, 0 } }));
}

TEST(ListSteps, anyListBecomesAnyOtherWithTheFewestSteps)
{
    std::mt19937 random(7);
    for (int round = 0; round < 3'000; ++round) {
        const auto shuffled = [&] {
            QStringList list = keys("abcdefghij");
            std::ranges::shuffle(list, random);
            return QStringList(list.first(static_cast<qsizetype>(random() % 11)));
        };
        const QStringList from = shuffled();
        const QStringList to = shuffled();
        const auto isIn = [](const QStringList &list) {
            return [&list](const QString &key) { return list.contains(key); };
        };

        const QList<ListStep> steps = listSteps(from, to);

        ASSERT_EQ(taken(from, steps, to), to);
        const qsizetype shared = std::ranges::count_if(from, isIn(to));
        ASSERT_EQ(count(Kind::Remove, steps), from.size() - shared);
        ASSERT_EQ(count(Kind::Insert, steps), to.size() - shared);
        // Of n that are in both lists, all move but the longest sequence that both have.
        QList<qsizetype> longest(from.size() + 1, 0);
        for (qsizetype i = 0; i < from.size(); ++i) {
            if (!to.contains(from.at(i)))
                continue;
            longest[i] = 1;
            for (qsizetype j = 0; j < i; ++j) {
                if (longest.at(j) > 0 && to.indexOf(from.at(j)) < to.indexOf(from.at(i)))
                    longest[i] = std::max(longest.at(i), longest.at(j) + 1);
            }
        }
        ASSERT_EQ(count(Kind::Move, steps), shared - *std::ranges::max_element(longest));
    }
}

} // namespace vantry::test
