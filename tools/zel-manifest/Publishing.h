#pragma once

#include <QByteArray>
#include <QByteArrayList>

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
    ExitCode report(const PatchFolderScan &scan);
    bool reportAbsent(const QByteArrayList &absent);
    bool listFiles(const PatchFolderScan &scan, Manifest *manifest);
    bool deliver(const QByteArray &json);
    void summarize(const Manifest &manifest);

    const Options &options;
    Console *const console;
};
