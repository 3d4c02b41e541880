#pragma once

#include <QDir>

#include "settings/LauncherSettings.h"
#include "support/files/Disk.h"

/// The launcher's settings as a new process has them.
inline const LauncherSettings initialSettings = LauncherSettings::instance();

/// Gives the launcher's settings the values that a new process starts with.
inline void resetFields()
{
    LauncherSettings::instance() = initialSettings;
}

/// Starts anew, without a settings file.
inline void resetSettings()
{
    QDir(TestEnvironment::configHome()).removeRecursively();
    Disk::makeFolder(TestEnvironment::configHome());
    resetFields();
}
