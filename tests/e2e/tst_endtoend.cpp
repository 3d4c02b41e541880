#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include <optional>

#include "gui/LauncherWindow.h"
#include "gui/RealLauncher.h"
#include "gui/ScreenReader.h"
#include "gui/SettingsFields.h"
#include "settings/LauncherSettings.h"
#include "support/Timeouts.h"
#include "support/files/Disk.h"
#include "support/network/NginxServer.h"
#include "support/process/FakeClient.h"
#include "support/process/ProcessTable.h"
#include "support/windows/MessageBoxAnswerer.h"

using namespace Qt::StringLiterals;

namespace
{

/// The number of processes with @p text in their command line.
int processesWith(const QByteArray &text)
{
    int count = 0;
    const QStringList entries = QDir(u"/proc"_s).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        QFile file(u"/proc/%1/cmdline"_s.arg(entry));
        count += file.open(QIODevice::ReadOnly) && file.readAll().contains(text) ? 1 : 0;
    }
    return count;
}

/// Runs a program to its end; true when it exits with 0.
bool run(const QString &program, const QStringList &arguments,
         const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    return process.waitForFinished(10 * Timeouts::programMs) &&
           process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

} // namespace

/// The real program, a real web server, a real Windows program under a real Wine.
class TestEndToEnd : public TestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void aNewClientIsDeliveredAndPlayed();
    void theClientIsPlayedWithoutTheServerAndEndsWithTheLauncher();
    void theClientReadsWhatTheDialogSet();

private:
    void compileClient();
    void prepareWine();
    /// Publishes @p manifest, the Windows program and a file of 300,000 bytes.
    void publish(const QByteArray &manifest);
    /// Removes the results of an earlier run from the client folder and writes the executable @p
    /// exe.
    void resetClient(const QByteArray &exe);
    /// Waits until the Windows program is idle.
    void waitForTheClient();

    QTemporaryDir work;
    QProcessEnvironment wineEnvironment = QProcessEnvironment::systemEnvironment();
    NginxServer web;
    // A name that the shell and Wine must not change.
    const FakeClient client{u"Jogo d'Orvandale 100% ação"_s};
    std::optional<RealLauncher> launcher;
    std::optional<ScreenReader> reader;
};

void TestEndToEnd::initTestCase()
{
    TestBase::init();
    for (const QString &needed : {u"wine"_s, u"x86_64-w64-mingw32-gcc"_s}) {
        if (QStandardPaths::findExecutable(needed).isEmpty()) {
            QSKIP(qPrintable(u"there is no "_s + needed));
        }
    }
    compileClient();
    prepareWine();
    QString webError;
    Disk::makeFolder(work.filePath(u"files"_s));
    QVERIFY2(web.start(work.filePath(u"files"_s), &webError), qPrintable(webError));

    launcher.emplace();
    reader.emplace(*launcher);
    RealLauncher::writeSettings({{u"client/dir"_s, client.dir()},
                                 {u"patch/baseUrl"_s, web.url()},
                                 {u"server/name"_s, u"Alpha"_s},
                                 {u"server/ip"_s, u"10.1.2.3"_s},
                                 {u"server/channelCount"_s, 2}});
}

void TestEndToEnd::cleanupTestCase()
{
    launcher.reset();
    reader.reset();
    web.stop();
    if (QFile::exists(work.filePath(u"prefix"_s))) {
        run(QStringLiteral(ZEL_END_WINE), {}, wineEnvironment);
    }
}

void TestEndToEnd::cleanup()
{
    if (launcher) {
        launcher->kill();
    }
}

void TestEndToEnd::compileClient()
{
    QVERIFY(run(u"x86_64-w64-mingw32-gcc"_s,
                {u"-municode"_s, u"-O1"_s, u"-Wall"_s, u"-Werror"_s, u"-o"_s,
                 work.filePath(u"ZEL.exe"_s), QStringLiteral(ZEL_CLIENT_SOURCE)}));
}

void TestEndToEnd::prepareWine()
{
    // Set in the user's login profile only.
    const QList<std::pair<QString, QString>> variables = {
        {u"WINEPREFIX"_s, work.filePath(u"prefix"_s)},
        {u"WINEDEBUG"_s, u"-all"_s},
        {u"WINEDLLOVERRIDES"_s, u"mscoree,mshtml="_s},
    };
    QByteArray profile;
    for (const auto &[name, value] : variables) {
        wineEnvironment.insert(name, value);
        qunsetenv(name.toUtf8().constData());
        profile += u"export %1='%2'\n"_s.arg(name, value).toUtf8();
    }
    Disk::write(TestEnvironment::home() + u"/.bash_profile"_s, profile);
    QVERIFY2(run(u"wine"_s, {u"wineboot"_s, u"--init"_s}, wineEnvironment),
             "Wine cannot be prepared");
}

void TestEndToEnd::publish(const QByteArray &manifest)
{
    const QDir files(work.filePath(u"files"_s));
    Disk::write(files.filePath(u"ZEL.exe"_s), Disk::read(work.filePath(u"ZEL.exe"_s)));
    Disk::write(files.filePath(u"data/mapas/norte.bin"_s), QByteArray(300'000, '\7'));
    Disk::write(files.filePath(u"manifest.json"_s), manifest);
}

void TestEndToEnd::resetClient(const QByteArray &exe)
{
    QDir(client.filePath(u"seen"_s)).removeRecursively();
    QFile::remove(client.filePath(u"end"_s));
    client.write(u"ZEL.exe"_s, exe);
    client.write(u"ZEL_patched.exe"_s, "stale");
    client.write(u"Config.bin"_s, QByteArray(30, '\1'));
}

void TestEndToEnd::waitForTheClient()
{
    if (QTest::currentTestFailed()) {
        return;
    }
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(client.filePath(u"seen/ready"_s)), Timeouts::programMs);
}

void TestEndToEnd::aNewClientIsDeliveredAndPlayed()
{
    resetClient("the old client");
    publish(R"({
        "version": "2.0",
        "files": [ { "path": "ZEL.exe" }, { "path": "data/mapas/norte.bin" } ]
    })");

    launcher->start();
    reader->waitForLabel(u"^Alpha  \\|  10\\.1\\.2\\.3  \\|  Versao 1\\.0\\.0$"_s);
    launcher->clickPlay();
    reader->waitForLabel(u"^Atualizacao concluida\\.$"_s);
    reader->waitForLabel(u"^Alpha  \\|  10\\.1\\.2\\.3  \\|  Versao 2\\.0$"_s);
    const qint64 memory = ProcessTable::memory(launcher->pid(), "VmRSS");
    QVERIFY(memory > 0);
    launcher->answer(u"Atualizacao"_s, u"Return"_s);
    reader->waitForLabel(u"^Jogo em execucao\\.\\.\\.$"_s);
    waitForTheClient();
    // The launcher does not buffer the program's output.
    const qint64 peak = ProcessTable::memory(launcher->pid(), "VmHWM");
    QVERIFY2(peak - memory < 8 * 1024, qPrintable(u"%1 kB, then %2 kB"_s.arg(memory).arg(peak)));
    client.write(u"end"_s, {});
    reader->waitForLabel(u"^Jogo encerrado \\(codigo 42\\)\\.$"_s);
    launcher->close();

    QCOMPARE(web.requests(), QByteArrayList({"GET /manifest.json HTTP/1.1", "GET /ZEL.exe HTTP/1.1",
                                             "GET /data/mapas/norte.bin HTTP/1.1"}));
    QCOMPARE(client.read(u"ZEL.exe"_s), Disk::read(work.filePath(u"ZEL.exe"_s)));
    QCOMPARE(client.read(u"data/mapas/norte.bin"_s), QByteArray(300'000, '\7'));
    QVERIFY(!QFile::exists(client.filePath(u"ZEL_patched.exe"_s)));
    QCOMPARE(QSettings(TestEnvironment::settingsFile(), QSettings::IniFormat)
                 .value(u"patch/localVersion"_s)
                 .toString(),
             u"2.0"_s);

    // The Windows program receives its directory and its own path, no arguments.
    const QString folder = u"Z:"_s + QDir(client.dir()).path().replace(u'/', u'\\');
    QCOMPARE(QString::fromUtf8(client.read(u"seen/about.txt"_s)).split(u'\n'),
             QStringList({folder, folder + u"\\ZEL.exe"_s, QString()}));
    QCOMPARE(client.read(u"seen/server.txt"_s), "10.1.2.3\n");
    QCOMPARE(client.read(u"seen/serverlist.txt"_s), "0 0 10.1.2.3\n0 1 10.1.2.3\n0 2 10.1.2.3\n");
    QVERIFY(client.read(u"seen/sn.bin"_s).startsWith("1 Alpha\n"));
    QCOMPARE(client.read(u"seen/zel_login.ini"_s), "window=1\nserver_ip=10.1.2.3\nsound=0\n");
    QCOMPARE(client.read(u"seen/Config.bin"_s), QByteArray(30, '\1'));
}

void TestEndToEnd::theClientIsPlayedWithoutTheServerAndEndsWithTheLauncher()
{
    resetClient(Disk::read(work.filePath(u"ZEL.exe"_s)));
    web.stop();

    launcher->start();
    launcher->clickPlay();
    launcher->answer(u"Atualizacao"_s, u"Return"_s);
    launcher->answer(u"Atualizacao"_s, u"alt+s"_s);
    reader->waitForLabel(u"^Jogo em execucao\\.\\.\\.$"_s);
    waitForTheClient();
    QVERIFY(processesWith(client.dir().toUtf8()) > 0);
    launcher->clickCancel();
    launcher->answer(u"ZEL Launcher"_s, u"alt+s"_s);
    launcher->waitForEnd();
    QTRY_COMPARE_WITH_TIMEOUT(processesWith(client.dir().toUtf8()), 0, Timeouts::programMs);
}

void TestEndToEnd::theClientReadsWhatTheDialogSet()
{
    // A client folder with a picture and a login file only.
    const FakeClient fresh(u"Pasta nova"_s);
    QVERIFY(QFile::remove(fresh.filePath(u"ZEL.exe"_s)));
    fresh.write(u"Cliente.exe"_s, "the old client");
    web.stop();
    QString webError;
    QVERIFY2(web.start(work.filePath(u"files"_s), &webError), qPrintable(webError));
    publish(R"({"version": "3.0", "files": [ { "path": "Cliente.exe", "url": "ZEL.exe" } ]})");

    LauncherWindow window;
    QString wine;
    QTimer::singleShot(0, this, [&] {
        auto *dialog = qobject_cast<SettingsDialog *>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        const SettingsFields fields(*dialog);
        using F = SettingsFields;
        F::type(fields.clientDir, fresh.dir());
        F::type(fields.clientExe, u"Cliente.exe"_s);
        F::choose(fields.wine, fields.wine->itemText(fields.wine->count() - 1));
        wine = fields.wine->currentData().toString();
        F::set(fields.useWine, true);
        F::type(fields.serverName, u"Aurora"_s);
        F::type(fields.serverIp, u"10.0.0.5"_s);
        F::type(fields.channels, 3);
        F::choose(fields.resolution, u"1600 x 1080"_s);
        F::set(fields.windowMode, false);
        F::slide(fields.brightness, 30);
        F::slide(fields.effects, 51);
        F::slide(fields.music, 1);
        F::choose(fields.modelQuality, u"Alta"_s);
        F::choose(fields.cursor, u"Padrao do sistema"_s);
        F::choose(fields.keyboard, u"Teclas alternativas"_s);
        F::type(fields.cameraView, 3);
        F::set(fields.cameraRotation, true);
        F::set(fields.dxt, false);
        F::set(fields.introVideo, false);
        F::type(fields.patchUrl, web.url());
        F::type(fields.website, u"http://site.test/"_s);
        F::type(fields.news, u"http://news.test/"_s);
        F::click(fields.ok);
    });
    LauncherWindow::click(window.settings);
    QCOMPARE(window.status->text(), u"Aurora  |  10.0.0.5  |  Versao 1.0.0"_s);
    QCOMPARE(LauncherSettings::instance().winePath, wine);

    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok);
    LauncherWindow::click(window.play);
    QTRY_COMPARE_WITH_TIMEOUT(window.status->text(), u"Jogo em execucao..."_s, Timeouts::programMs);
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(fresh.filePath(u"seen/ready"_s)), Timeouts::programMs);
    fresh.write(u"end"_s, {});
    QTRY_COMPARE_WITH_TIMEOUT(window.status->text(), u"Jogo encerrado (codigo 42)."_s,
                              Timeouts::programMs);

    QCOMPARE(fresh.read(u"seen/options.txt"_s), "7000 11 3 150 100 -1 30 0 0 0 1 1 1 1 3\n");
    QCOMPARE(fresh.read(u"seen/server.txt"_s), "10.0.0.5\n");
    QCOMPARE(fresh.read(u"seen/serverlist.txt"_s),
             "0 0 10.0.0.5\n0 1 10.0.0.5\n0 2 10.0.0.5\n0 3 10.0.0.5\n");
    QCOMPARE(fresh.read(u"seen/sn.bin"_s), "1 Aurora\n" + QByteArray("0\n").repeated(10));
    QCOMPARE(fresh.read(u"seen/zel_login.ini"_s), "window=1\nserver_ip=10.0.0.5\nsound=0\n");
}

ZEL_GUI_TEST_MAIN(TestEndToEnd)

#include "tst_endtoend.moc"
