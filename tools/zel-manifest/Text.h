#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <optional>

/// A number of files and the sum of their sizes in bytes.
struct FileAmount {
    qsizetype files = 0;
    qint64 bytes = 0;
};

/// @p bytes decoded as UTF-8, byte order mark included; nothing if they are not valid UTF-8.
std::optional<QString> textOf(const QByteArray &bytes);

/// @p name for messages, in double quotes. Control characters and bytes that are not UTF-8 appear
/// as "\xNN", so that no name sends control codes to the terminal and no two names look the same.
QString quoted(const QByteArray &name);
QString quoted(const QString &name);

/// @p text case-folded character by character, as Windows compares names.
QString withoutCase(const QString &text);

/// The folders of @p path, the outermost first, and @p path itself: "a/b" gives "a" and "a/b".
QByteArrayList pathsTo(const QByteArray &path);

/// A human-readable size: "17 bytes", "1.5 MiB".
QString sizeText(qint64 bytes);

/// "1 file", "17 files".
QString filesText(qsizetype count);
