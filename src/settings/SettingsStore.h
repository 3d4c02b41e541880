#pragma once

#include <QSettings>

/// A settings file that a failed write leaves as it was.
class SettingsStore : public QSettings
{
public:
    using QSettings::QSettings;

    /// Makes the file ready for setValue(): removes the lock file of a process that has died, but
    /// not that of a living one.
    ///
    /// Returns false when the file cannot be written or the disk is full; nothing must be set
    /// then. QSettings would keep the values in memory for the next object that reads the file.
    bool prepareWrite() const;

private:
    bool hasRoom() const;
    void removeStaleLock() const;
};
