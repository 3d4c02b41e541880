#pragma once

#include <QString>
#include <QStringList>

/// Mounts that only one child process and its children see.
namespace OwnMounts
{

/// The command line that runs @p command with such mounts, which the bash commands @p script make
/// first. The script finds the system's tools, whatever PATH is; the command gets this PATH.
QStringList commandLine(const QString &script, const QStringList &command);

/// Runs that command line to its end. Empty when it ends with exit code 0, else what it printed.
QString run(const QString &script, const QStringList &command);

/// Why this user cannot have private mounts; empty if possible. Checked once.
QString obstacle();

} // namespace OwnMounts

/// Skips a test function if this user cannot have private mounts.
#define NEEDS_OWN_MOUNTS()                                                                         \
    do {                                                                                           \
        if (!OwnMounts::obstacle().isEmpty()) {                                                    \
            QSKIP(qPrintable(QStringLiteral("no own mounts here: ") + OwnMounts::obstacle()));     \
        }                                                                                          \
    } while (false)
