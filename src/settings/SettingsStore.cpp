#include "settings/SettingsStore.h"

#include <QFileInfo>
#include <QLockFile>
#include <QTemporaryFile>

bool SettingsStore::prepareWrite() const
{
    if (!isWritable() || !hasRoom()) {
        return false;
    }
    removeStaleLock();
    return true;
}

bool SettingsStore::hasRoom() const
{
    // QSettings does not check its writes: on a full disk it would replace the file by a truncated
    // one.
    constexpr qint64 roomForChanges = 65536; // bytes; a whole file has about 1000
    const QFileInfo file(fileName());
    QTemporaryFile probe(file.exists() ? file.canonicalFilePath() : fileName());
    const QByteArray content(file.size() + roomForChanges, ' ');
    return probe.open() && probe.write(content) == content.size();
}

void SettingsStore::removeStaleLock() const
{
    // An empty lock file, of a process killed before it wrote to it, makes QSettings wait 30 s.
    QLockFile(fileName() + QStringLiteral(".lock")).removeStaleLockFile();
}
