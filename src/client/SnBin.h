#pragma once

#include <QString>

/// Reads and writes "sn.bin", the client's text file with the name of its main server group.
/// Only its first line is read.
class SnBin
{
public:
    /// Path of "sn.bin" in @p clientDir; no other letter case is tried.
    static QString pathIn(const QString &clientDir);

    /// True when the file's first line begins with a group ID from 1 to 10.
    static bool isValid(const QString &path);

    /// Sets @p name to the display name of the file at @p path, with runs of spaces reduced
    /// to one; a file without a name gives defaultName(). The group ID is not checked.
    ///
    /// Returns false, with @p name untouched, when it is null or the file cannot be opened.
    static bool loadDisplayName(const QString &path, QString *name);

    /// The display name where none is given: "Orvandale".
    static QString defaultName();

    /// @p name in the form that is written: trimmed, on one line, truncated to 15 UTF-16 code
    /// units (which may leave a trailing space), defaultName() when nothing is left.
    static QString preparedName(const QString &name);

    /// Overwrites the file at @p path with the group ID @p group (1 to 10) and
    /// preparedName(@p name).
    ///
    /// Returns false and sets @p error (which may be null) when the group is out of range (the
    /// file is then untouched) or the file cannot be opened or written whole.
    static bool writeMainGroup(const QString &path, int group, const QString &name,
                               QString *error = nullptr);
};
