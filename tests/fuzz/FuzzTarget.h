#pragma once

#include "support/files/Disk.h"

/// Defined by each fuzz target: passes @p input to the launcher's code and checks properties that
/// must hold for every input. Called once per input, all in one process.
void fuzzOne(const QByteArray &input);

namespace Fuzz
{

/// Checks @p property. Unless it @p holds, ends the program, and libFuzzer keeps the input as a
/// finding.
void require(bool holds, const char *property);

/// Path of @p name in the target's own temporary folder.
QString path(const QString &name);

/// Creates the file @p name with the content @p bytes in that folder. Returns its path.
QString file(const QString &name, const QByteArray &bytes);

} // namespace Fuzz
