#pragma once

#include <QList>
#include <QString>

#include "zel-doctor/Result.h"

/// One entry of the table of checks.
struct Check {
    enum Need {
        Nothing,
        Network, ///< Left out by --offline.
        Display, ///< Runs in an application with windows, which aborts without a display.
        Fonts,   ///< Runs in such an application that needs no display.
        LogWish, ///< Runs with --log only.
    };
    const char *name = nullptr; ///< What the report calls it when it does not answer.
    int limitMs = 0;            ///< It is given up after this time.
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
