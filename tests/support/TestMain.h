#pragma once

#include <QApplication>
#include <QCoreApplication>
#include <QObject>
#include <QTemporaryDir>
#include <QTest>

/// The environment of a test program, set up before its application object: its own home folder and
/// settings, no display, no session bus, no proxy.
class TestEnvironment
{
public:
    TestEnvironment();

    /// Sets the launcher's application and organisation name; call after creating the application.
    static void nameApplication();

    /// The program's own HOME.
    static QString home();
    /// The program's own XDG_CONFIG_HOME.
    static QString configHome();
    /// Path of the launcher's settings file.
    static QString settingsFile();

private:
    QTemporaryDir dir;
};

/// Base of every test class: a Qt warning fails the test function that caused it. A class that
/// has an init() of its own calls this one first.
class TestBase : public QObject
{
    Q_OBJECT

protected slots:
    void init();
};

#define ZEL_TEST_MAIN_WITH(Application, TestClass)                                                 \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        const TestEnvironment environment;                                                         \
        const Application app(argc, argv);                                                         \
        TestEnvironment::nameApplication();                                                        \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }

/// main() of a test without windows.
#define ZEL_TEST_MAIN(TestClass) ZEL_TEST_MAIN_WITH(QCoreApplication, TestClass)
/// main() of a test with windows.
#define ZEL_GUI_TEST_MAIN(TestClass) ZEL_TEST_MAIN_WITH(QApplication, TestClass)
