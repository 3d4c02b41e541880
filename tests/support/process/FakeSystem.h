#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Folders that stand in for /opt, /usr/bin and /usr/local/bin in the eyes of a child process.
/// They are empty at first.
class FakeSystem
{
public:
    FakeSystem();

    /// Where a file must be put for the child to see it at @p systemPath.
    QString path(const QString &systemPath) const { return root.path() + systemPath; }

    /// Runs this test program with @p arguments where the folders stand in. Its search path and
    /// all else are this process's own. Empty when it ends with exit code 0, else what it said.
    QString runSelf(const QStringList &arguments) const;

    /// Why the machine does not allow such a child; empty when it does. Asked once.
    static QString obstacle();

private:
    QTemporaryDir root;
};

/// Skips a test function where the machine does not allow a FakeSystem's child.
#define NEEDS_A_FAKE_SYSTEM()                                                                      \
    do {                                                                                           \
        if (!FakeSystem::obstacle().isEmpty()) {                                                   \
            QSKIP(qPrintable(QStringLiteral("no folders can be mounted here: ") +                  \
                             FakeSystem::obstacle()));                                             \
        }                                                                                          \
    } while (false)
