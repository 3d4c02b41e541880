#pragma once

#include <QByteArray>
#include <QStringList>

#include "zel-doctor/Check.h"

/// A check in a process of its own, so that it can be given up: a process that waits for a network
/// file system cannot even be killed.
namespace CheckProcess
{

/// The private argument, followed by the name of a check, that makes the program run it.
constexpr const char *argument = "--run-check";

/// Runs @p check in a child: this program again, started with the private argument. A child that
/// exceeds its limit is killed, but its end is not waited for.
Results run(const Check &check);

/// Runs @p check in this process and writes its results, without private names, to standard output
/// for run().
int runHere(const Check &check, int argc, char *argv[]);

/// What a child printed on its standard output, and whether that ended within its limit.
struct Outcome {
    bool isInTime = false;
    QByteArray output;
};
/// Runs the program at @p program. Whatever it has started in its session is killed in the end.
Outcome outputOf(const QByteArray &program, const QByteArrayList &arguments, int limitMs);

} // namespace CheckProcess
