#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QSet>
#include <QStringList>

#include "zel-manifest/Base.h"
#include "zel-manifest/CommandLine.h"
#include "zel-manifest/Manifest.h"
#include "zel-manifest/PatchFolder.h"

class Console;

/// Writes the manifest of a folder.
class Publishing
{
public:
    Publishing(const Options &itsOptions, Console *itsConsole);

    ExitCode run();

private:
    /// A file of the patch.
    struct PatchFile {
        QByteArray path;  ///< Where the launcher stores it.
        QByteArray place; ///< Where it is below the folder.
    };

    ExitCode readExcludes();
    bool readBase();
    ExitCode report(const PatchFolderScan &scan);
    bool reportAbsent(const QByteArrayList &absent);
    bool choosePaths(const QByteArrayList &places);
    bool reportObstacle(const PatchFile &file, QSet<QByteArray> *obstacles);
    void reportMissing();
    void warnOfMissing(const QByteArrayList &paths, const QString &what, const QString &advice);
    bool listFiles(qint64 totalSize);
    void showErrors(const QStringList &errors);
    bool deliver(const QByteArray &json);
    void summarize(qsizetype manifestSize);

    const Options &options;
    Console *const console;
    QList<ExcludePattern> excludes;
    Base base;
    QList<PatchFile> files; // in bytewise order of the paths
    Manifest manifest;
    FileAmount leftOut; // files that the base has
};
