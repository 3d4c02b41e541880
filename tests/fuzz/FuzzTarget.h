#pragma once

#include "support/files/Disk.h"

/// What each fuzz target defines: shows @p input to the launcher's code and requires what must
/// hold whatever the input is. Called once for every input, in one process.
void fuzzOne(const QByteArray &input);

namespace Fuzz
{

/// Ends the program, which keeps the input as a finding, unless @p holds. @p property says what
/// does not hold.
void require(bool holds, const char *property);

/// Path of @p name in the target's own temporary folder.
QString path(const QString &name);

/// Makes a file of @p name in that folder that holds @p bytes. Returns its path.
QString file(const QString &name, const QByteArray &bytes);

} // namespace Fuzz
