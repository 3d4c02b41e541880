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

/// What players have before a patch: the client as it is handed out, the base, and what the
/// releases since then listed.
class Base
{
public:
    /// Called now and then with what is read so far, and how much there is to read.
    using Progress = std::function<void(const FileAmount &done, const FileAmount &all)>;

    /// Takes the client in @p folder as the base. Its files are read later, if need be. Returns the
    /// scan of the folder, whose failures make the base unusable.
    PatchFolderScan setFolder(const QString &folder);
    /// Takes the client that the manifest @p file lists as the base. Returns false, with the reason
    /// in @p error, when there is no such manifest.
    bool setManifest(const QString &file, QString *error);
    /// Adds what the manifest @p file of a release since the base lists; call it after those two,
    /// since the base's letter case prevails. Returns false like setManifest().
    bool addRelease(const QString &file, QString *error);

    /// @p path in the letter case that players have; unchanged as far as they have no such path.
    QByteArray spelling(const QByteArray &path) const;

    /// The paths of the base and those that a release listed, in bytewise order.
    QByteArrayList paths() const;
    QByteArrayList releasedPaths() const;

    /// Puts those of the files @p paths, whose digests are @p digests, in @p equal that all players
    /// have already: the base holds the same, and no release listed them. Of a folder only files of
    /// the right size are read. Returns false when one could not be read; @p errors then holds a
    /// line for each.
    bool findEqual(const QByteArrayList &paths, const QList<FileDigest> &digests,
                   QSet<QByteArray> *equal, QStringList *errors, const Progress &progress = {});

private:
    void addSpelling(const QByteArray &path);

    QByteArray root;                     // of the base; empty when it is a manifest
    QHash<QByteArray, FileDigest> files; // of the base; without digests until they are read
    QSet<QByteArray> released;
    QSet<QByteArray> spellings;        // files and folders
    QHash<QString, QByteArray> folded; // the first spelling by the path without case
};
