#pragma once

#include <QByteArray>
#include <QStringList>

#include "zel-doctor/Check.h"

/// Runs a check in a process of its own, so that its timeout holds even if it cannot be killed, as
/// while it waits for a network file system.
namespace CheckProcess
{

/// The private argument, followed by the name of a check, that makes the program run it.
constexpr const char *argument = "--run-check";

/// Runs @p check in a child process, which is this program with the private argument. A child that
/// exceeds the timeout is killed, but not waited for.
Results run(const Check &check);

/// Runs @p check in this process and writes its results, without private names, to standard output
/// for run().
int runHere(const Check &check, int argc, char *argv[]);

/// What a child printed on its standard output.
struct Outcome {
    bool isInTime = false; ///< The output ended within the time limit.
    QByteArray output;
};
/// Runs the program at @p program, then kills every process left in its process group.
Outcome outputOf(const QByteArray &program, const QByteArrayList &arguments, int limitMs);

} // namespace CheckProcess
