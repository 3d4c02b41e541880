#include "unit/PatchTest.h"

#include <QDir>
#include <QNetworkReply>
#include <QRegularExpression>

#include "gui/LauncherWindow.h"
#include "settings/LauncherSettings.h"
#include "support/network/NginxServer.h"
#include "support/windows/MessageBoxAnswerer.h"

namespace
{

constexpr int megabyte = 1'000'000;
// Bytes per second at which a megabyte takes 1.5 s and 15 s.
constexpr int slow = 700'000;
constexpr int endless = 60'000;

} // namespace

/// Faults of a real web server, and a window that is closed, during an update.
class TestUpdateFaults : public PatchTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aThrottledServerIsWaitedFor();
    void aServerThatEndsDuringATransferEndsTheRun_data();
    void aServerThatEndsDuringATransferEndsTheRun();
    void aServerThatEndsBetweenTwoFilesEndsTheRun();
    void aServerThatRestartsBetweenTwoFilesDoesNotEndTheRun();

    void aWindowClosedInAStalledUpdateLeavesEveryFileWhole_data();
    void aWindowClosedInAStalledUpdateLeavesEveryFileWhole();

private:
    void publishWhole(const Files &files) override;

    /// Writes the folder that nginx serves.
    void writeSite(const Files &files, int manifestSize = 0);
    /// Serves the new files, each of them at a rate; the client folder holds the old ones.
    void startNginx(int bytesPerSecond, int manifestSize = 0);

    std::unique_ptr<NginxServer> nginx; // where the test has one
    const Files oldFiles = {{u"a"_s, "old a"}, {u"b"_s, "old b"}};
    const Files newFiles = {{u"a"_s, "new a"}, {u"b"_s, QByteArray(megabyte, 'b')}};
};

void TestUpdateFaults::init()
{
    PatchTest::init();
    for (auto file = oldFiles.begin(); file != oldFiles.end(); ++file) {
        Disk::write(clientPath(file.key()), file.value());
    }
}

void TestUpdateFaults::cleanup()
{
    nginx.reset();
    PatchTest::cleanup();
}

void TestUpdateFaults::publishWhole(const Files &files)
{
    if (!nginx) {
        PatchTest::publishWhole(files);
        return;
    }
    writeSite(files);
    nginx->stop();
    nginx->setRate(0);
    QVERIFY(nginx->restart());
    manager->baseUrl = nginx->url();
}

void TestUpdateFaults::writeSite(const Files &files, int manifestSize)
{
    const QDir site(root->filePath(u"site"_s));
    QByteArrayList listed;
    for (auto file = files.begin(); file != files.end(); ++file) {
        Disk::write(site.filePath(file.key()), file.value());
        listed.append(R"({"path":")" + file.key().toUtf8() + R"("})");
    }
    const QByteArray manifest = R"({"version":"2","files":[)" + listed.join(',') + "]}";
    Disk::write(site.filePath(u"manifest.json"_s), manifest.leftJustified(manifestSize));
}

void TestUpdateFaults::startNginx(int bytesPerSecond, int manifestSize)
{
    if (NginxServer::program().isEmpty()) {
        QSKIP("nginx is not installed");
    }
    writeSite(newFiles, manifestSize);
    nginx = std::make_unique<NginxServer>();
    nginx->setRate(bytesPerSecond);
    QString error;
    QVERIFY2(nginx->start(root->filePath(u"site"_s), &error), qPrintable(error));
    manager->baseUrl = nginx->url();
}

void TestUpdateFaults::aThrottledServerIsWaitedFor()
{
    startNginx(slow);
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(Disk::files(clientPath({})), newFiles);
    // The second half of the bar is the file "b", which arrives slowly.
    QVERIFY2(!log->lines().filter(QRegularExpression(u"^progress [5-8][1-9]$"_s)).isEmpty(),
             qPrintable(log->lines().join(u'\n')));
}

void TestUpdateFaults::aServerThatEndsDuringATransferEndsTheRun_data()
{
    QTest::addColumn<bool>("isKilled");
    QTest::addColumn<bool>("isInManifest");
    QTest::addColumn<bool>("isBackAtOnce");
    QTest::newRow("stopped in the manifest") << false << true << false;
    QTest::newRow("killed in the manifest") << true << true << false;
    QTest::newRow("restarted in the manifest") << true << true << true;
    QTest::newRow("stopped in a file") << false << false << false;
    QTest::newRow("killed in a file") << true << false << false;
    QTest::newRow("restarted in a file") << true << false << true;
}

void TestUpdateFaults::aServerThatEndsDuringATransferEndsTheRun()
{
    QFETCH(const bool, isKilled);
    QFETCH(const bool, isInManifest);
    QFETCH(const bool, isBackAtOnce);
    startNginx(endless, isInManifest ? megabyte : 0);
    if (QTest::currentTestFailed()) {
        return;
    }
    manager->checkAndUpdate();
    if (isInManifest) {
        QTRY_COMPARE(manager->findChildren<QNetworkReply *>().size(), 1);
        const auto *reply = manager->findChild<QNetworkReply *>();
        QTRY_VERIFY(reply->bytesAvailable() > 0);
    } else {
        QTRY_VERIFY(log->last().contains(QRegularExpression(u"^progress [5-9][1-9]$"_s)));
    }
    QCOMPARE(log->finishedCount(), 0);
    isKilled ? nginx->kill() : nginx->stop();
    if (isBackAtOnce) {
        QVERIFY(nginx->restart());
    }
    QVERIFY(waitForEnds(1));
    QCOMPARE(log->last(), isInManifest ? manifestFailed(closed()) : fileFailed(u"b"_s, closed()));
    expectRecovery(isInManifest ? oldFiles : Files{{u"a"_s, "new a"}, {u"b"_s, "old b"}});
}

void TestUpdateFaults::aServerThatEndsBetweenTwoFilesEndsTheRun()
{
    startNginx(endless);
    log->onLine = [this](const QString &line) {
        if (line == u"status Baixando b (2/2)"_s) {
            nginx->kill();
        }
    };
    const QString end = runToEnd();
    log->onLine = nullptr;
    QCOMPARE(end, fileFailed(u"b"_s, libraryError(QUrl(nginx->url() + u'b'))));
    expectRecovery({{u"a"_s, "new a"}, {u"b"_s, "old b"}});
}

void TestUpdateFaults::aServerThatRestartsBetweenTwoFilesDoesNotEndTheRun()
{
    startNginx(slow);
    log->onLine = [this](const QString &line) {
        if (line == u"status Baixando b (2/2)"_s) {
            nginx->kill();
            QVERIFY(nginx->restart());
        }
    };
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(Disk::files(clientPath({})), newFiles);
}

void TestUpdateFaults::aWindowClosedInAStalledUpdateLeavesEveryFileWhole_data()
{
    QTest::addColumn<QByteArray>("stalledPath");
    QTest::addColumn<int>("position");
    for (const char *path : {"/manifest.json", "/a", "/b"}) {
        QTest::addRow("%s, no answer", path) << QByteArray(path) << int(HttpAnswer::beforeHeader);
        QTest::addRow("%s, half a header", path)
            << QByteArray(path) << int(HttpAnswer::insideHeader);
        QTest::addRow("%s, half a body", path) << QByteArray(path) << 3;
    }
}

void TestUpdateFaults::aWindowClosedInAStalledUpdateLeavesEveryFileWhole()
{
    QFETCH(const QByteArray, stalledPath);
    QFETCH(const int, position);
    Disk::write(clientPath(u"ZEL.exe"_s), "the client");
    PatchTest::publishWhole(newFiles);
    server->answer(stalledPath, HttpAnswer::withLength("stalled").heldAt(position));
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = clientPath({});
    settings.patchBaseUrl = server->url();
    const MessageBoxAnswerer user; // no box may appear
    {
        LauncherWindow launcher;
        LauncherWindow::click(launcher.play);
        QVERIFY(waitForHold());
        QVERIFY(launcher.isBusy());
        QVERIFY(launcher.window.close());
        QVERIFY(!launcher.window.isVisible());
    }
    QTRY_COMPARE(server->openConnections(), 0);
    Files left = oldFiles;
    left[u"ZEL.exe"_s] = "the client";
    for (const QString &name : {u"serverlist.txt"_s, u"sn.bin"_s, u"server.txt"_s}) {
        left[name] = clientFile(name); // written before the update began
    }
    if (stalledPath == "/b") {
        left[u"a"_s] = "new a";
    }
    expectRecovery(left);
}

ZEL_GUI_TEST_MAIN(TestUpdateFaults)

#include "tst_updatefaults.moc"
