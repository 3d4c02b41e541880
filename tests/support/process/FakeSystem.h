#pragma once

#include <QString>
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

    /// The bash commands that mount the folders, for Child::mountFirst().
    QString mountScript() const;

    /// Runs the current test function in a child process with the folders mounted. It fails if the
    /// child does.
    void runTestFunction() const;
    /// Whether this is that child process.
    static bool isInside();

private:
    QTemporaryDir root;
};
