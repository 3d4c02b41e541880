#include "support/process/Child.h"

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>

using namespace Qt::StringLiterals;

namespace
{

/// The command that runs another with mounts of its own, as far as this user may.
QStringList unshareCommand()
{
    const QStringList asRoot = {u"unshare"_s, u"--mount"_s};
    const QStringList asUser = {u"unshare"_s, u"--map-root-user"_s, u"--mount"_s};
    for (const QStringList &command : {asRoot, asUser}) {
        QProcess process;
        process.start(command.first(), command.sliced(1) << u"mount"_s << u"-t"_s << u"tmpfs"_s
                                                         << u"tmpfs"_s << u"/mnt"_s);
        if (process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
            process.exitCode() == 0) {
            return command;
        }
    }
    return {};
}

} // namespace

Child::Child(const QStringList &childArguments)
    : program(QCoreApplication::applicationFilePath())
    , arguments(QStringList(u"--child"_s) + childArguments)
{
}

void Child::setProgram(const QString &path)
{
    program = path;
}

void Child::setVariable(const QString &name, const QString &value)
{
    variables.insert(name, value);
}

void Child::setWorkingFolder(const QString &path)
{
    workingFolder = path;
}

void Child::mountFirst(const QString &script)
{
    mountScript = script;
}

QByteArray Child::output() const
{
    QStringList command = {program};
    command += arguments;
    if (!mountScript.isEmpty()) {
        // Nothing but the shell itself is needed after the mounts.
        command = unshareCommand()
                  << u"bash"_s << u"-c"_s << u"set -e\n"_s + mountScript + u"\nexec \"$@\""_s
                  << u"bash"_s << command;
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable) {
        environment.insert(variable.key(), variable.value());
    }

    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(workingFolder);
    process.start(command.takeFirst(), command);
    const bool ended = process.waitForFinished();
    const QByteArray errors = process.readAllStandardError();
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 ||
        !errors.isEmpty()) {
        qFatal("the child failed: %s\n%s", qPrintable(process.errorString()), errors.constData());
    }
    return process.readAllStandardOutput();
}

bool Child::canMount()
{
    return !unshareCommand().isEmpty();
}
