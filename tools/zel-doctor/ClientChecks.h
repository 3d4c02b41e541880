#pragma once

#include "zel-doctor/Result.h"

/// The launcher's settings, and the client folder that they name.
namespace ClientChecks
{

/// The settings file can be read and written.
Results settingsFile();
/// The client folder is there and can be written to.
Results folder();
/// The disk of the client folder has room.
Results room();
/// The executable that "Iniciar" runs exists and is a program; how it was chosen.
Results executable();
/// No names in the client folder differ only in letter case: to Windows they are the same.
Results names();

// The client's own files are readable, writable, valid and as the launcher would write them.
Results configBin();
Results serverList();
Results snBin();
Results serverTxt();
Results loginIni();

/// The result for a disk with @p bytes of free space.
Result roomResult(qint64 bytes);

} // namespace ClientChecks
