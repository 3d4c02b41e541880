#include "support/process/FakeWineHost.h"

#include <QDir>
#include <QFileInfo>

#include "support/files/Disk.h"

using namespace Qt::StringLiterals;

FakeWineHost::FakeWineHost()
    : root(QFileInfo(QDir::tempPath()).canonicalFilePath() + u"/wine-host-XXXXXX"_s)
    , oldHome(qgetenv("HOME"))
    , oldPath(qgetenv("PATH"))
{
    Disk::makeFolder(filePath(u"home"_s));
    addExecutable(u"bin/bash"_s);
    qputenv("HOME", QFile::encodeName(filePath(u"home"_s)));
    qputenv("PATH", QFile::encodeName(filePath(u"bin"_s)));
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
    return addExecutable(u"home/.local/share/lutris/runners/wine/%1/bin/wine"_s.arg(name));
}
