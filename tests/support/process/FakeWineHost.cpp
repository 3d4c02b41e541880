#include "support/process/FakeWineHost.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

FakeWineHost::FakeWineHost()
    : root(QFileInfo(QDir::tempPath()).canonicalFilePath() + QStringLiteral("/wine-host-XXXXXX"))
    , oldHome(qgetenv("HOME"))
    , oldPath(qgetenv("PATH"))
{
    if (!QDir().mkpath(filePath(QStringLiteral("home")))) {
        qFatal("cannot prepare the test: %s", qPrintable(root.path()));
    }
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
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly) ||
        file.write("#!/bin/sh\n") < 0 ||
        !file.setPermissions(file.permissions() | QFile::ExeOwner)) {
        qFatal("cannot prepare the test: %s", qPrintable(path));
    }
    return path;
}

QString FakeWineHost::addRunner(const QString &name) const
{
    return addExecutable(
        QStringLiteral("home/.local/share/lutris/runners/wine/%1/bin/wine").arg(name));
}
