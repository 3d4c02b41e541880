#pragma once

#include <optional>

#include "zel-manifest/CommandLine.h"
#include "zel-manifest/PatchCheck.h"

class Console;

/// Checks a published patch and shows the findings on the console.
class Checking
{
public:
    Checking(const Options &itsOptions, Console *itsConsole);

    ExitCode run();

private:
    ExitCode fetchManifest(PatchCheck *check);
    void compare(PatchCheck *check, const std::optional<QByteArray> &expected);
    void show(const Finding &finding);
    void summarize(const PatchCheck &check);

    const Options &options;
    Console *const console;
};
