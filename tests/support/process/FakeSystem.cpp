#include "support/process/FakeSystem.h"

#include <QCoreApplication>
#include <QTest>

#include "support/files/Disk.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr const char *insideVariable = "ZEL_TEST_INSIDE_FAKE_SYSTEM";

} // namespace

FakeSystem::FakeSystem()
{
    for (const QString &folder : {u"/opt"_s, u"/usr/bin"_s, u"/usr/local/bin"_s}) {
        Disk::makeFolder(path(folder));
    }
}

QString FakeSystem::mountScript() const
{
    // /usr/bin last: it contains mount.
    return u"for folder in opt usr/local/bin usr/bin; do "
           "mount --bind '%1'/$folder /$folder; done"_s.arg(root.path());
}

void FakeSystem::runTestFunction() const
{
    qputenv(insideVariable, "1");
    const QString error =
        OwnMounts::run(mountScript(), {QCoreApplication::applicationFilePath(),
                                       QLatin1String(QTest::currentTestFunction())});
    qunsetenv(insideVariable);
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

bool FakeSystem::isInside()
{
    return qEnvironmentVariableIsSet(insideVariable);
}
