#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <cstdio>
#include <optional>

#include "zel-manifest/CommandLine.h"
#include "zel-manifest/Console.h"
#include "zel-manifest/FileDigest.h"
#include "zel-manifest/Manifest.h"
#include "zel-manifest/PatchFolder.h"
#include "zel-manifest/PublishedPatch.h"

namespace
{

QString filesText(qsizetype count)
{
    return count == 1 ? QStringLiteral("1 file") : QStringLiteral("%1 files").arg(count);
}

QString doneText(qint64 doneBytes, qint64 allBytes, qsizetype doneFiles, qsizetype allFiles)
{
    return QStringLiteral("%1 of %2, %3 of %4")
        .arg(sizeText(doneBytes), sizeText(allBytes), QString::number(doneFiles),
             filesText(allFiles));
}

qint64 totalSize(const Manifest &manifest)
{
    qint64 total = 0;
    for (const ManifestEntry &entry : manifest.files) {
        total += std::max<qint64>(entry.size, 0);
    }
    return total;
}

std::optional<QByteArray> contentOf(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return std::nullopt;
    }
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *error = file.errorString();
        return std::nullopt;
    }
    return content;
}

/// Writes the manifest of a folder.
class Publishing
{
public:
    Publishing(const Options &itsOptions, Console *itsConsole)
        : options(itsOptions)
        , console(itsConsole)
    {
    }

    ExitCode run()
    {
        if (!QFileInfo(options.folder).isDir()) {
            console->error(quoted(options.folder) + QStringLiteral(" is not a folder"));
            return Failed;
        }
        if (!options.dryRun && PatchFolder::realPath(options.manifest).isEmpty()) {
            console->error(
                QStringLiteral("there is no folder to write %1 in").arg(quoted(options.manifest)));
            return Failed;
        }
        const PatchFolderScan scan =
            PatchFolder::scan(options.folder, options.manifest, options.excludes);
        if (const ExitCode code = report(scan); code != Done) {
            return code;
        }
        Manifest manifest;
        manifest.version = options.version;
        if (!describe(scan, &manifest) || !deliver(manifest.toJson())) {
            return Failed;
        }
        summarize(manifest);
        return Done;
    }

private:
    /// Says what the operator has to know of the folder; the exit code if that is the end.
    ExitCode report(const PatchFolderScan &scan)
    {
        for (const QByteArray &path : scan.excluded) {
            console->note(quoted(path) + QStringLiteral(": excluded"));
        }
        for (const QString &warning : scan.warnings) {
            console->warning(warning);
        }
        for (const QString &failure : scan.failures) {
            console->error(failure);
        }
        for (const QString &problem : scan.problems) {
            console->error(problem);
        }
        const bool mayReplace = reportAbsent(scan.absent);
        if (!scan.failures.isEmpty()) {
            return Failed;
        }
        return scan.problems.isEmpty() && mayReplace ? Done : Refused;
    }

    /// Says which files are not listed because a manifest is in their place. Returns false when
    /// the new manifest would replace something else, which can only be a file of the patch.
    bool reportAbsent(const QByteArrayList &absent)
    {
        const QByteArray target = PatchFolder::realPath(options.manifest);
        bool mayReplace = true;
        for (const QByteArray &path : absent) {
            const QString place = options.folder + QLatin1Char('/') + QString::fromUtf8(path);
            const bool isTarget = PatchFolder::realPath(place) == target;
            if (!isTarget) {
                console->warning(quoted(path) +
                                 QStringLiteral(": not listed; it is where the launcher looks for "
                                                "the manifest"));
            }
            QString error;
            Manifest old;
            if (isTarget && path != "manifest.json" &&
                !Manifest::fromJson(contentOf(place, &error).value_or(QByteArray()), &old)) {
                console->error(
                    quoted(path) +
                    QStringLiteral(": is no manifest, so --output shall not replace it"));
                mayReplace = false;
            }
        }
        return mayReplace;
    }

    /// Fills in the files, sizes and digests.
    bool describe(const PatchFolderScan &scan, Manifest *manifest)
    {
        QByteArrayList places;
        for (const QByteArray &path : scan.files) {
            places.append(QFile::encodeName(options.folder) + '/' + path);
        }
        const auto progress = [&](qsizetype files, qint64 bytes) {
            console->progress(QStringLiteral("reading"), bytes, scan.totalSize,
                              doneText(bytes, scan.totalSize, files, places.size()));
        };
        QList<FileDigest> digests;
        QStringList errors;
        const bool isRead = digestFiles(places, &digests, &errors, progress);
        console->endProgress();
        for (const QString &error : errors) {
            console->error(error);
        }
        for (qsizetype i = 0; isRead && i < digests.size(); ++i) {
            const QByteArray &path = scan.files.at(i);
            manifest->files.append({PatchFolder::pathText(path),
                                    options.urlPrefix + Manifest::urlOf(path), digests.at(i).size,
                                    QString::fromLatin1(digests.at(i).sha256)});
        }
        return isRead;
    }

    bool deliver(const QByteArray &json)
    {
        if (options.dryRun) {
            const size_t written = std::fwrite(json.constData(), 1, size_t(json.size()), stdout);
            if (std::fflush(stdout) != 0 || written != size_t(json.size())) {
                console->error(QStringLiteral("cannot write to standard output"));
                return false;
            }
            return true;
        }
        QString error;
        if (!writeWhole(options.manifest, json, &error)) {
            console->error(
                QStringLiteral("cannot write %1: %2").arg(quoted(options.manifest), error));
            return false;
        }
        return true;
    }

    void summarize(const Manifest &manifest)
    {
        if (manifest.files.isEmpty()) {
            console->warning(QStringLiteral("the manifest lists no file: launchers will take over "
                                            "the version and download nothing"));
        }
        console->note(
            QStringLiteral("%1 %2: version %3, %4, %5")
                .arg(options.dryRun ? QStringLiteral("not written:") : QStringLiteral("written:"),
                     quoted(options.manifest), quoted(manifest.version),
                     filesText(manifest.files.size()), sizeText(totalSize(manifest))));
    }

    const Options &options;
    Console *const console;
};

/// Compares a published patch with its manifest.
class Checking
{
public:
    Checking(const Options &itsOptions, Console *itsConsole)
        : options(itsOptions)
        , console(itsConsole)
        , patch(*itsOptions.baseUrl, itsOptions.timeout * 1000)
    {
    }

    ExitCode run()
    {
        warnOfBaseUrl();
        QByteArray json;
        QString error;
        Manifest manifest;
        if (!patch.fetchManifest(&json, &error)) {
            console->error(QStringLiteral("manifest.json: ") + error);
            return Unpublished;
        }
        if (!Manifest::fromJson(json, &manifest)) {
            console->error(QStringLiteral("manifest.json: is not a JSON object"));
            return Unpublished;
        }
        if (!options.manifest.isEmpty()) {
            const std::optional<QByteArray> expected = contentOf(options.manifest, &error);
            if (!expected) {
                console->error(quoted(options.manifest) + QLatin1String(": ") + error);
                return Failed;
            }
            if (json != *expected) {
                differ(QStringLiteral("manifest.json"),
                       QStringLiteral("is not the one in ") + quoted(options.manifest));
            }
        }
        compareFiles(manifest);
        summarize(manifest);
        return differences == 0 ? Done : Different;
    }

private:
    /// Says what a player should not enter as patch address.
    void warnOfBaseUrl()
    {
        static const QRegularExpression lonePercent(QStringLiteral("%(?![0-9A-Fa-f]{2})"));
        if (options.baseUrl->contains(u'#')) {
            console->warning(QStringLiteral("the base URL has a \"#\": what follows it, and so the "
                                            "name of every file, never reaches the server"));
        }
        if (options.baseUrl->contains(lonePercent)) {
            console->warning(QStringLiteral("the base URL has a \"%\" that encodes nothing: the "
                                            "launcher then takes every \"%\" in the URL of a file "
                                            "for a character of its name"));
        }
    }

    void compareFiles(const Manifest &manifest)
    {
        const qint64 allBytes = totalSize(manifest);
        qint64 bytesBefore = 0;
        for (qsizetype i = 0; i < manifest.files.size(); ++i) {
            const ManifestEntry &entry = manifest.files.at(i);
            const auto progress = [&](qint64 received) {
                const qint64 bytes = bytesBefore + received;
                console->progress(QStringLiteral("fetching"), bytes, allBytes,
                                  doneText(bytes, allBytes, i, manifest.files.size()));
            };
            FileDigest published;
            QString error;
            if (patch.fetchFile(entry.url, &published, &error, progress)) {
                compare(entry, published);
            } else {
                differ(entry.path, error);
            }
            bytesBefore += std::max<qint64>(entry.size, 0);
        }
        console->endProgress();
    }

    void compare(const ManifestEntry &entry, const FileDigest &published)
    {
        if (entry.size >= 0 && published.size != entry.size) {
            differ(entry.path, QStringLiteral("%1 bytes are published, %2 are listed")
                                   .arg(published.size)
                                   .arg(entry.size));
        } else if (entry.sha256.isEmpty()) {
            console->warning(quoted(entry.path) +
                             QStringLiteral(": the manifest has no digest to compare with"));
        } else if (entry.sha256.compare(QString::fromLatin1(published.sha256),
                                        Qt::CaseInsensitive) != 0) {
            differ(entry.path, QStringLiteral("the content is not what is listed"));
        }
    }

    void differ(const QString &path, const QString &text)
    {
        ++differences;
        console->error(quoted(path) + QLatin1String(": ") + text);
    }

    void summarize(const Manifest &manifest)
    {
        const QString what = QStringLiteral("version %1, %2, %3")
                                 .arg(quoted(manifest.version), filesText(manifest.files.size()),
                                      sizeText(totalSize(manifest)));
        console->note(differences == 0 ? QStringLiteral("published as it should be: ") + what
                                       : QStringLiteral("%1 wrong in: ").arg(differences) + what);
    }

    const Options &options;
    Console *const console;
    PublishedPatch patch;
    qsizetype differences = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    // File names are UTF-8 and messages are English, whatever the operator's locale.
    qputenv("LC_ALL", "C.UTF-8");
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zel-manifest"));

    Console console;
    ExitCode code = Done;
    const std::optional<Options> options = CommandLine().read(&console, &code);
    if (!options) {
        return code;
    }
    return options->baseUrl ? Checking(*options, &console).run()
                            : Publishing(*options, &console).run();
}
