#include "support/process/FakeSystem.h"

#include <QCoreApplication>

#include "support/files/Disk.h"

using namespace Qt::StringLiterals;

FakeSystem::FakeSystem()
{
    for (const QString &folder : {u"/opt"_s, u"/usr/bin"_s, u"/usr/local/bin"_s}) {
        Disk::makeFolder(path(folder));
    }
}

QString FakeSystem::runSelf(const QStringList &arguments) const
{
    // /usr/bin last: it contains mount.
    const QString script = u"for folder in opt usr/local/bin usr/bin; do "
                           "mount --bind '%1'/$folder /$folder; done"_s.arg(root.path());
    return OwnMounts::run(script, QStringList{QCoreApplication::applicationFilePath()} + arguments);
}
