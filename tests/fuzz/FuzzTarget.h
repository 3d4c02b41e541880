#pragma once

#include <QByteArray>
#include <QString>

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

/// Replaces the file at @p path by @p bytes.
void writeFile(const QString &path, const QByteArray &bytes);

/// Content of the file at @p path, which must exist.
QByteArray readFile(const QString &path);

} // namespace Fuzz
