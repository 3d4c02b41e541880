#include "zel-manifest/Publishing.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>

#include "zel-manifest/Console.h"
#include "zel-manifest/FileDigest.h"

Publishing::Publishing(const Options &itsOptions, Console *itsConsole)
    : options(itsOptions)
    , console(itsConsole)
{
}

ExitCode Publishing::run()
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
    if (!listFiles(scan, &manifest) || !deliver(manifest.toJson())) {
        return Failed;
    }
    summarize(manifest);
    return Done;
}

/// Shows what the scan found. Returns Done when the folder can be published.
ExitCode Publishing::report(const PatchFolderScan &scan)
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

/// Warns of a "manifest.json" that is neither listed nor replaced. Returns false, with the error
/// shown, when the new manifest would replace a file of the patch.
bool Publishing::reportAbsent(const QByteArrayList &absent)
{
    for (const QByteArray &path : absent) {
        QString error;
        Manifest old;
        if (path != "manifest.json") {
            if (!Manifest::fromJson(readWhole(options.manifest, &error).value_or(QByteArray()),
                                    &old)) {
                console->error(
                    quoted(path) +
                    QStringLiteral(": is no manifest, so --output shall not replace it"));
                return false;
            }
        } else if (PatchFolder::realPath(options.folder + QStringLiteral("/manifest.json")) !=
                   PatchFolder::realPath(options.manifest)) {
            console->warning(quoted(path) +
                             QStringLiteral(": not listed; it is where the launcher looks for "
                                            "the manifest"));
        }
    }
    return true;
}

/// Adds the files with their sizes and digests to @p manifest. Returns false, with the errors
/// shown, when one could not be read.
bool Publishing::listFiles(const PatchFolderScan &scan, Manifest *manifest)
{
    QByteArrayList places;
    for (const QByteArray &path : scan.files) {
        places.append(QFile::encodeName(options.folder) + '/' + path);
    }
    const FileAmount all{scan.files.size(), scan.totalSize};
    QList<FileDigest> digests;
    QStringList errors;
    const bool isRead = digestFiles(places, &digests, &errors, [&](const FileAmount &done) {
        console->progress(QStringLiteral("reading"), done, all);
    });
    console->endProgress();
    for (const QString &error : errors) {
        console->error(error);
    }
    for (qsizetype i = 0; isRead && i < digests.size(); ++i) {
        const QByteArray &path = scan.files.at(i);
        manifest->files.append({textOf(path).value_or(QString()),
                                options.urlPrefix + Manifest::urlOf(path), digests.at(i).size,
                                QString::fromLatin1(digests.at(i).sha256)});
    }
    return isRead;
}

bool Publishing::deliver(const QByteArray &json)
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
        console->error(QStringLiteral("cannot write %1: %2").arg(quoted(options.manifest), error));
        return false;
    }
    return true;
}

void Publishing::summarize(const Manifest &manifest)
{
    if (manifest.files.isEmpty()) {
        console->warning(QStringLiteral("the manifest lists no file: launchers will take over "
                                        "the version and download nothing"));
    }
    const FileAmount amount = manifest.amount();
    console->note(
        QStringLiteral("%1 %2: version %3, %4, %5")
            .arg(options.dryRun ? QStringLiteral("not written:") : QStringLiteral("written:"),
                 quoted(options.manifest), quoted(manifest.version), filesText(amount.files),
                 sizeText(amount.bytes)));
}
