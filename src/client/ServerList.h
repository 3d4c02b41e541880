#pragma once

#include <QList>
#include <QString>

/// One row of "serverlist.txt".
struct ServerEntry {
    int group = 0;
    int channel = 1; ///< 0 for the group's main line, 1 and up for its channels.
    QString ip;      ///< Address as written in the file.
    QString name;    ///< Display name; the file has none, so it stays empty.
};

/// Reads and writes "serverlist.txt": lines of group, channel and address.
class ServerList
{
public:
    /// Replaces @p entries by the rows of the file at @p path, in file order. A missing file
    /// gives an empty list; malformed lines are skipped, malformed numbers are read as 0.
    ///
    /// Returns false and sets @p error (which may be null) when @p entries is null or the file
    /// cannot be opened.
    static bool load(const QString &path, QList<ServerEntry> *entries, QString *error = nullptr);

    /// Finds the address and the channel count (the highest channel number, at least 1) of the
    /// file's primary group. Returns false, with both out-parameters untouched, when one of them
    /// is null, the file cannot be read or it names no usable server.
    static bool detectPrimary(const QString &path, QString *ip, int *channelCount);

    /// Overwrites the file at @p path with the main line and the channel lines 1 to
    /// @p channelCount (clamped to 1..10) of one group, all with the same address.
    ///
    /// Returns false and sets @p error (which may be null) when @p group is outside 0..9 or the
    /// trimmed @p ip is empty or contains a space (the file is then untouched), or when the file
    /// cannot be opened or written whole.
    static bool writeMinimal(const QString &path, int group, const QString &ip, int channelCount,
                             QString *error = nullptr);
};
