#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <utility>

using namespace Qt::StringLiterals;

TestEnvironment::TestEnvironment()
{
    const std::pair<const char *, QString> folders[] = {{"HOME", u"home"_s},
                                                        {"XDG_CONFIG_HOME", u"config"_s},
                                                        {"XDG_DATA_HOME", u"data"_s},
                                                        {"XDG_CACHE_HOME", u"cache"_s},
                                                        {"XDG_RUNTIME_DIR", u"runtime"_s}};
    for (const auto &[variable, name] : folders) {
        QDir().mkpath(dir.filePath(name));
        qputenv(variable, dir.filePath(name).toLocal8Bit());
    }
    QFile::setPermissions(dir.filePath(u"runtime"_s),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    // Qt 6.5 and later warn about a locale that is not UTF-8.
    qputenv("LC_ALL", "C.UTF-8");
    // The D-Bus library leaks memory when it searches for a bus and finds none.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    // Qt 6.5 and later call the desktop's portal at the start and leak the call if there is no
    // reply.
    qputenv("QT_NO_XDG_DESKTOP_PORTAL", "1");
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
}

void TestEnvironment::nameApplication()
{
    QCoreApplication::setApplicationName(u"zel_launcher"_s);
    QCoreApplication::setOrganizationName(u"Orvandale"_s);
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
    return QDir(configHome()).filePath(u"Orvandale/zel_launcher.ini"_s);
}

void TestBase::init()
{
    // Except the offscreen platform's warnings about windows of fixed size, menus and tool tips.
    QTest::failOnWarning(
        QRegularExpression(QStringLiteral("^(?!This plugin does not support "
                                          "(propagateSizeHints|raise|grabbing the keyboard))")));
}
