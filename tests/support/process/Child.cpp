#include "support/process/Child.h"

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>

#include "support/Timeouts.h"
#include "support/process/OwnMounts.h"

using namespace Qt::StringLiterals;

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
        command = OwnMounts::commandLine(mountScript, command);
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable) {
        environment.insert(variable.key(), variable.value());
    }

    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(workingFolder);
    process.start(command.takeFirst(), command);
    const bool ended = process.waitForFinished(Timeouts::programMs);
    const QByteArray errors = process.readAllStandardError();
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 ||
        !errors.isEmpty()) {
        qFatal("the child failed: %s\n%s", qPrintable(process.errorString()), errors.constData());
    }
    return process.readAllStandardOutput();
}
