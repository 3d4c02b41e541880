#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>

#include "zel-manifest/FileDigest.h"
#include "zel-manifest/PatchFolder.h"
#include "zel-manifest/Text.h"

/// The files that players have before a patch: the base, which is the client as handed out, and the
/// files that the releases since then listed.
class Base
{
public:
    /// Called about ten times a second with the amount read so far and the total.
    using Progress = std::function<void(const FileAmount &done, const FileAmount &all)>;

    /// Sets the client in @p folder as the base. findEqual() reads its files. Returns the scan of
    /// the folder; the base is unusable if that has failures.
    PatchFolderScan setFolder(const QString &folder);
    /// Sets the client that the manifest @p file lists as the base. Returns false, with the reason
    /// in @p error, when @p file is not a readable manifest.
    bool setManifest(const QString &file, QString *error);
    /// Adds the files that the manifest @p file of a release lists. Call it after setFolder() or
    /// setManifest(), since the base's letter case prevails. Returns false like setManifest().
    bool addRelease(const QString &file, QString *error);

    /// @p path in the letter case that players have. Components that they do not have are
    /// unchanged.
    QByteArray spelling(const QByteArray &path) const;

    /// What some players have in the place of the file @p path, which is in the letter case of
    /// spelling(), and the launcher cannot replace: a folder @p path, or a file where @p path needs
    /// a folder. Empty if there is nothing.
    QByteArray obstacle(const QByteArray &path) const;

    /// The paths in the base, in bytewise order.
    QByteArrayList paths() const;
    /// The paths that a release listed, in bytewise order.
    QByteArrayList releasedPaths() const;

    /// Adds those of @p paths to @p equal that all players have with the same content: the base has
    /// a file with the same digest, and no release listed it. @p digests holds the digests of the
    /// files at @p paths, in the same order. If the base is a folder, only its files of the same
    /// size are read. Returns false when one could not be read; @p errors then has a line for each.
    bool findEqual(const QByteArrayList &paths, const QList<FileDigest> &digests,
                   QSet<QByteArray> *equal, QStringList *errors, const Progress &progress = {});

private:
    /// Files and the folders that they are in.
    struct Tree {
        QSet<QByteArray> files;
        QSet<QByteArray> folders;

        void add(const QByteArray &path);
        QByteArray obstacle(const QByteArray &path) const;
    };

    void addSpelling(const QByteArray &path);

    QByteArray root;                     // folder of the base; empty when it is a manifest
    QHash<QByteArray, FileDigest> files; // of the base; without digests until they are read
    QSet<QByteArray> released;
    Tree ofBase;
    Tree ofReleases; // without what the base made impossible; in the letter case of spelling()
    QSet<QByteArray> spellings;        // of files and folders
    QHash<QString, QByteArray> folded; // first spelling by case-folded path
};
