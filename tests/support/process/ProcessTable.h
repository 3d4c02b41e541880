#pragma once

#include <QByteArray>
#include <QList>

/// Information from /proc about processes.
namespace ProcessTable
{

/// Whether there is a process with the ID @p pid, zombies included.
bool isAlive(qint64 pid);

/// The children of this process, zombies included.
QList<qint64> children();

/// The number of descriptors that this process has open.
qsizetype openDescriptors();

/// A number in kB from the status of a process, such as "VmRSS"; -1 if there is none.
qint64 memory(qint64 pid, const QByteArray &key);
/// The same for this process.
qint64 memory(const QByteArray &key);

} // namespace ProcessTable
