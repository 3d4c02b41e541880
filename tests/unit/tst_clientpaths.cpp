#include "support/files/Disk.h"
#include "support/files/Settings.h"
#include "support/process/Child.h"
#include "support/process/OwnMounts.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

class TestClientPaths : public FolderTest
{
    Q_OBJECT

private slots:
    void init();

    void theClientsFilesAreInItsFolder();
    void thePictureOfTheClientComesBeforeTheLaunchersOwn();
    void theExecutableIsFound_data();
    void theExecutableIsFound();
    void anExecutableInTheWorkingDirectoryComesFirst();
    void anAbsoluteExecutableNeedsNoClientFolder();
    void anAbsoluteExecutableThatIsMissingFallsBackToTheClientFolder();
    void aRelativeClientFolderIsRelativeToTheWorkingDirectory();

    void theChosenWineIsReturnedUnchangedWithAndWithoutUseWine();
    void theWineOfTheMachineIsFound_data();
    void theWineOfTheMachineIsFound();

    void lookingForPathsCreatesNothing();
};

void TestClientPaths::init()
{
    FolderTest::init();
    resetSettings();
}

// ---- the client's files

void TestClientPaths::theClientsFilesAreInItsFolder()
{
    const auto requireFilesIn = [](const QString &clientDir, const QString &joined) {
        settings().clientDir = clientDir;
        QCOMPARE(settings().configBinPath(), joined + u"Config.bin"_s);
        QCOMPARE(settings().serverListPath(), joined + u"serverlist.txt"_s);
        QCOMPARE(settings().noticePath(), joined + u"notice.txt"_s);
        QCOMPARE(settings().snBinPath(), (joined.isEmpty() ? u"./"_s : joined) + u"sn.bin"_s);
    };
    requireFilesIn(u"/games/zel"_s, u"/games/zel/"_s);
    requireFilesIn(u"/games/zel/"_s, u"/games/zel/"_s);
    requireFilesIn(u"zel"_s, u"zel/"_s);
    requireFilesIn(u"."_s, u"./"_s);
    requireFilesIn(u"/games/../zel"_s, u"/games/../zel/"_s);
    requireFilesIn(u"/"_s, u"/"_s);
    requireFilesIn(QString(), QString()); // bare names
}

// ---- the picture

void TestClientPaths::thePictureOfTheClientComesBeforeTheLaunchersOwn()
{
    settings().clientDir = folder();
    const QString own = QCoreApplication::applicationDirPath() + u"/Launcher.bmp"_s;
    QCOMPARE(settings().launcherBmpPath(), own);
    // Another letter case is another file.
    Disk::write(at(u"launcher.bmp"_s), "BM");
    Disk::write(at(u"LAUNCHER.BMP"_s), "BM");
    QCOMPARE(settings().launcherBmpPath(), own);
    QVERIFY(!QFile::exists(own));

    Disk::write(at(u"client/Launcher.bmp"_s), "BM");
    Disk::makeFolder(at(u"Launcher.bmp"_s)); // a folder exists, too
    const Disk::WorkingFolder working(folder());
    // The path is neither made absolute nor cleaned; no client folder means the working directory.
    for (const QString &clientDir :
         {at(u"client/"_s), u"client/"_s, u"client/../client/./"_s, QString()}) {
        settings().clientDir = clientDir;
        QCOMPARE(settings().launcherBmpPath(), clientDir + u"Launcher.bmp"_s);
    }
}

// ---- the executable

void TestClientPaths::theExecutableIsFound_data()
{
    QTest::addColumn<QString>("clientExe");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("found");
    const QString exe = u"ZEL.exe"_s;
    const QString first = u"ZELmarind.exe"_s;
    const QString second = u"ZEL IP 14.exe"_s;
    const QString last = u"ZELLauncher.exe"_s;
    const auto row = [](const char *name, const QString &clientExe, const QStringList &files,
                        const QString &found) {
        QTest::newRow(name) << clientExe << files << found;
    };
    row("the client's executable", exe, {exe}, exe);
    row("it comes before the alternative names", exe, {last, second, first, exe}, exe);
    row("the first alternative name", exe, {last, second, first}, first);
    row("the second alternative name", exe, {last, second}, second);
    row("the second alternative name alone", exe, {second}, second);
    row("the last alternative name, deliberately", exe, {last}, last);
    row("no executable", exe, {}, exe);
    row("the patched client is never chosen", exe, {u"ZEL_patched.exe"_s}, exe);
    row("another letter case is another file", exe, {u"zel.exe"_s, u"zelmarind.exe"_s}, exe);
    row("an executable in a subfolder", u"bin/game.exe"_s, {first, u"bin/game.exe"_s},
        u"bin/game.exe"_s);
    row("an executable above", u"../other/game.exe"_s, {first, u"../other/game.exe"_s},
        u"../other/game.exe"_s);
    row("a folder of that name counts", u"data"_s, {first, u"data/file"_s}, u"data"_s);
    row("no name is the folder itself", QString(), {first}, QString());
}

void TestClientPaths::theExecutableIsFound()
{
    QFETCH(const QString, clientExe);
    QFETCH(const QStringList, files);
    QFETCH(const QString, found);
    Disk::makeFolder(at(u"client"_s));
    for (const QString &file : files) {
        Disk::write(at(u"client/"_s + file), "MZ");
    }
    Disk::makeFolder(at(u"here"_s));
    const Disk::WorkingFolder working(at(u"here"_s));
    settings().clientDir = at(u"client"_s);
    settings().clientExe = clientExe;
    const QString expected = QDir::cleanPath(at(u"client/"_s + found));
    QCOMPARE(settings().baseClientExePath(), expected);
    QCOMPARE(settings().resolvedClientExe(), expected);
}

void TestClientPaths::anExecutableInTheWorkingDirectoryComesFirst()
{
    Disk::write(at(u"client/ZEL.exe"_s), "MZ");
    Disk::write(at(u"here/ZEL.exe"_s), "MZ");
    const Disk::WorkingFolder working(at(u"here"_s));
    settings().clientDir = at(u"client"_s);
    QCOMPARE(settings().baseClientExePath(), at(u"here/ZEL.exe"_s));

    settings().clientExe = u"../here/./ZEL.exe"_s;
    QCOMPARE(settings().baseClientExePath(), at(u"here/ZEL.exe"_s));
}

void TestClientPaths::anAbsoluteExecutableNeedsNoClientFolder()
{
    Disk::write(at(u"elsewhere/game.exe"_s), "MZ");
    Disk::write(at(u"client/ZELmarind.exe"_s), "MZ");
    settings().clientExe = at(u"elsewhere/game.exe"_s);
    for (const QString &clientDir : {QString(), at(u"client"_s), u"/nonexistent"_s}) {
        settings().clientDir = clientDir;
        QCOMPARE(settings().baseClientExePath(), at(u"elsewhere/game.exe"_s));
    }
    // A link is not followed.
    Disk::makeLink(at(u"link.exe"_s), at(u"elsewhere/game.exe"_s));
    settings().clientExe = at(u"link.exe"_s);
    QCOMPARE(settings().baseClientExePath(), at(u"link.exe"_s));
}

void TestClientPaths::anAbsoluteExecutableThatIsMissingFallsBackToTheClientFolder()
{
    settings().clientDir = folder();
    settings().clientExe = u"/nonexistent/game.exe"_s;
    QCOMPARE(settings().baseClientExePath(), u"/nonexistent/game.exe"_s);
    Disk::write(at(u"game.exe"_s), "MZ"); // same name, wrong folder
    QCOMPARE(settings().baseClientExePath(), u"/nonexistent/game.exe"_s);
    Disk::write(at(u"ZELLauncher.exe"_s), "MZ");
    QCOMPARE(settings().baseClientExePath(), at(u"ZELLauncher.exe"_s));
}

void TestClientPaths::aRelativeClientFolderIsRelativeToTheWorkingDirectory()
{
    const Disk::WorkingFolder working(folder());
    settings().clientExe.clear();
    QCOMPARE(settings().baseClientExePath(), QString());
    settings().clientExe = u"ZEL.exe"_s;
    for (const QString &clientDir : {QString(), u"client/"_s}) {
        settings().clientDir = clientDir;
        QCOMPARE(settings().baseClientExePath(), at(clientDir + u"ZEL.exe"_s));
        for (const QString &name : {u"ZEL IP 14.exe"_s, u"ZELmarind.exe"_s, u"ZEL.exe"_s}) {
            Disk::write(at(clientDir + name), "MZ");
            QCOMPARE(settings().baseClientExePath(), at(clientDir + name));
        }
        QFile::remove(at(u"ZEL.exe"_s));
    }
}

// ---- Wine

void TestClientPaths::theChosenWineIsReturnedUnchangedWithAndWithoutUseWine()
{
    Disk::write(at(u"opt/wine"_s), "not even executable");
    Disk::makeLink(at(u"link"_s), at(u"opt/wine"_s));
    const Disk::WorkingFolder working(folder());
    for (const QString &path :
         {at(u"opt/wine"_s), u"opt/wine"_s, u"./opt/../opt/wine"_s, u"link"_s, u"opt"_s}) {
        settings().winePath = path;
        QCOMPARE(settings().resolvedWine(), path);
    }
    settings().winePath.clear();
    const QString found = settings().resolvedWine();
    settings().useWine = false;
    QCOMPARE(settings().resolvedWine(), found);
}

void TestClientPaths::theWineOfTheMachineIsFound_data()
{
    QTest::addColumn<QString>("winePath");
    QTest::addColumn<QStringList>("files"); // on a machine with no other files in /usr/bin
    QTest::addColumn<QString>("found");
    const QString wine = u"usr-bin/wine"_s;
    const QString wine64 = u"usr-bin/wine64"_s;
    const QString inPath = u"path/wine"_s;
    const QString inWork = u"work/wine"_s;
    const auto row = [](const char *name, const QStringList &files, const QString &found,
                        const QString &winePath = {}) {
        QTest::newRow(name) << winePath << files << found;
    };
    row("no Wine anywhere", {}, u"wine"_s);
    row("plain wine comes first here, deliberately", {inWork, inPath, wine64, wine},
        u"/usr/bin/wine"_s);
    row("wine64 comes next", {inWork, inPath, wine64}, u"/usr/bin/wine64"_s);
    row("a folder exists, too", {inPath, u"usr-bin/wine/file"_s}, u"/usr/bin/wine"_s);
    row("one in the working directory comes before PATH", {inWork, inPath}, u"wine"_s);
    row("one on PATH", {inPath}, u"%1/path/wine"_s);
    row("another letter case", {u"usr-bin/Wine"_s, u"path/WINE"_s}, u"wine"_s);
    row("wine64 on PATH is not looked for", {u"path/wine64"_s}, u"wine"_s);
    row("a configured one that does not exist", {wine64}, u"/usr/bin/wine64"_s,
        u"/opt/gone/bin/wine"_s);
    row("a configured one", {wine, u"work/my wine"_s}, u"my wine"_s, u"my wine"_s);
}

void TestClientPaths::theWineOfTheMachineIsFound()
{
    QFETCH(const QString, winePath);
    QFETCH(const QStringList, files);
    QFETCH(const QString, found);
    NEEDS_OWN_MOUNTS();
    for (const QString &name : {u"usr-bin"_s, u"path"_s, u"work"_s}) {
        Disk::makeFolder(at(name));
    }
    for (const QString &file : files) {
        Disk::writeExecutable(at(file), "#!/bin/sh\n");
    }

    settings().winePath = winePath;
    settings().save(); // the child loads it
    Child child({u"wine"_s});
    child.setWorkingFolder(at(u"work"_s));
    child.setVariable(u"PATH"_s, at(u"path"_s) + u":/usr/bin"_s);
    child.mountFirst(u"mount --bind '%1' /usr/bin"_s.arg(at(u"usr-bin"_s)));
    QCOMPARE(QString::fromUtf8(child.output()), QString(found).replace(u"%1"_s, folder()));
}

// ---- all

void TestClientPaths::lookingForPathsCreatesNothing()
{
    const Disk::WorkingFolder working(folder());
    for (const QString &clientDir : {QString(), folder(), at(u"nonexistent"_s)}) {
        settings().clientDir = clientDir;
        const LauncherSettings &constant = settings();
        constant.snBinPath();
        constant.configBinPath();
        constant.serverListPath();
        constant.noticePath();
        constant.launcherBmpPath();
        constant.baseClientExePath();
        constant.resolvedClientExe();
        constant.resolvedWine();
        QCOMPARE(Disk::names(folder()), QStringList());
    }
    QVERIFY(!QFile::exists(TestEnvironment::settingsFile()));
}

int main(int argc, char *argv[])
{
    return runTestWithChildren<TestClientPaths>(argc, argv, [](const QStringList &) {
        settings().load();
        return settings().resolvedWine().toUtf8();
    });
}

#include "tst_clientpaths.moc"
