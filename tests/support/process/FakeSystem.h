#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include "support/process/OwnMounts.h"

/// Folders, initially empty, that are mounted at /opt, /usr/bin and /usr/local/bin for a child
/// process. A test that uses them starts with NEEDS_OWN_MOUNTS().
class FakeSystem
{
public:
    FakeSystem();

    /// The path of the file that the child finds at @p systemPath.
    QString path(const QString &systemPath) const { return root.path() + systemPath; }

    /// Runs this test program with @p arguments and the folders mounted; PATH and the rest of the
    /// environment are unchanged. Returns nothing on exit code 0, else its output.
    QString runSelf(const QStringList &arguments) const;

private:
    QTemporaryDir root;
};
