#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// What the readers and writers of the client's files share.
namespace Files
{

/// Opens @p file. Returns false when that fails, as it does for a folder, or when the path holds a
/// NUL character: QFile would open what stands before it.
bool open(QFile &file, QIODevice::OpenMode mode);

/// Replaces the content of the file at @p path by @p bytes; a missing file is created.
///
/// The bytes go straight to the system, so that a full disk shows in the result of the write.
/// There is no temporary file and no roll-back: a failed write leaves what reached the disk.
///
/// Returns false and sets @p error (which may be null) to "Nao foi possivel gravar %1" when the
/// file cannot be opened, to "Falha ao gravar %1" when not exactly all bytes were written.
/// On success @p error is left as it was.
bool write(const QString &path, const QByteArray &bytes, QString *error);

/// Stores @p text in @p error unless that is null, and returns false.
bool fail(QString *error, const QString &text);

} // namespace Files
