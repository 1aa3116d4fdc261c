#pragma once

#include <QList>
#include <QStringList>

namespace vantry {

/// One step from one list of keys to another. Indexes are those at the moment of the step.
struct ListStep
{
    enum class Kind { Remove, Insert, Move };

    Kind kind;
    qsizetype from { -1 }; ///< Of what is removed or moved.
    qsizetype to { -1 };   ///< Where what is inserted or moved stands after the step.
    qsizetype item { -1 }; ///< Of what is inserted, its index in the new list.

    friend bool operator==(const ListStep &, const ListStep &) = default;
};

/// The fewest removals, insertions and moves that turn one list into the other, so that a view leaves alone what stays
/// in its place. The keys of each list must be unique. Quadratic at worst: meant for lists that a person reads. Any
/// thread.
[[nodiscard]] QList<ListStep> listSteps(const QStringList &from, const QStringList &to);

} // namespace vantry
