#include "zel-manifest/Publishing.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>

#include "zel-manifest/Console.h"
#include "zel-manifest/FileDigest.h"

namespace
{

constexpr qint64 mebibyte = 1 << 20;

/// The number of missing files that are named; more are only counted.
constexpr qsizetype longestList = 10;

/// True when a pattern matches @p path or a folder that it is in.
bool isExcluded(const QByteArray &path, const QList<ExcludePattern> &excludes)
{
    const QByteArrayList parts = pathsTo(path);
    return std::any_of(parts.begin(), parts.end(), [&](const QByteArray &part) {
        return std::any_of(excludes.begin(), excludes.end(), [&](const ExcludePattern &pattern) {
            return pattern.matches(QString::fromUtf8(part), part.size() < path.size());
        });
    });
}

} // namespace

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
    if (const ExitCode code = readExcludes(); code != Done) {
        return code;
    }
    if (!readBase()) {
        return Failed;
    }
    const PatchFolderScan scan = PatchFolder::scan(options.folder, options.manifest, excludes);
    const ExitCode code = report(scan);
    if (!choosePaths(scan.files) || code != Done) {
        return code == Done ? Refused : code;
    }
    reportMissing();
    manifest.version = options.version;
    if (!listFiles(scan.totalSize)) {
        return Failed;
    }
    const QByteArray json = manifest.toJson();
    if (!deliver(json)) {
        return Failed;
    }
    summarize(json.size());
    return Done;
}

/// Collects the patterns of names that are not listed.
ExitCode Publishing::readExcludes()
{
    excludes = options.excludes;
    for (const QString &file : options.excludeFiles) {
        QString error;
        const std::optional<QByteArray> content = readWhole(file, &error);
        if (!content) {
            console->error(quoted(file) + QLatin1String(": ") + error);
            return Failed;
        }
        const QStringList lines = QString::fromUtf8(*content).remove(u'\r').split(u'\n');
        for (const QString &line : lines) {
            if (line.trimmed().isEmpty() || line.startsWith(u'#')) {
                continue;
            }
            excludes.append(ExcludePattern(line));
            if (!excludes.constLast().isValid()) {
                console->error(
                    QStringLiteral("%1: %2 is no pattern").arg(quoted(file), quoted(line)));
                return WrongUsage;
            }
        }
    }
    return Done;
}

/// Reads the base and the releases since. Shows the errors and returns false when that failed.
bool Publishing::readBase()
{
    if (!options.base.isEmpty()) {
        const PatchFolderScan scan = base.setFolder(options.base);
        for (const QString &problem : scan.problems) {
            console->warning(QStringLiteral("in the base: ") + problem);
        }
        showErrors(scan.failures);
        if (!scan.failures.isEmpty()) {
            return false;
        }
    }
    QString error;
    if (!options.baseManifest.isEmpty() && !base.setManifest(options.baseManifest, &error)) {
        console->error(quoted(options.baseManifest) + QLatin1String(": ") + error);
        return false;
    }
    for (const QString &release : options.since) {
        if (!base.addRelease(release, &error)) {
            console->error(quoted(release) + QLatin1String(": ") + error);
            return false;
        }
    }
    return true;
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
    showErrors(scan.failures);
    showErrors(scan.problems);
    const bool mayReplace = reportAbsent(scan.absent);
    if (!scan.failures.isEmpty()) {
        return Failed;
    }
    return scan.problems.isEmpty() && mayReplace ? Done : Refused;
}

/// Warns of a "manifest.json" that is neither listed nor replaced. Shows an error and returns false
/// when the new manifest would replace a file of the patch.
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

/// Finds the paths at which the launcher will store the files @p places: those in the letter case
/// that players have. Shows an error for each difference, unless --fix-case is given, and for
/// everything that the launcher cannot replace. Returns false after an error.
bool Publishing::choosePaths(const QByteArrayList &places)
{
    QSet<QByteArray> shown;
    QSet<QByteArray> obstacles;
    for (const QByteArray &place : places) {
        files.append({base.spelling(place), place});
        if (reportObstacle(files.constLast(), &obstacles) || files.constLast().path == place) {
            continue;
        }
        const QByteArrayList own = pathsTo(place);
        const QByteArrayList theirs = pathsTo(files.constLast().path);
        for (qsizetype i = 0; i < own.size(); ++i) {
            if (own.at(i).split('/').constLast() == theirs.at(i).split('/').constLast() ||
                shown.contains(own.at(i))) {
                continue;
            }
            shown.insert(own.at(i));
            if (options.fixCase) {
                console->note(QStringLiteral("%1: published as %2, which players have")
                                  .arg(quoted(own.at(i)), quoted(theirs.at(i))));
            } else {
                console->error(QStringLiteral("%1: differs from %2, which players have, only in "
                                              "letter case, which Windows ignores; --fix-case "
                                              "publishes it under that name")
                                   .arg(quoted(own.at(i)), quoted(theirs.at(i))));
            }
        }
    }
    std::sort(files.begin(), files.end(),
              [](const PatchFile &a, const PatchFile &b) { return a.path < b.path; });
    return obstacles.isEmpty() && (options.fixCase || shown.isEmpty());
}

/// Shows an error and returns true when players have something that the launcher cannot replace by
/// @p file. Shows each of these @p obstacles once.
bool Publishing::reportObstacle(const PatchFile &file, QSet<QByteArray> *obstacles)
{
    const QByteArray obstacle = base.obstacle(file.path);
    if (obstacle.isEmpty()) {
        return false;
    }
    if (!obstacles->contains(obstacle)) {
        obstacles->insert(obstacle);
        const QString text =
            obstacle == file.path
                ? QStringLiteral("%1: players have a folder %2, which the launcher cannot replace "
                                 "by a file")
                : QStringLiteral("%1: players have a file %2, which the launcher cannot replace "
                                 "by a folder");
        console->error(text.arg(quoted(file.place), quoted(obstacle)));
    }
    return true;
}

/// Warns of files that players have and the folder does not.
void Publishing::reportMissing()
{
    QSet<QByteArray> known;
    for (const PatchFile &file : std::as_const(files)) {
        known.insert(file.path);
    }
    const auto takeMissing = [&](const QByteArrayList &paths, bool alsoExcluded) {
        QByteArrayList missing;
        for (const QByteArray &path : paths) {
            if (!known.contains(path) && !PatchFolder::isPlayersOwn(QString::fromUtf8(path)) &&
                (alsoExcluded || !isExcluded(path, excludes))) {
                known.insert(path);
                missing.append(path);
            }
        }
        return missing;
    };
    warnOfMissing(takeMissing(base.releasedPaths(), true),
                  QStringLiteral("an earlier release listed it, this one does not"),
                  QStringLiteral("players of that release keep theirs, as the launcher deletes "
                                 "nothing; to give all players the same, put one into the folder, "
                                 "such as the base's"));
    warnOfMissing(takeMissing(base.paths(), false),
                  QStringLiteral("the base has it, the folder does not"),
                  QStringLiteral("players keep them, as the launcher deletes nothing; to replace "
                                 "one, put an empty or harmless file of its name into the folder"));
}

/// Warns with the text @p what of each of the first few @p paths, then shows their number and
/// @p advice.
void Publishing::warnOfMissing(const QByteArrayList &paths, const QString &what,
                               const QString &advice)
{
    for (const QByteArray &path : paths.first(std::min(paths.size(), longestList))) {
        console->warning(quoted(path) + QLatin1String(": ") + what);
    }
    if (!paths.isEmpty()) {
        console->warning(QStringLiteral("%1 in all: %2").arg(filesText(paths.size()), advice));
    }
}

/// Lists the files that players need in the manifest. Shows the errors and returns false when one
/// could not be read.
bool Publishing::listFiles(qint64 totalSize)
{
    QByteArrayList places;
    QByteArrayList paths;
    for (const PatchFile &file : std::as_const(files)) {
        places.append(QFile::encodeName(options.folder) + '/' + file.place);
        paths.append(file.path);
    }
    const FileAmount all{files.size(), totalSize};
    QList<FileDigest> digests;
    QSet<QByteArray> equal;
    QStringList errors;
    const bool isRead =
        digestFiles(places, &digests, &errors,
                    [&](const FileAmount &done) {
                        console->progress(QStringLiteral("reading"), done, all);
                    }) &&
        base.findEqual(paths, digests, &equal, &errors,
                       [&](const FileAmount &done, const FileAmount &ofBase) {
                           console->progress(QStringLiteral("reading the base"), done, ofBase);
                       });
    console->endProgress();
    showErrors(errors);
    for (qsizetype i = 0; isRead && i < files.size(); ++i) {
        const PatchFile &file = files.at(i);
        const FileDigest &digest = digests.at(i);
        if (equal.contains(file.path)) {
            ++leftOut.files;
            leftOut.bytes += digest.size;
            continue;
        }
        manifest.files.append({textOf(file.path).value_or(QString()),
                               options.urlPrefix + Manifest::urlOf(file.place), digest.size,
                               QString::fromLatin1(digest.sha256)});
        if (PatchFolder::isPlayersOwn(QString::fromUtf8(file.path))) {
            console->warning(
                quoted(file.path) +
                QStringLiteral(": the launcher writes this file from the player's settings; the "
                               "patch will replace it at every start"));
        }
        if (digest.size > options.warnSize * mebibyte) {
            console->warning(QStringLiteral("%1: has %2; the launcher holds a whole file in memory")
                                 .arg(quoted(file.path), sizeText(digest.size)));
        }
    }
    return isRead;
}

void Publishing::showErrors(const QStringList &errors)
{
    for (const QString &error : errors) {
        console->error(error);
    }
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

/// Shows what was written and how much a start downloads.
void Publishing::summarize(qsizetype manifestSize)
{
    if (manifest.files.isEmpty()) {
        console->warning(QStringLiteral("the manifest lists no file: launchers will take over "
                                        "the version and download nothing"));
    }
    if (!options.base.isEmpty() || !options.baseManifest.isEmpty()) {
        console->note(QStringLiteral("left out, as the base has them: %1, %2")
                          .arg(filesText(leftOut.files), sizeText(leftOut.bytes)));
    }
    const FileAmount amount = manifest.amount();
    console->note(
        QStringLiteral("%1 %2: version %3, %4, %5")
            .arg(options.dryRun ? QStringLiteral("not written:") : QStringLiteral("written:"),
                 quoted(options.manifest), quoted(manifest.version), filesText(amount.files),
                 sizeText(amount.bytes)));
    const double perStart = double(amount.bytes + manifestSize) / double(mebibyte);
    console->note(QStringLiteral("each start downloads the manifest and %1, %2 MiB; 1,000 starts "
                                 "%3 GiB")
                      .arg(filesText(amount.files), QString::number(perStart, 'f', 2),
                           QString::number(perStart * 1000 / 1024, 'f', 2)));
}
