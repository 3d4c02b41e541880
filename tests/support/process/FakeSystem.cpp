#include "support/process/FakeSystem.h"

#include <QCoreApplication>
#include <QProcess>

#include "support/Timeouts.h"
#include "support/files/Disk.h"

using namespace Qt::StringLiterals;

FakeSystem::FakeSystem()
{
    for (const QString &folder : {u"/opt"_s, u"/usr/bin"_s, u"/usr/local/bin"_s}) {
        Disk::makeFolder(path(folder));
    }
}

QString FakeSystem::runSelf(const QStringList &arguments) const
{
    // Over /usr/bin last: mount comes from there.
    const QString script = u"for folder in opt usr/local/bin usr/bin; do "
                           "mount --bind '%1'/$folder /$folder; done"_s.arg(root.path());
    QStringList line = OwnMounts::commandLine(
        script, QStringList{QCoreApplication::applicationFilePath()} + arguments);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(line.takeFirst(), line);
    const bool ended = process.waitForFinished(Timeouts::programMs);
    const QString printed = QString::fromLocal8Bit(process.readAll()).trimmed();
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0) {
        return {};
    }
    return printed.isEmpty() ? u"it failed without a word: "_s + process.errorString() : printed;
}
