#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A home folder and a search path of the test's own, so that the search for Wine is quick and
/// finds what the test put there. The shell on that path knows no Wine. What the machine has in
/// its fixed places is found all the same.
class FakeWineHost
{
public:
    FakeWineHost();
    ~FakeWineHost();
    Q_DISABLE_COPY_MOVE(FakeWineHost)

    QString filePath(const QString &name) const { return root.filePath(name); }
    /// Creates an executable below the host's folder and returns its path.
    QString addExecutable(const QString &name) const;
    /// Creates a Lutris runner and returns the path of its Wine.
    QString addRunner(const QString &name) const;

private:
    QTemporaryDir root;
    QByteArray oldHome;
    QByteArray oldPath;
};
