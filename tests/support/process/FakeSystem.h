#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include "support/process/OwnMounts.h"

/// Folders that replace /opt, /usr/bin and /usr/local/bin for a child process. They are empty at
/// first. A test that uses them starts with NEEDS_OWN_MOUNTS().
class FakeSystem
{
public:
    FakeSystem();

    /// Where a file must be put for the child to see it at @p systemPath.
    QString path(const QString &systemPath) const { return root.path() + systemPath; }

    /// Runs this test program with @p arguments where the folders stand in. Its search path and
    /// all else are this process's own. Empty when it ends with exit code 0, else what it printed.
    QString runSelf(const QStringList &arguments) const;

private:
    QTemporaryDir root;
};
