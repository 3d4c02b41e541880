#pragma once

#include <QString>

#include "client/ConfigBin.h"

/// The server that the client connects to.
struct ServerProfile {
    QString name;         ///< Display name, written to "sn.bin".
    QString ip;           ///< Server address.
    int channelCount = 1; ///< Number of channels; clamped to 1..10 when written.
};

/// Writes the launcher's choices into the client's own files.
class ClientSync
{
public:
    /// The channel count @p n clamped to 1..10.
    static int clampChannelCount(int n);

    /// Saves @p cfg as "Config.bin" in @p clientDir.
    ///
    /// Returns false and sets @p error (which may be null) when the folder does not exist or the
    /// file could not be written.
    static bool writeGameConfig(const QString &clientDir, const ClientConfig &cfg,
                                QString *error = nullptr);

    /// Makes the client in @p clientDir connect to @p profile: writes "serverlist.txt", "sn.bin"
    /// (unless it is valid and has the profile's name in any letter case), "server.txt" and the
    /// "server_ip=" lines of an existing "zel_login.ini", and removes "ZEL_patched.exe".
    ///
    /// Returns false and sets @p error (which may be null) at the first failure. Files written
    /// before it stay written, the later ones are untouched. Failures on "zel_login.ini" and
    /// "ZEL_patched.exe" are ignored.
    static bool writeServerFiles(const QString &clientDir, const ServerProfile &profile,
                                 QString *error = nullptr);
};
