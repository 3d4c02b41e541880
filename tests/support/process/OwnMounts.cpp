#include "support/process/OwnMounts.h"

#include <QProcess>
#include <QStandardPaths>

#include <unistd.h>

#include "support/Timeouts.h"

using namespace Qt::StringLiterals;

QStringList OwnMounts::commandLine(const QString &script, const QStringList &command)
{
    const QStringList toolFolders = {u"/usr/sbin"_s, u"/usr/bin"_s, u"/sbin"_s, u"/bin"_s};
    QStringList line = {QStandardPaths::findExecutable(u"unshare"_s, toolFolders), u"--mount"_s};
    if (geteuid() != 0) {
        line << u"--map-root-user"_s;
    }
    return line << u"/bin/bash"_s << u"-c"_s
                << u"set -e; own=$PATH; PATH=%1\n"_s.arg(toolFolders.join(u':')) + script +
                       u"\nPATH=$own; exec \"$@\""_s
                << u"bash"_s << command;
}

QString OwnMounts::run(const QString &script, const QStringList &command)
{
    QStringList line = commandLine(script, command);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(line.takeFirst(), line);
    const bool ended = process.waitForFinished(Timeouts::programMs);
    const QString printed = QString::fromLocal8Bit(process.readAll()).trimmed();
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0) {
        return {};
    }
    return printed.isEmpty() ? u"failed without output: "_s + process.errorString() : printed;
}

QString OwnMounts::obstacle()
{
    static const QString text = run(u"mount -t tmpfs tmpfs /mnt; exit"_s, {});
    return text;
}
