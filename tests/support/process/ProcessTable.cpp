#include "support/process/ProcessTable.h"

#include <QDir>
#include <QFile>

#include <csignal>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

/// The text after @p key in the status file of a process; empty when there is none.
QByteArray statusValue(qint64 pid, const QByteArray &key)
{
    QFile status(u"/proc/%1/status"_s.arg(pid));
    if (status.open(QIODevice::ReadOnly)) {
        const QByteArrayList lines = status.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith(key + ':')) {
                return line.mid(key.size() + 1).simplified();
            }
        }
    }
    return {};
}

} // namespace

bool ProcessTable::isAlive(qint64 pid)
{
    return ::kill(pid_t(pid), 0) == 0;
}

QList<qint64> ProcessTable::children()
{
    QList<qint64> found;
    const QStringList entries = QDir(u"/proc"_s).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        const qint64 pid = entry.toLongLong(); // 0 if the entry is not a process
        if (pid > 0 && statusValue(pid, "PPid").toLongLong() == ::getpid()) {
            found << pid;
        }
    }
    return found;
}

qsizetype ProcessTable::openDescriptors()
{
    // Includes the descriptor that reads the folder.
    return QDir(u"/proc/self/fd"_s)
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
        .size();
}

qint64 ProcessTable::memory(qint64 pid, const QByteArray &key)
{
    const QByteArray value = statusValue(pid, key);
    return value.isEmpty() ? -1 : value.split(' ').first().toLongLong();
}

qint64 ProcessTable::memory(const QByteArray &key)
{
    return memory(::getpid(), key);
}
