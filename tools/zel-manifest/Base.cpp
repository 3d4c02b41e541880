#include "zel-manifest/Base.h"

#include <QFile>

#include <algorithm>
#include <optional>
#include <sys/stat.h>

#include "zel-manifest/Manifest.h"

namespace
{

bool readManifest(const QString &file, Manifest *manifest, QString *error)
{
    const std::optional<QByteArray> json = readWhole(file, error);
    if (json && !Manifest::fromJson(*json, manifest)) {
        *error = QStringLiteral("is no manifest");
        return false;
    }
    return json.has_value();
}

QByteArrayList sorted(QByteArrayList paths)
{
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace

PatchFolderScan Base::setFolder(const QString &folder)
{
    root = QFile::encodeName(folder) + '/';
    PatchFolderScan scan = PatchFolder::scan(folder, QString());
    for (const QByteArray &path : std::as_const(scan.files)) {
        files.insert(path, {});
        ofBase.add(path);
        addSpelling(path);
    }
    return scan;
}

bool Base::setManifest(const QString &file, QString *error)
{
    Manifest manifest;
    if (!readManifest(file, &manifest, error)) {
        return false;
    }
    for (const ManifestEntry &entry : std::as_const(manifest.files)) {
        const QByteArray path = entry.path.toUtf8();
        files.insert(path, {entry.size, entry.sha256.toLower().toLatin1()});
        ofBase.add(path);
        addSpelling(path);
    }
    return true;
}

bool Base::addRelease(const QString &file, QString *error)
{
    Manifest manifest;
    if (!readManifest(file, &manifest, error)) {
        return false;
    }
    for (const ManifestEntry &entry : std::as_const(manifest.files)) {
        const QByteArray path = entry.path.toUtf8();
        released.insert(path);
        const QByteArray stored = spelling(path);
        if (ofBase.obstacle(stored).isEmpty()) {
            ofReleases.add(stored);
        }
        addSpelling(stored);
    }
    return true;
}

void Base::Tree::add(const QByteArray &path)
{
    for (const QByteArray &part : pathsTo(path)) {
        (part.size() < path.size() ? folders : files).insert(part);
    }
}

QByteArray Base::Tree::obstacle(const QByteArray &path) const
{
    for (const QByteArray &part : pathsTo(path)) {
        if ((part.size() < path.size() ? files : folders).contains(part)) {
            return part;
        }
    }
    return {};
}

void Base::addSpelling(const QByteArray &path)
{
    const QByteArrayList parts = pathsTo(path);
    for (const QByteArray &part : parts) {
        spellings.insert(part);
        QByteArray &first = folded[withoutCase(QString::fromUtf8(part))];
        if (first.isEmpty()) {
            first = part;
        }
    }
}

QByteArray Base::spelling(const QByteArray &path) const
{
    QByteArray result;
    for (const QByteArray &name : path.split('/')) {
        result += result.isEmpty() ? name : '/' + name;
        if (!spellings.contains(result)) {
            result = folded.value(withoutCase(QString::fromUtf8(result)), result);
        }
    }
    return result;
}

QByteArray Base::obstacle(const QByteArray &path) const
{
    const QByteArray inBase = ofBase.obstacle(path);
    return inBase.isEmpty() ? ofReleases.obstacle(path) : inBase;
}

QByteArrayList Base::paths() const
{
    return sorted(files.keys());
}

QByteArrayList Base::releasedPaths() const
{
    return sorted(released.values());
}

bool Base::findEqual(const QByteArrayList &paths, const QList<FileDigest> &digests,
                     QSet<QByteArray> *equal, QStringList *errors, const Progress &progress)
{
    QByteArrayList unread;
    QByteArrayList places;
    FileAmount all;
    for (qsizetype i = 0; !root.isEmpty() && i < paths.size(); ++i) {
        const QByteArray &path = paths.at(i);
        struct stat status = {};
        if (released.contains(path) || !files.contains(path) ||
            (::stat((root + path).constData(), &status) == 0 &&
             status.st_size != digests.at(i).size)) {
            continue;
        }
        unread.append(path);
        places.append(root + path);
        all.bytes += status.st_size;
    }
    all.files = places.size();
    QList<FileDigest> read;
    const bool isRead = digestFiles(places, &read, errors, [&](const FileAmount &done) {
        if (progress) {
            progress(done, all);
        }
    });
    for (qsizetype i = 0; i < unread.size(); ++i) {
        files.insert(unread.at(i), read.at(i));
    }
    for (qsizetype i = 0; i < paths.size(); ++i) {
        const FileDigest &own = digests.at(i);
        const FileDigest known = files.value(paths.at(i));
        if (!released.contains(paths.at(i)) && known.size == own.size &&
            known.sha256 == own.sha256) {
            equal->insert(paths.at(i));
        }
    }
    return isRead;
}
