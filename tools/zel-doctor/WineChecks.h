#pragma once

#include "zel-doctor/Result.h"

/// What starts the client: the login shell, Wine and its prefix.
namespace WineChecks
{

/// Wine is found, tells its version and runs programs of the executable's kind.
Results wine();
/// The prefix of a start is the user's own and of the right architecture.
Results prefix();
/// The login profile reaches the command, quickly and in silence.
Results profile();
/// The end of zel-wine's log.
Results log();

} // namespace WineChecks
