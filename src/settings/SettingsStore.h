#pragma once

#include <QSettings>

/// A settings file that a failed write leaves unchanged.
class SettingsStore : public QSettings
{
public:
    using QSettings::QSettings;

    /// Prepares the file for setValue(): removes a stale lock file, but not that of a running
    /// process.
    ///
    /// Returns false when the file cannot be written or the disk is full. Do not call
    /// setValue() then: QSettings would pass the values on to the next object that reads the file.
    bool prepareWrite() const;

private:
    bool hasRoom() const;
    void removeStaleLock() const;
};
