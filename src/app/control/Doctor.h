#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"
#include "app/control/SessionJson.h"

#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

namespace vantry {

/// One thing that Vantry leans on, and whether it is in order.
struct DoctorCheck
{
    /// Whether sessions can be shown and answered without it.
    enum class Weight { Essential, Helpful };

    QString name {};
    bool ok { false };
    QString detail {};                ///< What was found; one line.
    std::optional<QString> advice {}; ///< What to do about it; nothing when all is well.
    Weight weight { Weight::Helpful };
};

/// A look at one thing, which may take some seconds, or hang.
struct DoctorInspection
{
    QString name;
    DoctorCheck::Weight weight { DoctorCheck::Weight::Helpful };
    std::function<QList<DoctorCheck>()> look; ///< Called on a thread of its own.
};

struct DoctorReport
{
    QList<DoctorCheck> checks; ///< In the order of the inspections.
    bool isFinished { true };  ///< Whether every look has ended. One that hasn't goes on, and can't be ended.
};

/// Looks at all of them at the same time, and waits for them this long at most. One that has not ended by then has
/// failed.
[[nodiscard]] DoctorReport inspectAll(const std::vector<DoctorInspection> &inspections,
                                      std::chrono::milliseconds patience);

[[nodiscard]] Json doctorJson(const QList<DoctorCheck> &checks);
/// One line for each check; in a terminal, lines that are too long go on below where they began, and advice has lines
/// of its own.
[[nodiscard]] QString doctorText(const QList<DoctorCheck> &checks, const TextStyle &style);
/// Prints the checks. "Refused" when an essential one has failed.
[[nodiscard]] int printDoctor(const command::Doctor &command, const QList<DoctorCheck> &checks, Console &console);

} // namespace vantry
