#pragma once

#include <QDateTime>
#include <QDir>
#include <QFile>

#include "settings/LauncherSettings.h"
#include "support/files/Disk.h"

/// The launcher's settings of a new process.
inline const LauncherSettings initialSettings = LauncherSettings::instance();

/// The launcher's settings.
inline LauncherSettings &settings()
{
    return LauncherSettings::instance();
}

/// Resets the fields to those of a new process.
inline void resetFields()
{
    settings() = initialSettings;
}

/// Resets the fields and removes the settings file.
inline void resetSettings()
{
    QDir(TestEnvironment::configHome()).removeRecursively();
    Disk::makeFolder(TestEnvironment::configHome());
    resetFields();
}

/// Gives the settings file a new time stamp: QSettings does not reload a file that changes twice
/// within one tick of the file system's clock.
inline void touchSettings()
{
    static qint64 seconds = 1'000'000'000;
    QFile file(TestEnvironment::settingsFile());
    if (!file.open(QIODevice::ReadWrite) ||
        !file.setFileTime(QDateTime::fromSecsSinceEpoch(++seconds),
                          QFileDevice::FileModificationTime)) {
        qFatal("cannot date the settings file");
    }
}

/// Writes the settings file without QSettings.
inline void writeSettings(const QByteArray &text)
{
    Disk::write(TestEnvironment::settingsFile(), text);
    touchSettings();
}
