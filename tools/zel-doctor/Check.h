#pragma once

#include <QList>
#include <QString>

#include "zel-doctor/Result.h"

/// One entry of the table of checks.
struct Check {
    enum Need {
        Nothing,
        Network, ///< Left out by --offline.
        Display, ///< Needs a QGuiApplication; without a display the process aborts.
        Log,     ///< Runs with --log only.
    };
    const char *name = nullptr; ///< What the report calls it when it gives no results.
    int limitMs = 0;            ///< After this time it is given up.
    Results (*run)() = nullptr;
    Need need = Nothing;
};

namespace Checks
{

/// All checks, in the order of the report.
const QList<Check> &all();

/// The entry of that name; null without one.
const Check *find(const QString &name);

/// The longest that all of them can take together.
int totalLimitMs();

} // namespace Checks
