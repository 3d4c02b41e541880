#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <cstdio>

#include "support/TestMain.h"

/// Runs the test program as a child process: for code that runs once per process, or in a private
/// mount namespace.
class Child
{
public:
    /// Runs this test program again with "--child" and @p childArguments.
    explicit Child(const QStringList &childArguments);

    /// Uses @p program, a copy of this test program.
    void setProgram(const QString &path);
    /// Sets the environment variable @p name for the child.
    void setVariable(const QString &name, const QString &value);
    /// Starts the child in the folder at @p path.
    void setWorkingFolder(const QString &path);
    /// Runs the commands of @p script in bash first, with mounts that only the child sees. A
    /// test that uses it starts with NEEDS_OWN_MOUNTS().
    void mountFirst(const QString &script);

    /// Runs the child to its end and returns what it wrote to its standard output. A child that
    /// fails, or writes anything to its standard error, aborts the test program.
    QByteArray output() const;

private:
    QString program;
    QStringList arguments;
    QString workingFolder;
    QString mountScript;
    QMap<QString, QString> variables;
};

/// main() of a test class. A child process has the environment of the test that starts it, and
/// prints the result of @p childAnswer for its arguments.
template<typename TestClass, typename Application = QCoreApplication>
int runTestWithChildren(int argc, char *argv[], QByteArray (*childAnswer)(const QStringList &))
{
    if (argc > 2 && QByteArrayView(argv[1]) == "--child") {
        const Application app(argc, argv);
        TestEnvironment::nameApplication();
        const QByteArray answer = childAnswer(QCoreApplication::arguments().sliced(2));
        return std::fputs(answer.constData(), stdout) < 0 ? 1 : 0;
    }
    const TestEnvironment environment;
    const Application app(argc, argv);
    TestEnvironment::nameApplication();
    TestClass test;
    return QTest::qExec(&test, argc, argv);
}
