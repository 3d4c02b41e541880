#pragma once

#include "settings/LauncherSettings.h"

/// The launcher's settings as it would load them now.
inline LauncherSettings &loadedSettings()
{
    LauncherSettings::instance().load();
    return LauncherSettings::instance();
}
