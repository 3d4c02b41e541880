#include "support/process/FakeWineHost.h"

#include <QDir>
#include <QFileInfo>

#include "support/files/Disk.h"

FakeWineHost::FakeWineHost()
    : root(QFileInfo(QDir::tempPath()).canonicalFilePath() + QStringLiteral("/wine-host-XXXXXX"))
    , oldHome(qgetenv("HOME"))
    , oldPath(qgetenv("PATH"))
{
    Disk::makeFolder(filePath(QStringLiteral("home")));
    addExecutable(QStringLiteral("bin/bash"));
    qputenv("HOME", QFile::encodeName(filePath(QStringLiteral("home"))));
    qputenv("PATH", QFile::encodeName(filePath(QStringLiteral("bin"))));
}

FakeWineHost::~FakeWineHost()
{
    qputenv("HOME", oldHome);
    qputenv("PATH", oldPath);
}

QString FakeWineHost::addExecutable(const QString &name) const
{
    const QString path = filePath(name);
    Disk::writeExecutable(path, "#!/bin/sh\n");
    return path;
}

QString FakeWineHost::addRunner(const QString &name) const
{
    return addExecutable(
        QStringLiteral("home/.local/share/lutris/runners/wine/%1/bin/wine").arg(name));
}
