#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

TestEnvironment::TestEnvironment()
{
    const QDir root(dir.path());
    for (const char *name : {"home", "config", "data", "cache", "runtime"}) {
        root.mkpath(QLatin1String(name));
    }
    qputenv("HOME", root.filePath(QStringLiteral("home")).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", root.filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", root.filePath(QStringLiteral("data")).toLocal8Bit());
    qputenv("XDG_CACHE_HOME", root.filePath(QStringLiteral("cache")).toLocal8Bit());
    const QString runtime = root.filePath(QStringLiteral("runtime"));
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", runtime.toLocal8Bit());
    // The D-Bus library leaks where it looks for a bus and finds none.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
}

void TestEnvironment::nameApplication()
{
    QCoreApplication::setApplicationName(QStringLiteral("zel_launcher"));
    QCoreApplication::setOrganizationName(QStringLiteral("Orvandale"));
}

QString TestEnvironment::home()
{
    return qEnvironmentVariable("HOME");
}

QString TestEnvironment::configHome()
{
    return qEnvironmentVariable("XDG_CONFIG_HOME");
}

QString TestEnvironment::settingsFile()
{
    return QDir(configHome()).filePath(QStringLiteral("Orvandale/zel_launcher.ini"));
}

void TestBase::init()
{
    // The offscreen platform says this of windows of fixed size, of menus and of tool tips.
    QTest::failOnWarning(
        QRegularExpression(QStringLiteral("^(?!This plugin does not support "
                                          "(propagateSizeHints|raise|grabbing the keyboard))")));
}
