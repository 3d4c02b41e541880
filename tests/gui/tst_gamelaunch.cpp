#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QSignalSpy>

#include <csignal>
#include <optional>

#include <sys/stat.h>

#include "gui/LauncherWindow.h"
#include "settings/LauncherSettings.h"
#include "support/files/Disk.h"
#include "support/process/FakeClient.h"
#include "support/process/FakeSystem.h"
#include "support/process/ProcessTable.h"
#include "support/windows/MessageBoxAnswerer.h"

using namespace Qt::StringLiterals;

namespace
{

QString profilePath()
{
    return TestEnvironment::home() + u"/.bash_profile"_s;
}

const QString notStarted = u"Nao foi possivel iniciar o cliente:\n"_s;

MessageBoxAnswerer::Box warning(LauncherWindow &launcher, const QString &text)
{
    return messageBox(&launcher.window, QMessageBox::Warning, u"ZEL Launcher"_s, text);
}

/// Programs that cannot be executed. A row with null content stands for a folder.
void addUnusablePrograms()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isExecutable");
    QTest::newRow("not executable") << "#!/bin/sh\n"_ba << false;
    QTest::newRow("no program") << QByteArray("\x7f"
                                              "ELF\0\0and nothing more",
                                              22)
                                << true;
    QTest::newRow("a folder") << QByteArray() << true;
}

void writeUnusable(const QString &path, const QByteArray &content, bool isExecutable)
{
    if (content.isNull()) {
        Disk::makeFolder(path);
    } else if (isExecutable) {
        Disk::writeExecutable(path, content);
    } else {
        Disk::write(path, content);
    }
}

/// Resets the peak memory.
bool resetPeakMemory()
{
    QFile file(u"/proc/self/clear_refs"_s);
    return file.open(QIODevice::WriteOnly) && file.write("5") == 1;
}

} // namespace

class TestGameLaunch : public TestBase
{
    Q_OBJECT

private slots:
    void init();

    void wineIsStartedByALoginShell();
    void wineInheritsTheEnvironmentAndTheProfile();
    void withoutWineTheClientIsStartedDirectly();
    void aClientUnderAnotherKnownNameIsStarted();
    void aClientOutsideItsFolderRunsInItsOwn();
    void noNameIsSpecialToTheShell_data();
    void noNameIsSpecialToTheShell();
    void aSingleQuoteIsClosedEscapedAndReopened();

    void theServerFilesAreWrittenFirst();
    void aMissingPreconditionIsShown_data();
    void aMissingPreconditionIsShown();
    void aClientThatDoesNotStartIsReported_data();
    void aClientThatDoesNotStartIsReported();
    void aFailedStartUnderWineNamesTheShellOnPurpose();
    void anUnusableWineShowsAsTheShellsExitCode_data();
    void anUnusableWineShowsAsTheShellsExitCode();
    void withoutAnyWineTheShellsExitCodeIsShown();
    void aFailingProfileShowsAsTheShellsExitCode_data();
    void aFailingProfileShowsAsTheShellsExitCode();
    void aFaultyProfileDoesNotHinderTheGame_data();
    void aFaultyProfileDoesNotHinderTheGame();
    void aClientFolderWhoseNameIsNotUtf8IsNotFound();
    void aFileWhoseNameIsNotUtf8IsIgnored();

    void theWindowIsBusyWhileTheGameRuns();
    void theExitCodeIsShown_data();
    void theExitCodeIsShown();
    void theGameCanBeStartedAgain();
    void theGameKeepsItsInputOpen();
    void outputOfTheGameIsNotBuffered_data();
    void outputOfTheGameIsNotBuffered();
    void childProcessesOfTheGameAreNotWaitedFor();

    void cancelClosesAnIdleWindow();
    void cancelAsksWhileTheGameRuns();
    void theGameMayEndWhileTheQuestionIsOpen();
    void theGameEndsWithTheLauncher_data();
    void theGameEndsWithTheLauncher();

private:
    std::optional<FakeClient> client;
    std::optional<FakeProgram> wine;
};

void TestGameLaunch::init()
{
    TestBase::init();
    QFile::remove(profilePath());
    client.emplace();
    client->useInLauncher();
    wine.emplace(client->filePath(u"wine"_s));
    LauncherSettings::instance().useWine = true;
    LauncherSettings::instance().winePath = wine->path();
}

void TestGameLaunch::wineIsStartedByALoginShell()
{
    LauncherWindow launcher;
    launcher.start(*wine);
    const QString exe = client->filePath(u"ZEL.exe"_s);
    QCOMPARE(launcher.process->program(), u"/bin/bash"_s);
    QCOMPARE(launcher.process->arguments(),
             QStringList(
                 {u"-lc"_s, u"cd '%1' && exec '%2' '%3'"_s.arg(client->dir(), wine->path(), exe)}));
    QCOMPARE(launcher.process->workingDirectory(), client->dir());
    QCOMPARE(wine->arguments(), QStringList(exe));
    QCOMPARE(wine->workingFolder(), client->dir());
    // The watched process is Wine itself.
    QCOMPARE(wine->pid(), launcher.process->processId());
}

void TestGameLaunch::wineInheritsTheEnvironmentAndTheProfile()
{
    qputenv("ZEL_TEST_MARK", "of the 'launcher'\n100% \xC3\xA7");
    const auto reset = qScopeGuard([] { qunsetenv("ZEL_TEST_MARK"); });
    Disk::write(profilePath(), "export ZEL_TEST_PREFIX=\"$HOME/prefix of the user\"\n"
                               "cd /\n" // a profile may change the directory
                               "echo a profile that talks\n");
    LauncherWindow launcher;
    launcher.start(*wine);
    QCOMPARE(wine->environment().value(u"ZEL_TEST_PREFIX"_s),
             TestEnvironment::home() + u"/prefix of the user"_s);
    QCOMPARE(wine->workingFolder(), client->dir());
    QCOMPARE(wine->environment().value(u"ZEL_TEST_MARK"_s), u"of the 'launcher'\n100% \u00e7"_s);
    QVERIFY(launcher.process->processEnvironment().isEmpty());
}

void TestGameLaunch::withoutWineTheClientIsStartedDirectly()
{
    qputenv("ZEL_TEST_MARK", "of the 'launcher'");
    const auto reset = qScopeGuard([] { qunsetenv("ZEL_TEST_MARK"); });
    Disk::write(profilePath(), "export ZEL_TEST_PREFIX=unwanted\n");
    LauncherSettings::instance().useWine = false;
    const FakeProgram game(client->filePath(u"ZEL.exe"_s));
    LauncherWindow launcher;
    launcher.start(game);
    QCOMPARE(launcher.process->program(), game.path());
    QCOMPARE(launcher.process->arguments(), QStringList());
    QCOMPARE(game.arguments(), QStringList());
    QCOMPARE(game.workingFolder(), client->dir());
    QCOMPARE(game.pid(), launcher.process->processId());
    QCOMPARE(game.environment(), QProcessEnvironment::systemEnvironment());
    QCOMPARE(wine->startCount(), 0);
}

void TestGameLaunch::aClientUnderAnotherKnownNameIsStarted()
{
    QVERIFY(QFile::rename(client->filePath(u"ZEL.exe"_s), client->filePath(u"ZEL IP 14.exe"_s)));
    LauncherWindow launcher;
    launcher.start(*wine);
    QCOMPARE(wine->arguments(), QStringList(client->filePath(u"ZEL IP 14.exe"_s)));
}

void TestGameLaunch::aClientOutsideItsFolderRunsInItsOwn()
{
    const FakeClient other(u"other"_s);
    LauncherSettings::instance().clientExe = other.filePath(u"ZEL.exe"_s);
    LauncherWindow launcher;
    launcher.start(*wine);
    QCOMPARE(wine->arguments(), QStringList(other.filePath(u"ZEL.exe"_s)));
    QCOMPARE(wine->workingFolder(), other.dir());
}

void TestGameLaunch::noNameIsSpecialToTheShell_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("single quote") << u"it's"_s;
    QTest::newRow("only single quotes") << u"'''"_s;
    QTest::newRow("double quote") << u"say \"zel\""_s;
    QTest::newRow("spaces") << u" two  blanks "_s;
    QTest::newRow("placeholders") << u"%1 %2 %3 %L1 %99"_s;
    QTest::newRow("percent signs") << u"100%%"_s;
    QTest::newRow("line end") << u"two\nlines\n"_s;
    QTest::newRow("tab and return") << u"a\tb\rc"_s;
    QTest::newRow("not Latin") << u"игра Ωμέγα 例え 🎮"_s;
    QTest::newRow("variable and command") << u"$HOME `id` $(id)"_s;
    QTest::newRow("backslash") << u"a\\'b\\"_s;
    QTest::newRow("operators") << u"a; false && b | c & d > e < f # g"_s;
    QTest::newRow("patterns") << u"* ? [a-z] {a,b} !! ~"_s;
    QTest::newRow("dash") << u"-P"_s;
    QTest::newRow("tilde") << u"~root"_s;
}

void TestGameLaunch::noNameIsSpecialToTheShell()
{
    QFETCH(const QString, name);
    const FakeClient named(name);
    named.useInLauncher();
    named.write(name + u".exe"_s, "");
    const FakeProgram namedWine(named.filePath(name + u"-wine"_s));
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientExe = name + u".exe"_s;
    settings.winePath = namedWine.path();
    settings.useWine = true;
    LauncherWindow launcher;
    launcher.start(namedWine);
    QCOMPARE(namedWine.arguments(), QStringList(named.filePath(name + u".exe"_s)));
    QCOMPARE(namedWine.workingFolder(), named.dir());

    // The same without a shell:
    const FakeProgram game(named.filePath(settings.clientExe));
    settings.useWine = false;
    LauncherWindow second;
    second.start(game);
    QCOMPARE(game.arguments(), QStringList());
    QCOMPARE(game.workingFolder(), named.dir());
}

void TestGameLaunch::aSingleQuoteIsClosedEscapedAndReopened()
{
    const FakeClient named(u"it's"_s);
    named.useInLauncher();
    LauncherSettings::instance().winePath = wine->path();
    LauncherSettings::instance().useWine = true;
    LauncherWindow launcher;
    launcher.start(*wine);
    const QString folder = QString(named.dir()).replace(u"it's"_s, uR"(it'\''s)"_s);
    QCOMPARE(launcher.process->arguments().at(1),
             u"cd '%1' && exec '%2' '%1/ZEL.exe'"_s.arg(folder, wine->path()));
}

void TestGameLaunch::theServerFilesAreWrittenFirst()
{
    LauncherSettings &settings = LauncherSettings::instance();
    settings.serverIp = u"10.1.2.3"_s;
    settings.channelCount = 2;
    client->write(u"ZEL_patched.exe"_s, "stale");
    client->write(u"Config.bin"_s, "options");
    // The program copies the files at its start.
    const FakeProgram copier(
        client->filePath(u"copier"_s),
        "mkdir found; cp server.txt serverlist.txt sn.bin zel_login.ini found; "
        "ls >found/list");
    settings.winePath = copier.path();
    LauncherWindow launcher;
    launcher.start(copier);
    QCOMPARE(client->read(u"found/server.txt"_s), "10.1.2.3\n");
    QVERIFY(client->read(u"found/serverlist.txt"_s).contains("10.1.2.3"));
    QVERIFY(client->read(u"found/sn.bin"_s).contains("Orvandale"));
    QCOMPARE(client->read(u"found/zel_login.ini"_s), "window=1\nserver_ip=10.1.2.3\nsound=0\n");
    QVERIFY(!client->read(u"found/list"_s).contains("ZEL_patched.exe"));
    QCOMPARE(client->read(u"Config.bin"_s), "options");
}

void TestGameLaunch::aMissingPreconditionIsShown_data()
{
    QTest::addColumn<QString>("clientDir");
    QTest::addColumn<QString>("clientExe");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("text");
    const QString noFolder = u"Configure a pasta do cliente."_s;
    QTest::newRow("no client folder set") << QString() << u"%1/ZEL.exe"_s << u"ip"_s << noFolder;
    QTest::newRow("client folder missing")
        << u"/nowhere/at/all"_s << u"%1/ZEL.exe"_s << u"ip"_s << noFolder;
    QTest::newRow("no server address")
        << u"%1"_s << u"ZEL.exe"_s << u"  "_s << u"Informe o IP do servidor."_s;
    QTest::newRow("client missing") << u"%1"_s << u"<b>ZEL<b>.exe"_s << u"ip"_s
                                    << u"Executavel nao encontrado:\n%1/<b>ZEL<b>.exe"_s;
}

void TestGameLaunch::aMissingPreconditionIsShown()
{
    QFETCH(QString, clientDir);
    QFETCH(QString, clientExe);
    QFETCH(const QString, address);
    QFETCH(QString, text);
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = clientDir.replace(u"%1"_s, client->dir());
    settings.clientExe = clientExe.replace(u"%1"_s, client->dir());
    settings.serverIp = address;
    // No update is started, although it could download the client.
    settings.patchBaseUrl = u"http://127.0.0.1:1/"_s;
    LauncherWindow launcher;
    const QSignalSpy patchReports(launcher.patchManager, &PatchManager::statusChanged);
    const QSignalSpy patchResults(launcher.patchManager, &PatchManager::finished);
    emit launcher.patchManager->progressChanged(40);
    const QString summary = launcher.status->text();
    QCOMPARE(launcher.boxAfterPlay(), warning(launcher, text.replace(u"%1"_s, client->dir())));
    QVERIFY(launcher.isIdle());
    QCOMPARE(launcher.status->text(), summary);
    QCOMPARE(launcher.progress(), QList<int>({40, 48}));
    QCOMPARE(launcher.process->state(), QProcess::NotRunning);
    QCOMPARE(patchReports.count(), 0);
    QCOMPARE(patchResults.count(), 0);
    // The server files are written before the executable is searched.
    QCOMPARE(client->read(u"server.txt"_s).isNull(), !text.startsWith(u"Executavel"_s));
}

void TestGameLaunch::aClientThatDoesNotStartIsReported_data()
{
    addUnusablePrograms();
    QTest::newRow("interpreter missing") << "#!/nowhere/sh\n"_ba << true;
}

void TestGameLaunch::aClientThatDoesNotStartIsReported()
{
    QFETCH(const QByteArray, content);
    QFETCH(const bool, isExecutable);
    const QString exe = client->filePath(u"ZEL.exe"_s);
    QVERIFY(QFile::remove(exe));
    writeUnusable(exe, content, isExecutable);
    LauncherSettings::instance().useWine = false;
    LauncherWindow launcher;
    emit launcher.patchManager->progressChanged(40);
    const QString summary = launcher.status->text();
    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok,
                [&](QMessageBox &) { QCOMPARE(launcher.status->text(), summary); });
    LauncherWindow::click(launcher.play);
    QVERIFY(user.isDone());
    QCOMPARE(user.last(), warning(launcher, notStarted + exe));
    QCOMPARE(launcher.status->text(), u"Falha ao iniciar o jogo."_s);
    QVERIFY(launcher.isIdle());
    QCOMPARE(launcher.progress(), QList<int>({40, 48}));

    // The launcher can try again.
    QVERIFY(content.isNull() ? QDir().rmdir(exe) : QFile::remove(exe));
    const FakeProgram game(exe);
    launcher.start(game);
}

void TestGameLaunch::aFailedStartUnderWineNamesTheShellOnPurpose()
{
    // An invalid address makes the launcher ask; the client folder is removed meanwhile.
    LauncherSettings::instance().patchBaseUrl = u"http://["_s;
    LauncherWindow launcher;
    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok);
    user.expect(QMessageBox::Yes,
                [&](QMessageBox &) { QVERIFY(QDir(client->dir()).removeRecursively()); });
    user.expect(QMessageBox::Ok);
    LauncherWindow::click(launcher.play);
    QVERIFY(user.isDone());
    QCOMPARE(user.last(), warning(launcher, notStarted + u"/bin/bash"_s));
    QCOMPARE(launcher.status->text(), u"Falha ao iniciar o jogo."_s);
    QVERIFY(launcher.isIdle());
}

void TestGameLaunch::anUnusableWineShowsAsTheShellsExitCode_data()
{
    addUnusablePrograms();
}

void TestGameLaunch::anUnusableWineShowsAsTheShellsExitCode()
{
    QFETCH(const QByteArray, content);
    QFETCH(const bool, isExecutable);
    LauncherSettings::instance().winePath = client->filePath(u"unusable"_s);
    writeUnusable(LauncherSettings::instance().winePath, content, isExecutable);
    LauncherWindow launcher;
    LauncherWindow::click(launcher.play);
    launcher.waitForEnd(126);
    LauncherSettings::instance().winePath = wine->path();
    launcher.start(*wine);
}

void TestGameLaunch::withoutAnyWineTheShellsExitCodeIsShown()
{
    if (!FakeSystem::isInside()) {
        NEEDS_OWN_MOUNTS();
        const FakeSystem system;
        QVERIFY(QFile::copy(u"/bin/bash"_s, system.path(u"/usr/bin/bash"_s)));
        system.runTestFunction();
        return;
    }
    LauncherSettings &settings = LauncherSettings::instance();
    settings.winePath = u"/opt/gone/bin/wine"_s;
    QCOMPARE(settings.resolvedWine(), u"wine"_s);
    LauncherWindow launcher;
    LauncherWindow::click(launcher.play);
    launcher.waitForEnd(127);
}

void TestGameLaunch::aFailingProfileShowsAsTheShellsExitCode_data()
{
    QTest::addColumn<QByteArray>("profile");
    QTest::addColumn<int>("code");
    QTest::newRow("leaves") << "exit 3\n"_ba << 3;
    QTest::newRow("leaves with success") << "exit 0\n"_ba << 0;
    QTest::newRow("stops at its first failure") << "set -e\nfalse\n"_ba << 1;
    QTest::newRow("becomes another program") << "exec /bin/false\n"_ba << 1;
    QTest::newRow("kills its shell") << "kill -KILL $$\n"_ba << SIGKILL;
}

void TestGameLaunch::aFailingProfileShowsAsTheShellsExitCode()
{
    QFETCH(const QByteArray, profile);
    QFETCH(const int, code);
    Disk::write(profilePath(), profile);
    LauncherWindow launcher;
    LauncherWindow::click(launcher.play);
    launcher.waitForEnd(code);
    QCOMPARE(wine->startCount(), 0);
}

void TestGameLaunch::aFaultyProfileDoesNotHinderTheGame_data()
{
    QTest::addColumn<QByteArray>("profile");
    QTest::newRow("a syntax error") << "if then fi (\n"_ba;
    QTest::newRow("an open quote") << "echo 'no end\n"_ba;
    QTest::newRow("bytes that are not text") << QByteArray("\xff\xfe\0\x01\n", 5);
    QTest::newRow("a failure at its end") << "false\n"_ba;
    QTest::newRow("return before the end") << "return 3\n"_ba;
    QTest::newRow("set -eu") << "set -eu\necho a word\necho a word >&2\n"_ba;
    QTest::newRow("each command is printed") << "set -x\n"_ba;
    QTest::newRow("closed output") << "exec >&- 2>&-\n"_ba;
    QTest::newRow("closed input") << "exec <&-\n"_ba;
}

void TestGameLaunch::aFaultyProfileDoesNotHinderTheGame()
{
    QFETCH(const QByteArray, profile);
    Disk::write(profilePath(), profile);
    LauncherWindow launcher;
    launcher.start(*wine);
    QCOMPARE(wine->workingFolder(), client->dir());
    QCOMPARE(wine->arguments(), QStringList(client->filePath(u"ZEL.exe"_s)));
    wine->exitWith(5);
    launcher.waitForEnd(5);
}

/// File names need not be UTF-8; a QString cannot hold such names.
void TestGameLaunch::aClientFolderWhoseNameIsNotUtf8IsNotFound()
{
    const QByteArray bytes = QFile::encodeName(client->dir()) + "/cli\xff\xc3"
                                                                "ent";
    QCOMPARE(::mkdir(bytes.constData(), S_IRWXU), 0);
    const QString name = QFile::decodeName(bytes);
    QVERIFY(QFile::encodeName(name) != bytes);
    const QStringList before = Disk::names(client->dir());

    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = name;
    settings.clientExe = client->filePath(u"ZEL.exe"_s);
    settings.save();
    settings.load();
    QCOMPARE(settings.clientDir, name);
    LauncherWindow launcher;
    QCOMPARE(launcher.boxAfterPlay(), warning(launcher, u"Configure a pasta do cliente."_s));
    QVERIFY(launcher.isIdle());

    // The same for the executable alone.
    settings.clientDir = client->dir();
    settings.clientExe = name + u"/ZEL.exe"_s;
    QCOMPARE(launcher.boxAfterPlay(),
             warning(launcher, u"Executavel nao encontrado:\n"_s + settings.clientExe));
    QVERIFY(launcher.isIdle());
    QCOMPARE(launcher.process->state(), QProcess::NotRunning);

    // No file with a similar name was created.
    QStringList after = Disk::names(client->dir());
    for (const QString &written : {u"server.txt"_s, u"serverlist.txt"_s, u"sn.bin"_s}) {
        QCOMPARE(after.removeAll(written), 1);
    }
    QCOMPARE(after, before);
    QCOMPARE(::rmdir(bytes.constData()), 0);
}

void TestGameLaunch::aFileWhoseNameIsNotUtf8IsIgnored()
{
    const QByteArray bytes = QFile::encodeName(client->dir()) + "/SN\xff.BIN";
    QCOMPARE(::mknod(bytes.constData(), S_IFREG | S_IRWXU, 0), 0);
    LauncherWindow launcher;
    launcher.start(*wine);
    wine->exitWith(0);
    launcher.waitForEnd(0);
    QCOMPARE(::unlink(bytes.constData()), 0);
}

void TestGameLaunch::theWindowIsBusyWhileTheGameRuns()
{
    LauncherWindow launcher;
    launcher.start(*wine);
    QVERIFY(launcher.isBusy());
    QVERIFY(launcher.cancel->isEnabled());
    QCOMPARE(launcher.status->text(), u"Jogo em execucao..."_s);

    LauncherWindow::click(launcher.play);
    // The slot itself ignores the call, too.
    QVERIFY(QMetaObject::invokeMethod(&launcher.window, "onPlay"));
    QCOMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
    wine->exitWith(0);
    QTRY_COMPARE(launcher.process->state(), QProcess::NotRunning);
    QCOMPARE(wine->startCount(), 1);
}

void TestGameLaunch::theExitCodeIsShown_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("isSignal");
    for (const int code : {0, 1, 3, 42, 255}) {
        QTest::addRow("%d", code) << code << false;
    }
    QTest::newRow("killed") << SIGKILL << true;
    QTest::newRow("segmentation fault") << SIGSEGV << true;
    QTest::newRow("terminated") << SIGTERM << true;
}

void TestGameLaunch::theExitCodeIsShown()
{
    QFETCH(const int, code);
    QFETCH(const bool, isSignal);
    LauncherWindow launcher;
    launcher.start(*wine);
    emit launcher.patchManager->progressChanged(40);
    QCOMPARE(launcher.progress(), QList<int>({40, 48}));
    isSignal ? wine->dieOf(code) : wine->exitWith(code);
    launcher.waitForEnd(code);
    QCOMPARE(launcher.process->exitStatus(), isSignal ? QProcess::CrashExit : QProcess::NormalExit);
    QCOMPARE(launcher.progress(), QList<int>({0, 0}));
}

void TestGameLaunch::theGameCanBeStartedAgain()
{
    LauncherWindow launcher;
    launcher.start(*wine);
    wine->exitWith(3);
    launcher.waitForEnd(3);

    // Every start uses the current settings.
    const FakeProgram game(client->filePath(u"ZEL.exe"_s));
    LauncherSettings::instance().useWine = false;
    launcher.start(game);
    QCOMPARE(launcher.process->arguments(), QStringList());
    QVERIFY(launcher.isBusy());
}

void TestGameLaunch::theGameKeepsItsInputOpen()
{
    const FakeProgram reader(client->filePath(u"reader"_s), "read -r word && echo $word >word");
    LauncherSettings::instance().winePath = reader.path();
    LauncherWindow launcher;
    LauncherWindow::click(launcher.play);
    QCOMPARE(launcher.process->openMode(), QIODevice::ReadWrite);
    launcher.process->write("hello\n");
    QTRY_COMPARE(reader.startCount(), 1);
    QCOMPARE(client->read(u"word"_s), "hello\n");
}

void TestGameLaunch::outputOfTheGameIsNotBuffered_data()
{
    const QByteArray flood = "head -c 536870912 /dev/zero\nhead -c 536870912 /dev/zero >&2\n";
    QTest::addColumn<QByteArray>("profile");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("useWine");
    QTest::newRow("by Wine") << QByteArray() << flood << true;
    QTest::newRow("by the client alone") << QByteArray() << flood << false;
    QTest::newRow("by the profile") << flood << QByteArray() << true;
}

void TestGameLaunch::outputOfTheGameIsNotBuffered()
{
    QFETCH(const QByteArray, profile);
    QFETCH(const QByteArray, body);
    QFETCH(const bool, useWine);
    constexpr qint64 allowedKb = 8 * 1024;
    const FakeProgram talker(client->filePath(u"ZEL.exe"_s), body);
    LauncherSettings &settings = LauncherSettings::instance();
    LauncherWindow launcher;
    launcher.start(*wine); // warm-up
    wine->exitWith(0);
    QTRY_COMPARE(launcher.process->state(), QProcess::NotRunning);

    Disk::write(profilePath(), profile);
    settings.useWine = useWine;
    settings.winePath = talker.path();
    const qint64 before = ProcessTable::memory("VmRSS");
    QVERIFY(before > 0);
    QVERIFY(resetPeakMemory());
    LauncherWindow::click(launcher.play);
    QTRY_COMPARE_WITH_TIMEOUT(talker.startCount(), 1, 60'000);
    const qint64 peak = ProcessTable::memory("VmHWM");
    QVERIFY2(peak - before < allowedKb, qPrintable(u"%1 kB, then %2 kB"_s.arg(before).arg(peak)));
    QCOMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
}

void TestGameLaunch::childProcessesOfTheGameAreNotWaitedFor()
{
    // Like a starter that exits before the game. The test ends the child in any case.
    const FakeProgram starter(client->filePath(u"starter"_s),
                              "sleep 600 &\necho $! >child\nexit 7\n");
    LauncherSettings::instance().winePath = starter.path();
    qint64 child = 0;
    const auto endChild = qScopeGuard([&] {
        if (child > 0) {
            ::kill(pid_t(child), SIGKILL);
        }
    });
    {
        LauncherWindow launcher;
        LauncherWindow::click(launcher.play);
        launcher.waitForEnd(7);
        child = client->read(u"child"_s).trimmed().toLongLong();
        QVERIFY(child > 0);
        QVERIFY(ProcessTable::isAlive(child));
        QVERIFY(launcher.isIdle());

        LauncherSettings::instance().winePath = wine->path();
        launcher.start(*wine);
    }
    QVERIFY(ProcessTable::isAlive(child));
}

void TestGameLaunch::cancelClosesAnIdleWindow()
{
    LauncherWindow launcher;
    const MessageBoxAnswerer user;
    LauncherWindow::click(launcher.cancel);
    QVERIFY(!launcher.window.isVisible());
}

void TestGameLaunch::cancelAsksWhileTheGameRuns()
{
    LauncherWindow launcher;
    launcher.start(*wine);
    MessageBoxAnswerer user;
    user.expect(QMessageBox::No);
    LauncherWindow::click(launcher.cancel);
    QVERIFY(user.isDone());
    QCOMPARE(user.last(), messageBox(&launcher.window, QMessageBox::Question, u"ZEL Launcher"_s,
                                     u"O jogo esta em execucao. Deseja encerrar o launcher?"_s));
    QVERIFY(launcher.window.isVisible());
    QVERIFY(launcher.isBusy());
    QCOMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
    QVERIFY(ProcessTable::isAlive(wine->pid()));
}

void TestGameLaunch::theGameMayEndWhileTheQuestionIsOpen()
{
    LauncherWindow launcher;
    launcher.start(*wine);
    MessageBoxAnswerer user;
    user.expect(QMessageBox::No, [&](QMessageBox &) {
        wine->exitWith(3);
        launcher.waitForEnd(3);
    });
    LauncherWindow::click(launcher.cancel);
    QVERIFY(user.isDone());
    QVERIFY(launcher.window.isVisible());
    QVERIFY(launcher.isIdle());
}

void TestGameLaunch::theGameEndsWithTheLauncher_data()
{
    QTest::addColumn<QByteArray>("profile");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("byFrame");
    const QByteArray none;
    const QByteArray stop = "echo >\"$HOME/stopped\"; kill -STOP $$\n";
    QTest::newRow("by its button") << none << none << false;
    QTest::newRow("by its frame, which asks nothing") << none << none << true;
    QTest::newRow("a game that ignores termination")
        << none << "trap '' TERM HUP INT QUIT\n"_ba << true;
    QTest::newRow("a stopped game") << none << stop << false;
    QTest::newRow("a profile that hangs") << stop << none << false;
}

void TestGameLaunch::theGameEndsWithTheLauncher()
{
    QFETCH(const QByteArray, profile);
    QFETCH(const QByteArray, body);
    QFETCH(const bool, byFrame);
    const QString stopped = TestEnvironment::home() + u"/stopped"_s;
    QFile::remove(stopped);
    Disk::write(profilePath(), profile);
    const FakeProgram game(client->filePath(u"game"_s), body);
    LauncherSettings::instance().winePath = game.path();
    qint64 pid = 0;
    std::optional<QSignalSpy> ends;
    {
        LauncherWindow launcher;
        ends.emplace(launcher.process, &QProcess::finished);
        LauncherWindow::click(launcher.play);
        QTRY_VERIFY(game.startCount() == 1 || QFile::exists(stopped));
        QCOMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
        pid = launcher.process->processId();
        MessageBoxAnswerer user;
        if (byFrame) {
            QVERIFY(launcher.window.close());
        } else {
            user.expect(QMessageBox::Yes);
            LauncherWindow::click(launcher.cancel);
            QVERIFY(user.isDone());
        }
        QVERIFY(!launcher.window.isVisible());
        QVERIFY(ProcessTable::isAlive(pid));
    }
    QVERIFY(!ProcessTable::isAlive(pid));
    // The window being destroyed receives no signal.
    QCOMPARE(ends->count(), 0);
}

ZEL_GUI_TEST_MAIN(TestGameLaunch)

#include "tst_gamelaunch.moc"
