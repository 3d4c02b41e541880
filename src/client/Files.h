#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// What the readers and writers of files share. Nothing here prints, whatever the path.
namespace Files
{

/// True when @p path can name a file: it is not empty and holds no NUL character.
///
/// Qt remarks on other paths on the console, and opens what stands before the NUL.
bool isPath(const QString &path);

/// True when a file or folder exists at @p path.
bool exists(const QString &path);

/// Opens @p file for @p mode, which reads. Returns false when that fails or the file is not a
/// regular one: reading a device or a pipe may never end.
bool openToRead(QFile &file, QIODevice::OpenMode mode);

/// Replaces the content of the file at @p path by @p bytes; a missing file is created.
///
/// The bytes go straight to the system, so that a full disk is seen here and not after the
/// answer was given. There is no temporary file and no roll-back: a failed write leaves what
/// reached the disk.
///
/// Returns false and sets @p error (which may be null) to "Nao foi possivel gravar %1" when the
/// file cannot be opened, to "Falha ao gravar %1" when not exactly all bytes were written.
/// On success @p error is left as it was.
bool write(const QString &path, const QByteArray &bytes, QString *error);

/// Stores @p text in @p error unless that is null, and returns false.
bool fail(QString *error, const QString &text);

} // namespace Files
