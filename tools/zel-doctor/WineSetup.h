#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>

#include "zel-doctor/ProgramFile.h"

/// Finds out what a start of the game would use: the login shell's environment, Wine, its prefix.
namespace WineSetup
{

constexpr int longestLoginMs = 8'000;

/// One start of a login shell, as the launcher starts it.
struct LoginShell {
    bool isInTime = false;  ///< False when it was killed at the timeout.
    bool isReached = false; ///< False when the profile ended the shell before the command.
    int exitCode = 0;
    qint64 elapsedMs = 0;
    QByteArray printed; ///< What the profile wrote to standard output and standard error.
    /// The command's environment; this process's own if the command was not reached.
    QProcessEnvironment environment;
};

/// Starts the shell and waits for its end, but kills it after @p limitMs.
LoginShell runLoginShell(int limitMs = longestLoginMs);

/// The Wine and the prefix of a start.
struct Choice {
    QString wanted;        ///< The real Wine: a path or a command.
    QString wine;          ///< Its absolute path; empty when there is no such program.
    QString prefix;        ///< Path of the prefix, which may not exist.
    QString arch;          ///< The value of WINEARCH; usually empty.
    bool isScript = false; ///< Whether zel-wine starts that Wine.
};

/// The Wine and the prefix that starting @p program with @p environment uses. If @p program is
/// zel-wine, its settings file is read.
Choice choiceFor(const QString &program, const QProcessEnvironment &environment);

/// The log that zel-wine writes.
QString logPath();

enum class Support { Yes, No, Unknown };

// Both look for the libraries of the Wine at @p wine in the usual places beside it. Unknown means
// that none is there.

/// Whether @p wine runs programs of @p kind. 64-bit programs need its 64-bit Unix library; 32-bit
/// programs need its 32-bit Unix library, or the 64-bit one and the 32-bit Windows libraries.
Support support(const QString &wine, ProgramKind kind);
/// Whether @p wine accepts prefixes of the architecture win32, which need its 32-bit Unix library.
Support win32PrefixSupport(const QString &wine);

} // namespace WineSetup
