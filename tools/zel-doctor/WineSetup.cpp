#include "zel-doctor/WineSetup.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QStandardPaths>

#include "settings/LauncherSettings.h"

namespace
{

QString homePath(const QString &name)
{
    return QDir::home().filePath(name);
}

/// The folder that @p variable names, else the one below the home folder.
QString folderOf(const char *variable, const QString &otherwise)
{
    const QString folder = qEnvironmentVariable(variable);
    return folder.isEmpty() ? homePath(otherwise) : folder;
}

/// The keys of zel-wine's settings file; the last line of a key counts.
QMap<QString, QString> scriptSettings()
{
    QMap<QString, QString> settings;
    QFile file(folderOf("XDG_CONFIG_HOME", QStringLiteral(".config")) +
               QStringLiteral("/Orvandale/wine.conf"));
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
        return settings;
    }
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (const QString &line : lines) {
        const qsizetype sign = line.indexOf(u'=');
        const QString key = line.left(sign).trimmed();
        if (sign <= 0 || key.startsWith(u'#')) {
            continue;
        }
        QString value = line.sliced(sign + 1).trimmed();
        if (value.startsWith(QLatin1String("~/"))) {
            value = homePath(value.sliced(2));
        }
        settings.insert(key, value);
    }
    return settings;
}

QString executableAt(const QString &program)
{
    return program.isEmpty() ? QString() : QStandardPaths::findExecutable(program);
}

} // namespace

WineSetup::LoginShell WineSetup::runLoginShell()
{
    static const QByteArray mark("\0zel-doctor\0", 12);
    QProcess shell;
    QElapsedTimer timer;
    timer.start();
    shell.start(QStringLiteral("/bin/bash"),
                {QStringLiteral("-lc"),
                 QStringLiteral(R"(printf '\0zel-doctor\0' && exec /usr/bin/env -0)")});
    shell.waitForFinished(-1); // the whole check has a limit

    LoginShell result;
    result.elapsedMs = timer.elapsed();
    result.exitCode = shell.exitCode();
    const QByteArray output = shell.readAllStandardOutput();
    const qsizetype place = output.indexOf(mark);
    result.isReached = place >= 0;
    result.printed =
        (result.isReached ? output.left(place) : output) + shell.readAllStandardError();
    if (result.isReached) {
        const QByteArrayList variables = output.sliced(place + mark.size()).split('\0');
        for (const QByteArray &variable : variables) {
            const qsizetype sign = variable.indexOf('=');
            if (sign > 0) {
                result.environment.insert(QString::fromLocal8Bit(variable.left(sign)),
                                          QString::fromLocal8Bit(variable.sliced(sign + 1)));
            }
        }
    }
    return result;
}

WineSetup::Choice WineSetup::choiceFor(const QString &program,
                                       const QProcessEnvironment &environment)
{
    Choice choice;
    choice.wine = executableAt(program);
    choice.prefix = environment.value(QStringLiteral("WINEPREFIX"));
    choice.arch = environment.value(QStringLiteral("WINEARCH"));
    choice.isScript = QFileInfo(QFileInfo(choice.wine).canonicalFilePath()).fileName() ==
                      QLatin1String("zel-wine");
    if (!choice.isScript) {
        if (choice.prefix.isEmpty()) {
            choice.prefix = homePath(QStringLiteral(".wine"));
        }
        return choice;
    }
    // First its settings file, then the environment, then its defaults.
    const QMap<QString, QString> settings = scriptSettings();
    LauncherSettings system = LauncherSettings::instance();
    system.winePath.clear();
    choice.wine = executableAt(settings.value(
        QStringLiteral("WINE"), environment.value(QStringLiteral("WINE"), system.resolvedWine())));
    if (choice.prefix.isEmpty()) {
        choice.prefix = homePath(QStringLiteral(".local/share/Orvandale/prefix"));
    }
    choice.prefix = settings.value(QStringLiteral("PREFIX"), choice.prefix);
    choice.arch = settings.value(QStringLiteral("WINEARCH"), choice.arch);
    return choice;
}

QString WineSetup::logPath()
{
    return folderOf("XDG_STATE_HOME", QStringLiteral(".local/state")) +
           QStringLiteral("/Orvandale/wine.log");
}

WineSetup::Support WineSetup::support(const QString &wine, ProgramKind kind)
{
    const QDir bin(QFileInfo(QFileInfo(wine).canonicalFilePath()).absolutePath());
    const auto has = [&bin](const QString &name) {
        for (const QString &folder :
             {QStringLiteral("lib"), QStringLiteral("lib64"), QStringLiteral("lib32"),
              QStringLiteral("lib/x86_64-linux-gnu"), QStringLiteral("lib/i386-linux-gnu")}) {
            if (QFileInfo::exists(
                    bin.filePath(QStringLiteral("../%1/wine/%2").arg(folder, name)))) {
                return true;
            }
        }
        return false;
    };
    const bool has64 = has(QStringLiteral("x86_64-unix/ntdll.so"));
    const bool has32 = has(QStringLiteral("i386-unix/ntdll.so"));
    if (wine.isEmpty() || (!has64 && !has32)) {
        return Support::Unknown; // an unusual layout
    }
    bool isRun = false;
    switch (kind) {
    case ProgramKind::Bits64:
        isRun = has64;
        break;
    case ProgramKind::Bits32:
        isRun = has32 || (has(QStringLiteral("i386-windows/ntdll.dll")) &&
                          has(QStringLiteral("x86_64-windows/wow64.dll")));
        break;
    case ProgramKind::Unreadable:
    case ProgramKind::Foreign:
        return Support::Unknown;
    }
    return isRun ? Support::Yes : Support::No;
}
