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
/// Which file a start runs, by which rule, and whether it is a program.
Results executable();
/// No names in the client folder differ only in letter case: to Windows they are the same.
Results names();

// The client's own files: readable, writable, valid and what the settings would write.
Results configBin();
Results serverList();
Results snBin();
Results serverTxt();
Results loginIni();

/// The result for a disk with so many @p bytes left.
Result roomResult(qint64 bytes);

} // namespace ClientChecks
