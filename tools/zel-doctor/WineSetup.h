#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>

#include "zel-doctor/ProgramFile.h"

/// What a start makes of the login shell, of Wine and of its prefix.
namespace WineSetup
{

/// One start of a login shell, as the launcher starts it.
struct LoginShell {
    bool isReached = false; ///< False when the profile ended the shell before the command.
    int exitCode = 0;
    qint64 elapsedMs = 0;
    QByteArray printed; ///< What the profile wrote to standard output and standard error.
    QProcessEnvironment environment; ///< What the command gets.
};

/// Starts the shell and waits for its end.
LoginShell runLoginShell();

/// The Wine and the prefix of a start.
struct Choice {
    QString wine;          ///< The real Wine: an absolute path, or empty when there is none.
    QString prefix;        ///< Path of the prefix, which may not exist.
    QString arch;          ///< What WINEARCH asks for; mostly empty.
    bool isScript = false; ///< zel-wine starts that Wine.
};

/// What a start of @p program with @p environment takes: if it is zel-wine, what its settings file
/// says, else @p program itself.
Choice choiceFor(const QString &program, const QProcessEnvironment &environment);

/// The log that zel-wine writes.
QString logPath();

enum class Support { Yes, No, Unknown };

/// Whether the Wine at @p wine runs programs of @p kind, judged by the files beside it: 64-bit ones
/// need the 64-bit Unix library; 32-bit ones the 32-bit Unix library, or the 64-bit one together
/// with the 32-bit Windows libraries.
Support support(const QString &wine, ProgramKind kind);

} // namespace WineSetup
