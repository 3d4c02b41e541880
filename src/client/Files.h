#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// Functions that the readers and writers of the client's files share.
namespace Files
{

/// Opens @p file. Returns false for a folder, for a path that contains a null character (QFile
/// would open the part before it), and when opening fails.
bool open(QFile &file, QIODevice::OpenMode mode);

/// Replaces the content of the file at @p path by @p bytes; a missing file is created.
///
/// Writes unbuffered, so that a full disk fails the write itself, and in place: a failed write
/// leaves a truncated file.
///
/// Returns false and sets @p error (which may be null) to "Nao foi possivel gravar %1" when the
/// file cannot be opened, to "Falha ao gravar %1" when not all bytes were written. On
/// success @p error is untouched.
bool write(const QString &path, const QByteArray &bytes, QString *error);

/// Stores @p text in @p error unless that is null, and returns false.
bool fail(QString *error, const QString &text);

} // namespace Files
