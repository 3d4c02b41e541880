#pragma once

#include <QString>
#include <QStringList>

/// Private mount namespaces for child processes.
namespace OwnMounts
{

/// The command line that runs @p command in a private mount namespace after the bash commands
/// @p script. PATH is the system's for the script, and that of this process for the command.
QStringList commandLine(const QString &script, const QStringList &command);

/// Runs that command line to its end. Returns nothing on exit code 0, else its output.
QString run(const QString &script, const QStringList &command);

/// Why this user cannot create a mount namespace; empty if that is possible. Checked once.
QString obstacle();

} // namespace OwnMounts

/// Skips a test function if this user cannot create a mount namespace.
#define NEEDS_OWN_MOUNTS()                                                                         \
    do {                                                                                           \
        if (!OwnMounts::obstacle().isEmpty()) {                                                    \
            QSKIP(qPrintable(QStringLiteral("no mount namespace: ") + OwnMounts::obstacle()));     \
        }                                                                                          \
    } while (false)
