#pragma once

#include <QString>

/// What kind of program a file is.
enum class ProgramKind {
    Unreadable,
    Foreign, ///< Not a Windows program for x86.
    Bits32,
    Bits64,
};

/// Reads the header of the Windows program at @p path.
ProgramKind programKind(const QString &path);
