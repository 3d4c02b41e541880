#pragma once

#include <QString>

namespace Bench
{

/// Runs a new PatchManager to its end and returns the milliseconds that it took. Exits the program
/// unless it succeeds.
double runPatchManager(const QString &url, const QString &folder);

/// The file that a patch of the benchmarks lists at @p index, relative to its folder.
QString patchFileName(int index);

} // namespace Bench
