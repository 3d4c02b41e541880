#include "zel-doctor/WineSetup.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <initializer_list>

#include "settings/LauncherSettings.h"

namespace
{

QString homePath(const QString &name)
{
    return QDir::home().filePath(name);
}

/// The folder in the environment variable @p variable, or @p otherwise in the home folder.
QString folderOf(const char *variable, const QString &otherwise)
{
    const QString folder = qEnvironmentVariable(variable);
    return folder.isEmpty() ? homePath(otherwise) : folder;
}

/// The first of @p texts that is not empty.
QString firstOf(std::initializer_list<QString> texts)
{
    for (const QString &text : texts) {
        if (!text.isEmpty()) {
            return text;
        }
    }
    return {};
}

/// The values in zel-wine's settings file; empty if it has no valid line for them.
struct ScriptSettings {
    QString wine;
    QString prefix;
    QString arch;
};

ScriptSettings scriptSettings()
{
    ScriptSettings settings;
    QFile file(folderOf("XDG_CONFIG_HOME", QStringLiteral(".config")) +
               QStringLiteral("/Orvandale/wine.conf"));
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
        return settings;
    }
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (const QString &line : lines) {
        const QString key = line.section(u'=', 0, 0).trimmed();
        QString value = line.section(u'=', 1).trimmed();
        if (value.startsWith(QLatin1String("~/"))) {
            value = homePath(value.sliced(2));
        }
        if (key == QLatin1String("WINE") && !value.isEmpty()) {
            settings.wine = value;
        } else if (key == QLatin1String("PREFIX") && value.startsWith(u'/')) {
            settings.prefix = value;
        } else if (key == QLatin1String("WINEARCH")) {
            settings.arch = value;
        }
    }
    return settings;
}

/// The absolute path of @p program, looked up on the PATH of @p environment.
QString executableAt(const QString &program, const QProcessEnvironment &environment)
{
    const QStringList path =
        environment.value(QStringLiteral("PATH")).split(u':', Qt::SkipEmptyParts);
    return QStandardPaths::findExecutable(program, path);
}

/// The libraries that a Wine has.
struct Libraries {
    bool unix64 = false;
    bool unix32 = false;
    bool windows32 = false; ///< Beside the 64-bit Unix library, with wow64.dll.
};

Libraries librariesOf(const QString &wine)
{
    if (wine.isEmpty()) {
        return {};
    }
    const QDir bin(QFileInfo(QFileInfo(wine).canonicalFilePath()).absolutePath());
    const auto has = [&bin](const QString &file) {
        return QFileInfo::exists(bin.filePath(QStringLiteral("../") + file));
    };
    Libraries libraries;
    for (const QString &folder :
         {QStringLiteral("lib"), QStringLiteral("lib64"), QStringLiteral("lib32"),
          QStringLiteral("lib/x86_64-linux-gnu"), QStringLiteral("lib/i386-linux-gnu")}) {
        const QString wineFolder = folder + QStringLiteral("/wine/");
        const bool has64 = has(wineFolder + QStringLiteral("x86_64-unix/ntdll.so"));
        libraries.unix64 |= has64;
        libraries.unix32 |= has(wineFolder + QStringLiteral("i386-unix/ntdll.so"));
        libraries.windows32 |= has64 &&
                               has(wineFolder + QStringLiteral("i386-windows/ntdll.dll")) &&
                               has(wineFolder + QStringLiteral("x86_64-windows/wow64.dll"));
    }
    // On Debian, removing a Wine package leaves libraries behind, but no loader.
    const bool loader64 = has(QStringLiteral("lib/wine/wine64"));
    const bool loader32 = has(QStringLiteral("lib/wine/wine"));
    libraries.unix64 &= loader64 || !loader32;
    libraries.unix32 &= loader32 || !loader64;
    return libraries;
}

WineSetup::Support supportIf(const Libraries &libraries, bool isSupported)
{
    if (!libraries.unix64 && !libraries.unix32) {
        return WineSetup::Support::Unknown;
    }
    return isSupported ? WineSetup::Support::Yes : WineSetup::Support::No;
}

} // namespace

WineSetup::LoginShell WineSetup::runLoginShell(int limitMs)
{
    static const QByteArray mark("\0zel-doctor\0", 12);
    LoginShell result;
    result.environment = QProcessEnvironment::systemEnvironment();
    QProcess shell;
    QElapsedTimer timer;
    timer.start();
    shell.start(QStringLiteral("/bin/bash"),
                {QStringLiteral("-lc"),
                 QStringLiteral(R"(printf '\0zel-doctor\0' && exec /usr/bin/env -0)")});
    if (!shell.waitForFinished(limitMs) && shell.state() != QProcess::NotRunning) {
        shell.kill();
        shell.waitForFinished();
        return result;
    }
    result.isInTime = true;
    result.elapsedMs = timer.elapsed();
    result.exitCode = shell.exitCode();
    const QByteArray output = shell.readAllStandardOutput();
    const qsizetype place = output.indexOf(mark);
    result.isReached = place >= 0;
    result.printed =
        (result.isReached ? output.left(place) : output) + shell.readAllStandardError();
    if (result.isReached) {
        result.environment.clear();
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
    choice.wanted = program;
    choice.wine = executableAt(program, environment);
    choice.prefix = environment.value(QStringLiteral("WINEPREFIX"));
    choice.arch = environment.value(QStringLiteral("WINEARCH"));
    choice.isScript = QFileInfo(QFileInfo(choice.wine).canonicalFilePath()).fileName() ==
                      QLatin1String("zel-wine");
    ScriptSettings script;
    QString defaultPrefix = QStringLiteral(".wine");
    if (choice.isScript) {
        script = scriptSettings();
        defaultPrefix = QStringLiteral(".local/share/Orvandale/prefix");
        LauncherSettings withoutChoice = LauncherSettings::instance();
        withoutChoice.winePath.clear();
        choice.wanted = firstOf(
            {script.wine, environment.value(QStringLiteral("WINE")), withoutChoice.resolvedWine()});
        choice.wine = executableAt(choice.wanted, environment);
    }
    choice.prefix = firstOf({script.prefix, choice.prefix, homePath(defaultPrefix)});
    choice.arch = firstOf({script.arch, choice.arch});
    return choice;
}

QString WineSetup::logPath()
{
    return folderOf("XDG_STATE_HOME", QStringLiteral(".local/state")) +
           QStringLiteral("/Orvandale/wine.log");
}

WineSetup::Support WineSetup::support(const QString &wine, ProgramKind kind)
{
    const Libraries libraries = librariesOf(wine);
    switch (kind) {
    case ProgramKind::Bits64:
        return supportIf(libraries, libraries.unix64);
    case ProgramKind::Bits32:
        return supportIf(libraries, libraries.unix32 || libraries.windows32);
    case ProgramKind::Unreadable:
    case ProgramKind::Foreign:
        break;
    }
    return Support::Unknown;
}

WineSetup::Support WineSetup::win32PrefixSupport(const QString &wine)
{
    const Libraries libraries = librariesOf(wine);
    return supportIf(libraries, libraries.unix32);
}
