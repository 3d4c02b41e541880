#pragma once

#include <QString>

#include "zel-doctor/Result.h"

/// The patch server, asked in the launcher's own requests.
namespace PatchChecks
{

/// The server answers as the launcher needs it, and what each start downloads.
Results server();

/// True when the launcher would store a manifest's entry of this path outside of the client folder.
bool leavesFolder(const QString &path);

} // namespace PatchChecks
