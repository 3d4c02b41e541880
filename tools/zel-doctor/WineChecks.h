#pragma once

#include "zel-doctor/Result.h"

/// Checks what starts the client: the login shell, Wine and its prefix.
namespace WineChecks
{

/// Wine is found, prints its version and runs programs of the executable's word size.
Results wine();
/// The prefix belongs to the user and has the right architecture.
Results prefix();
/// The login profile ends soon, prints nothing and does not end the shell.
Results profile();
/// The end of zel-wine's log.
Results log();

} // namespace WineChecks
