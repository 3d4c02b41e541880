#pragma once

#include <QList>
#include <QString>

#include "zel-doctor/Result.h"

/// One entry of the table of checks.
struct Check {
    enum Need {
        Nothing,
        Network, ///< Skipped with --offline.
        Display, ///< A QGuiApplication, whose constructor aborts without a display.
        Log,     ///< Runs with --log only.
    };
    const char *name = nullptr; ///< Subject of its line in the report if it gives no results.
    int limitMs = 0;            ///< Timeout.
    Results (*run)() = nullptr;
    Need need = Nothing;
};

namespace Checks
{

/// All checks, in the order of the report.
const QList<Check> &all();

/// The check called @p name, or null.
const Check *find(const QString &name);

/// The sum of all timeouts.
int totalLimitMs();

} // namespace Checks
