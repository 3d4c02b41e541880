#pragma once

#include <QByteArray>
#include <QList>

/// What the system knows of processes.
namespace ProcessTable
{

/// Whether there is a process with that id, be it one that has ended and was not waited for.
bool isAlive(qint64 pid);

/// The children of this program, also those that have ended and were not waited for.
QList<qint64> children();

/// How many descriptors this program has open.
qsizetype openDescriptors();

/// A number in kB from a process's status, "VmRSS" for one, or -1.
qint64 memory(qint64 pid, const QByteArray &key);
/// The same of this program.
qint64 memory(const QByteArray &key);

} // namespace ProcessTable
