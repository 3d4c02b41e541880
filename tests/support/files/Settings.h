#pragma once

#include <QDir>

#include "settings/LauncherSettings.h"
#include "support/files/Disk.h"

/// Gives the launcher's settings the values that a new process starts with.
inline void resetFields()
{
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir.clear();
    settings.clientExe = QStringLiteral("ZEL.exe");
    settings.winePath.clear();
    settings.useWine = true;
    settings.patchBaseUrl.clear();
    settings.serverName = QStringLiteral("Orvandale");
    settings.serverIp = QStringLiteral("127.0.0.1");
    settings.channelCount = 1;
    settings.websiteUrl.clear();
    settings.newsUrl.clear();
    settings.localVersion = QStringLiteral("1.0.0");
    settings.clientConfig = ClientConfig();
}

/// Starts anew, without a settings file.
inline void resetSettings()
{
    QDir(TestEnvironment::configHome()).removeRecursively();
    Disk::makeFolder(TestEnvironment::configHome());
    resetFields();
}
