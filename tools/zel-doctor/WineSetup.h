#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>

#include "zel-doctor/ProgramFile.h"

/// What a start makes of the login shell, of Wine and of its prefix.
namespace WineSetup
{

constexpr int longestLoginMs = 8'000;

/// One start of a login shell, as the launcher starts it.
struct LoginShell {
    bool isInTime = false;  ///< False when it was killed.
    bool isReached = false; ///< False when the profile ended the shell before the command.
    int exitCode = 0;
    qint64 elapsedMs = 0;
    QByteArray printed; ///< What the profile wrote to standard output and standard error.
    QProcessEnvironment environment; ///< What the command gets; this process's own without it.
};

/// Starts the shell and waits for its end, but kills it after @p limitMs.
LoginShell runLoginShell(int limitMs = longestLoginMs);

/// The Wine and the prefix of a start.
struct Choice {
    QString wanted;        ///< The real Wine: a path or a command.
    QString wine;          ///< Its absolute path; empty when there is no such program.
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

// Both judge the Wine at @p wine by the libraries beside it. Unknown: they are not where Wine
// usually has them.

/// Whether it runs programs of @p kind: 64-bit ones need its 64-bit Unix library; 32-bit ones its
/// 32-bit Unix library, or the 64-bit one together with the 32-bit Windows libraries.
Support support(const QString &wine, ProgramKind kind);
/// Whether it accepts prefixes of the architecture win32: these need its 32-bit Unix library.
Support win32PrefixSupport(const QString &wine);

} // namespace WineSetup
