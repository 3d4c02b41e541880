#pragma once

#include <QString>

#include "zel-doctor/Result.h"

/// The patch server, asked by requests like the launcher's.
namespace PatchChecks
{

/// The server answers as the launcher needs it; how much each start downloads.
Results server();
/// The same with another limit, in milliseconds, for a server that sends nothing.
Results answersWithin(int timeoutMs);

/// Whether the launcher would write the file of a manifest's entry outside of the client folder.
bool leavesFolder(const QString &path);

} // namespace PatchChecks
