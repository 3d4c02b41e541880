#pragma once

#include <QString>

#include "client/ConfigBin.h"
#include "client/SnBin.h"

/// The launcher's persistent settings: a singleton for the GUI thread. Fields are read and assigned
/// directly; save() writes them to disk. Copyable, so that the fields can be restored later.
class LauncherSettings
{
public:
    /// The singleton. Holds the defaults until load() reads the files.
    static LauncherSettings &instance();

    QString clientDir; ///< Folder of the game client.
    /// Client executable: a file name inside clientDir, or a path.
    QString clientExe = QStringLiteral("ZEL.exe");
    QString winePath;     ///< Wine executable chosen by the user; empty lets resolvedWine() pick.
    bool useWine = true;  ///< Whether the client is started through Wine.
    QString patchBaseUrl; ///< Base URL of the patch server; empty disables updates.
    QString serverName = SnBin::defaultName();      ///< Server display name.
    QString serverIp = QStringLiteral("127.0.0.1"); ///< Game server address.
    int channelCount = 1;                           ///< Channels of the server, 1..10.
    QString websiteUrl;                             ///< Stored only; nothing opens it.
    QString newsUrl;                                ///< Stored only; nothing opens it.
    /// Client version after the last completed update.
    QString localVersion = QStringLiteral("1.0.0");
    ClientConfig clientConfig; ///< The client's options, stored in its "Config.bin".

    /// Reads every field from the settings file, then the server fields and the client's options
    /// from the files in the client folder. Unsaved edits are lost. A field that no file sets gets
    /// its default; an unreadable or malformed "Config.bin" leaves clientConfig untouched. Nothing
    /// is reported.
    void load();

    /// Writes every field but clientConfig to the settings file. A failure, a full disk included,
    /// is silent and leaves the file unchanged.
    void save() const;

    /// Path of the client's server name file.
    QString snBinPath() const;
    /// Path of the client's options file.
    QString configBinPath() const;
    /// Path of the client's server list.
    QString serverListPath() const;
    /// Path of the client's notice.
    QString noticePath() const;
    /// Path of the background picture in the client folder; without that file, in the launcher's
    /// own folder, where it may not exist.
    QString launcherBmpPath() const;
    /// Absolute path of the client executable to start: clientExe as given, in the client
    /// folder, or under one of the client's other known names. If none of them exists, the path
    /// that clientExe would have in the client folder.
    QString baseClientExePath() const;
    /// The executable that a launch starts: baseClientExePath().
    QString resolvedClientExe() const;
    /// Wine executable to start the client with: winePath when it exists, else the system's
    /// Wine, else the bare command name "wine".
    QString resolvedWine() const;

    /// Reads the server address, channel count and name from the files in the client folder.
    /// A field whose file is missing or unusable keeps its value. Saves nothing.
    void importFromClientFiles();

    /// Writes the server files and "Config.bin" in the client folder.
    ///
    /// Returns false and sets @p error (which may be null) when the folder does not exist or at
    /// the first file that could not be written; files already written stay written.
    bool syncClientFiles(QString *error = nullptr) const;

    /// Writes the server files in the client folder; "Config.bin" is untouched. Fails like
    /// syncClientFiles().
    bool syncServerFilesOnly(QString *error = nullptr) const;

private:
    LauncherSettings() = default;

    QString inClientDir(const QString &name) const;
};
