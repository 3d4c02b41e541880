#pragma once

#include "settings/SettingsStore.h"

/// The launcher's settings file, open for the lifetime of the object.
class SettingsFile : public SettingsStore
{
public:
    SettingsFile()
        : SettingsStore(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Orvandale"),
                        QStringLiteral("zel_launcher"))
    {
    }
};
