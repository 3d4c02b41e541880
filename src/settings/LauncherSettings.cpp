#include "settings/LauncherSettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include "client/ClientSync.h"
#include "client/Files.h"
#include "client/ServerList.h"
#include "client/SnBin.h"
#include "settings/SettingsFile.h"

namespace
{

namespace Key
{
constexpr QStringView clientDir = u"client/dir";
constexpr QStringView clientExe = u"client/exe";
constexpr QStringView clientWine = u"client/wine";
constexpr QStringView clientUseWine = u"client/useWine";
constexpr QStringView patchBaseUrl = u"patch/baseUrl";
constexpr QStringView patchLocalVersion = u"patch/localVersion";
constexpr QStringView serverName = u"server/name";
constexpr QStringView serverIp = u"server/ip";
constexpr QStringView serverChannel = u"server/channel"; // written by older launchers; only read
constexpr QStringView serverChannelCount = u"server/channelCount";
constexpr QStringView linksWebsite = u"links/website";
constexpr QStringView linksNews = u"links/news";
} // namespace Key

QString absolutePath(const QString &path)
{
    return QFileInfo(path).absoluteFilePath();
}

} // namespace

LauncherSettings &LauncherSettings::instance()
{
    static LauncherSettings settings;
    return settings;
}

void LauncherSettings::load()
{
    static const LauncherSettings defaults;
    const SettingsFile file;
    clientDir = file.value(Key::clientDir).toString();
    clientExe = file.value(Key::clientExe, defaults.clientExe).toString();
    winePath = file.value(Key::clientWine).toString();
    useWine = file.value(Key::clientUseWine, defaults.useWine).toBool();
    patchBaseUrl = file.value(Key::patchBaseUrl).toString();
    serverName = file.value(Key::serverName, defaults.serverName).toString();
    serverIp = file.value(Key::serverIp, defaults.serverIp).toString();
    const int legacyCount = file.value(Key::serverChannel, defaults.channelCount).toInt();
    channelCount =
        ClientSync::clampChannelCount(file.value(Key::serverChannelCount, legacyCount).toInt());
    websiteUrl = file.value(Key::linksWebsite).toString();
    newsUrl = file.value(Key::linksNews).toString();
    localVersion = file.value(Key::patchLocalVersion, defaults.localVersion).toString();

    if (clientDir.isEmpty()) {
        // A launcher installed inside the client folder needs no configuration.
        const QString ownDir = QCoreApplication::applicationDirPath();
        if (QFileInfo::exists(ownDir)) {
            clientDir = absolutePath(ownDir);
        }
    }
    importFromClientFiles();
    ConfigBin::load(configBinPath(), &clientConfig, nullptr);
}

void LauncherSettings::save() const
{
    SettingsFile file;
    if (!file.prepareWrite()) {
        return;
    }
    file.setValue(Key::clientDir, clientDir);
    file.setValue(Key::clientExe, clientExe);
    file.setValue(Key::clientWine, winePath);
    file.setValue(Key::clientUseWine, useWine);
    file.setValue(Key::patchBaseUrl, patchBaseUrl);
    file.setValue(Key::serverName, serverName);
    file.setValue(Key::serverIp, serverIp);
    file.setValue(Key::serverChannelCount, channelCount);
    file.setValue(Key::linksWebsite, websiteUrl);
    file.setValue(Key::linksNews, newsUrl);
    file.setValue(Key::patchLocalVersion, localVersion);
}

QString LauncherSettings::snBinPath() const
{
    return SnBin::pathIn(clientDir);
}

QString LauncherSettings::configBinPath() const
{
    return inClientDir(QStringLiteral("Config.bin"));
}

QString LauncherSettings::serverListPath() const
{
    return inClientDir(QStringLiteral("serverlist.txt"));
}

QString LauncherSettings::noticePath() const
{
    return inClientDir(QStringLiteral("notice.txt"));
}

QString LauncherSettings::launcherBmpPath() const
{
    const QString name = QStringLiteral("Launcher.bmp");
    const QString inClient = inClientDir(name);
    if (QFileInfo::exists(inClient)) {
        return inClient;
    }
    return QDir(QCoreApplication::applicationDirPath()).filePath(name);
}

QString LauncherSettings::baseClientExePath() const
{
    if (QFileInfo::exists(clientExe)) {
        return absolutePath(clientExe);
    }
    const QString primary = inClientDir(clientExe);
    if (QFileInfo::exists(primary)) {
        return absolutePath(primary);
    }
    for (const QString &name : {QStringLiteral("ZELmarind.exe"), QStringLiteral("ZEL IP 14.exe"),
                                QStringLiteral("ZELLauncher.exe")}) {
        const QString path = inClientDir(name);
        if (QFileInfo::exists(path)) {
            return absolutePath(path);
        }
    }
    return absolutePath(primary);
}

QString LauncherSettings::resolvedClientExe() const
{
    return baseClientExePath();
}

QString LauncherSettings::resolvedWine() const
{
    if (QFileInfo::exists(winePath)) {
        return winePath;
    }
    // "wine" before "wine64": only "wine" can start 32-bit clients.
    for (const QString &candidate : {QStringLiteral("/usr/bin/wine"),
                                     QStringLiteral("/usr/bin/wine64"), QStringLiteral("wine")}) {
        if (QFileInfo::exists(candidate)) {
            return candidate;
        }
        const QString found = QStandardPaths::findExecutable(candidate);
        if (!found.isEmpty()) {
            return found;
        }
    }
    return QStringLiteral("wine");
}

void LauncherSettings::importFromClientFiles()
{
    if (clientDir.isEmpty()) {
        return;
    }
    QString ip;
    int channels = 0;
    if (ServerList::detectPrimary(serverListPath(), &ip, &channels)) {
        serverIp = ip;
        channelCount = ClientSync::clampChannelCount(channels);
    }
    QString name;
    if (SnBin::loadDisplayName(snBinPath(), &name)) {
        serverName = name;
    }
}

bool LauncherSettings::syncClientFiles(QString *error) const
{
    if (!syncServerFilesOnly(error)) {
        return false;
    }
    QString text;
    if (!ClientSync::writeGameConfig(clientDir, clientConfig, &text)) {
        return Files::fail(
            error,
            QStringLiteral("Servidor configurado, mas Config.bin nao foi gravado:\n%1").arg(text));
    }
    return true;
}

bool LauncherSettings::syncServerFilesOnly(QString *error) const
{
    if (!QFileInfo::exists(clientDir)) {
        return Files::fail(error, QStringLiteral("Configure a pasta do cliente."));
    }
    return ClientSync::writeServerFiles(clientDir, {serverName, serverIp, channelCount}, error);
}

QString LauncherSettings::inClientDir(const QString &name) const
{
    // Without a client folder the name is relative to the working directory.
    return clientDir.isEmpty() ? name : QDir(clientDir).filePath(name);
}
