#pragma once

#include <QString>

#include "zel-doctor/Result.h"

/// Checks the patch server by requests like the launcher's.
namespace PatchChecks
{

/// The server answers as the launcher needs it; how much each start downloads.
Results server();
/// The same with a timeout in milliseconds for a server that sends nothing.
Results answersWithin(int timeoutMs);

/// Whether the launcher would store the file of a manifest entry with @p path outside the client
/// folder.
bool leavesFolder(const QString &path);

} // namespace PatchChecks
