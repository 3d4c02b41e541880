#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// A number of files and the sum of their sizes in bytes.
struct FileAmount {
    qsizetype files = 0;
    qint64 bytes = 0;
};

/// @p bytes as text, with the byte order mark that they may begin with; nothing when they are not
/// UTF-8.
std::optional<QString> textOf(const QByteArray &bytes);

/// A name for messages, in double quotes. Control characters and bytes that are not UTF-8 appear as
/// "\xNN", so that no name moves the cursor of a terminal and no two names look the same.
QString quoted(const QByteArray &name);
QString quoted(const QString &name);

/// A number of bytes for people: "17 bytes", "1.5 MiB".
QString sizeText(qint64 bytes);

/// "1 file", "17 files".
QString filesText(qsizetype count);
