#include "support/process/FakeSystem.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QStandardPaths>

#include <unistd.h>

namespace
{

/// Where tools like mount are, whatever the search path of the test is.
QStringList toolFolders()
{
    return {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/bin"), QStringLiteral("/sbin"),
            QStringLiteral("/bin")};
}

/// Runs @p command where the folders below @p root stand in for the system's.
QString run(const QString &root, const QStringList &command)
{
    // Over /usr/bin last: the tools come from there.
    const QString script =
        QStringLiteral("mount=$(PATH=$2 command -v mount) && "
                       "\"$mount\" --bind \"$1/opt\" /opt && "
                       "\"$mount\" --bind \"$1/usr/local/bin\" /usr/local/bin && "
                       "\"$mount\" --bind \"$1/usr/bin\" /usr/bin && "
                       "shift 2 && \"$@\"");
    QStringList line{QStringLiteral("--mount")};
    if (geteuid() != 0) {
        line << QStringLiteral("--map-root-user");
    }
    line << QStringLiteral("/bin/sh") << QStringLiteral("-c") << script << QStringLiteral("sh");
    line << root << toolFolders().join(u':') << command;

    const QString unshare =
        QStandardPaths::findExecutable(QStringLiteral("unshare"), toolFolders());
    if (unshare.isEmpty()) {
        return QStringLiteral("there is no unshare");
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(unshare, line);
    if (!process.waitForFinished()) {
        return process.errorString();
    }
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0) {
        return {};
    }
    const QString said = QString::fromLocal8Bit(process.readAll()).trimmed();
    return said.isEmpty() ? QStringLiteral("it failed without a word") : said;
}

} // namespace

FakeSystem::FakeSystem()
{
    for (const QString &folder :
         {QStringLiteral("/opt"), QStringLiteral("/usr/bin"), QStringLiteral("/usr/local/bin")}) {
        if (!QDir().mkpath(path(folder))) {
            qFatal("cannot prepare the test: %s", qPrintable(path(folder)));
        }
    }
}

QString FakeSystem::runSelf(const QStringList &arguments) const
{
    return run(root.path(), QStringList{QCoreApplication::applicationFilePath()} + arguments);
}

QString FakeSystem::obstacle()
{
    static const QString text = run(FakeSystem().root.path(), {QStringLiteral(":")});
    return text;
}
