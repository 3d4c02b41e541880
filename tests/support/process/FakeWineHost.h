#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// Sets HOME and PATH so that the search for Wine is fast and finds the test's files. The shell on
/// that PATH finds no Wine; installations at fixed paths are still found.
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
