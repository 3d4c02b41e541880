#pragma once

#include <QByteArray>
#include <QList>

/// Information from /proc about processes.
namespace ProcessTable
{

/// Whether there is a process with that id, zombies included.
bool isAlive(qint64 pid);

/// The children of this process, zombies included.
QList<qint64> children();

/// How many descriptors this program has open.
qsizetype openDescriptors();

/// A number in kB from a process's status, "VmRSS" for one, or -1.
qint64 memory(qint64 pid, const QByteArray &key);
/// The same of this program.
qint64 memory(const QByteArray &key);

} // namespace ProcessTable
