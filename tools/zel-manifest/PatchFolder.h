#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

/// A pattern of names that are not published: "*", "?" and "[...]" as in a shell; none of them
/// matches "/". A pattern with a "/" before its end is compared with the whole path below the
/// folder, any other pattern with the last component of the path. A pattern that ends with "/"
/// matches folders only.
class ExcludePattern
{
public:
    explicit ExcludePattern(const QString &pattern);

    /// False if the pattern is malformed, such as "" or one with a "[" that is never closed.
    bool isValid() const;
    QString text() const { return pattern; }
    /// True when the file or folder at @p path, relative to the published folder, is excluded.
    bool matches(const QString &path, bool isFolder) const;

private:
    QString pattern;
    QRegularExpression expression;
    bool wholePath = false;
    bool foldersOnly = false;
};

/// The result of scanning a folder. All lines are in the order of the paths.
struct PatchFolderScan {
    QByteArrayList files;  ///< Paths below the folder, in bytewise order.
    QByteArrayList absent; ///< Paths of manifests in the folder, which are never listed.
    qint64 totalSize = 0;  ///< Bytes of all files.

    QByteArrayList caseTwins; ///< Paths that differ from another one only in letter case.

    QByteArrayList excluded; ///< Excluded paths, without the contents of excluded folders.

    QStringList warnings; ///< What the operator should know.
    QStringList problems; ///< Why the folder cannot be published.
    QStringList failures; ///< Files and folders that could not be read.
};

/// Scans a folder to publish. Names are the raw bytes of the file system, whatever the locale.
class PatchFolder
{
public:
    /// Walks @p folder. Symbolic links that stay inside it are followed. Neither @p manifest, the
    /// file that the manifest will be written to, nor "manifest.json" in the folder itself, where
    /// the launcher expects the manifest, is listed.
    static PatchFolderScan scan(const QString &folder, const QString &manifest,
                                const QList<ExcludePattern> &excludes = {});

    /// The canonical path of @p path, whose last component need not exist. Empty if its folder does
    /// not exist.
    static QByteArray realPath(const QString &path);

    /// True for files that the launcher writes from the player's settings.
    static bool isPlayersOwn(const QString &path);
};
