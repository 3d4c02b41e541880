#include "PatchTest.h"

#include <QDir>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTcpServer>
#include <QTimer>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include "settings/LauncherSettings.h"

namespace
{

constexpr int megabyte = 1024 * 1024;

QString completeEnd()
{
    return QStringLiteral("finished true Atualizacao concluida.");
}

/// What only root can do, and not everywhere: mounts that nobody else sees.
bool enterOwnMountNamespace()
{
    return geteuid() == 0 && unshare(CLONE_NEWNS) == 0 &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace

/// Faults of the server, of the way to it and of the disk.
class TestPatchManagerFaults : public PatchTest
{
    Q_OBJECT

private slots:
    void aFailedTransferIsToldInTheLibrarysWords_data();
    void aFailedTransferIsToldInTheLibrarysWords();
    void aBodyThatBreaksOffIsAClosedConnection_data();
    void aBodyThatBreaksOffIsAClosedConnection();
    void aServerThatIsNotThereIsToldInTheLibrarysWords();
    void aStalledServerIsWaitedFor_data();
    void aStalledServerIsWaitedFor();
    void aFailedFileEndsTheRun();

    void aCutFileIsNeverStored();
    void aCutFileBehindARedirectIsNeverStored();
    void aCutManifestIsNeverUsed();
    void anUncompressedBodyWithAnEncodingLineIsCheckedToo();
    void aRedirectsOwnLengthIsNotTakenForTheFiles_data();
    void aRedirectsOwnLengthIsNotTakenForTheFiles();

    void whatCannotBeOpenedIsNamed_data();
    void whatCannotBeOpenedIsNamed();
    void aFolderRemovedInMidRunIsMadeAgain();
    void aFolderReplacedByAFileInMidRunIsNamed();
    void aTargetThatBecomesAFolderInMidRunIsNamed();

    void aFullDiskLeavesTheOldFileWhole_data();
    void aFullDiskLeavesTheOldFileWhole();
    void aFullFileSystemLeavesTheOldFileWhole_data();
    void aFullFileSystemLeavesTheOldFileWhole();
    void aNameTooLongIsNamed();
    void aTargetThatCannotBeReplacedIsNamed();

private:
    void expectNothingStored(const QByteArray &oldContent);
};

void TestPatchManagerFaults::aFailedTransferIsToldInTheLibrarysWords_data()
{
    const HttpAnswer whole = HttpAnswer::withLength("content of a");
    QTest::addColumn<HttpAnswer>("answer");
    QTest::newRow("not found") << HttpAnswer::status("404 Not Found", "no such file");
    QTest::newRow("forbidden") << HttpAnswer::status("403 Forbidden");
    QTest::newRow("gone, in other words") << HttpAnswer::status("410 Moved Out");
    QTest::newRow("internal error") << HttpAnswer::status("500 Internal Server Error", "oops");
    QTest::newRow("unavailable") << HttpAnswer::status("503 Service Unavailable", "busy");
    QTest::newRow("login wanted")
        << HttpAnswer::status("401 Unauthorized").withHeader("WWW-Authenticate: Basic realm=\"x\"");
    QTest::newRow("closed without an answer") << whole.cutAt(HttpAnswer::beforeHeader);
    QTest::newRow("closed inside the header") << whole.cutAt(HttpAnswer::insideHeader);
    QTest::newRow("reset without an answer") << whole.resetAt(HttpAnswer::beforeHeader);
    QTest::newRow("reset inside the header") << whole.resetAt(HttpAnswer::insideHeader);
    QTest::newRow("no HTTP") << HttpAnswer::raw("SSH-2.0-OpenSSH_9.2\r\n", "").cutAt(0);
    QTest::newRow("broken compression") << whole.withHeader("Content-Encoding: gzip");
    QTest::newRow("redirect in a circle") << HttpAnswer::redirect("/manifest.json");
    QTest::newRow("redirect to nothing") << HttpAnswer::redirect("/nowhere");
    QTest::newRow("redirect to another protocol") << HttpAnswer::redirect("ftp://127.0.0.1/a");
}

void TestPatchManagerFaults::aFailedTransferIsToldInTheLibrarysWords()
{
    QFETCH(const HttpAnswer, answer);
    server->answer("/manifest.json", answer);
    const QByteArray settings = settingsBytes();
    const QString manifestText = libraryError(QUrl(server->url(QStringLiteral("/manifest.json"))));
    QVERIFY(!manifestText.isEmpty());
    QVERIFY(runToEnd());
    QCOMPARE(
        log->lines(),
        QStringList({QStringLiteral("status Verificando versao..."), QStringLiteral("progress 0"),
                     QStringLiteral("finished false Nao foi possivel baixar manifest.json: ") +
                         manifestText}));

    server->answer("/data/a", answer);
    publish(QStringLiteral("2"), {{QStringLiteral("a"), QStringLiteral("data/a")}});
    if (QLatin1String(QTest::currentDataTag()) == QLatin1String("redirect in a circle")) {
        server->answer("/data/a", HttpAnswer::redirect("/data/a"));
    }
    Disk::write(clientPath(QStringLiteral("a")), "old");
    const QString fileText = libraryError(QUrl(server->url(QStringLiteral("/data/a"))));
    QVERIFY(!fileText.isEmpty());
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished false Falha ao baixar a: ") + fileText);
    QCOMPARE(log->linesOf(QStringLiteral("status")).last(),
             QStringLiteral("status Baixando a (1/1)"));
    expectNothingStored("old");
    QCOMPARE(settingsBytes(), settings);
}

/// The folder holds the file "a" alone, as it was, and the settings the old version.
void TestPatchManagerFaults::expectNothingStored(const QByteArray &oldContent)
{
    QCOMPARE(clientFile(QStringLiteral("a")), oldContent);
    QCOMPARE(clientTree(), QStringList({QStringLiteral("a")}));
    QCOMPARE(LauncherSettings::instance().localVersion, QStringLiteral("1.0.0"));
}

void TestPatchManagerFaults::aBodyThatBreaksOffIsAClosedConnection_data()
{
    const HttpAnswer whole = HttpAnswer::withLength(QByteArray(300'000, 'x'));
    QTest::addColumn<HttpAnswer>("answer");
    QTest::newRow("closed after the header") << whole.cutAt(0);
    QTest::newRow("closed inside") << whole.cutAt(20'000);
    QTest::newRow("closed before the last byte") << whole.cutAt(299'999);
    QTest::newRow("closed after a pause") << whole.heldAt(20'000).cutAt(20'000);
    QTest::newRow("reset after the header") << whole.heldAt(0).resetAt(0);
    QTest::newRow("reset inside") << whole.heldAt(20'000).resetAt(20'000);
    QTest::newRow("reset before the last byte") << whole.heldAt(299'999).resetAt(299'999);
}

void TestPatchManagerFaults::aBodyThatBreaksOffIsAClosedConnection()
{
    // The library reports some of these itself and takes the others for whole.
    QFETCH(const HttpAnswer, answer);
    QTimer resumer;
    connect(&resumer, &QTimer::timeout, this, [this] { server->resume(); });
    resumer.start(20);

    server->answer("/manifest.json", answer);
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished false Nao foi possivel baixar manifest.json: "
                                         "Connection closed"));
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", answer);
    Disk::write(clientPath(QStringLiteral("a")), "old");
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished false Falha ao baixar a: Connection closed"));
    expectNothingStored("old");
}

void TestPatchManagerFaults::aServerThatIsNotThereIsToldInTheLibrarysWords()
{
    QTcpServer port;
    QVERIFY(port.listen(QHostAddress::LocalHost));
    manager->baseUrl = QStringLiteral("http://127.0.0.1:%1/").arg(port.serverPort());
    port.close();
    QVERIFY(runToEnd());
    QCOMPARE(log->last(),
             QStringLiteral("finished false Nao foi possivel baixar manifest.json: ") +
                 libraryError(QUrl(manager->baseUrl + QStringLiteral("manifest.json"))));
}

void TestPatchManagerFaults::aStalledServerIsWaitedFor_data()
{
    QTest::addColumn<int>("position");
    QTest::newRow("no answer") << int(HttpAnswer::beforeHeader);
    QTest::newRow("half a header") << int(HttpAnswer::insideHeader);
    QTest::newRow("half a body") << 10;
}

void TestPatchManagerFaults::aStalledServerIsWaitedFor()
{
    QFETCH(const int, position);
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("content, and a bit more").heldAt(position));
    manager->checkAndUpdate();
    QVERIFY(waitForHold());
    QTest::qWait(300);
    QCOMPARE(log->finishedCount(), 0);
    QCOMPARE(server->heldAnswers(), 1);
    server->resume();
    QVERIFY(waitForEnds(1));
    QCOMPARE(log->last(), completeEnd());
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("content, and a bit more"));
}

void TestPatchManagerFaults::aFailedFileEndsTheRun()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}},
                                  {QStringLiteral("data/b"), QStringLiteral("b")},
                                  {QStringLiteral("c"), {}}});
    server->answer("/a", HttpAnswer::withLength("content of a"));
    server->answer("/c", HttpAnswer::withLength("content of c"));
    const QByteArray settings = settingsBytes();
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished false Falha ao baixar data/b: ") +
                              libraryError(QUrl(server->url(QStringLiteral("/b")))));
    QVERIFY(!log->lines().contains(QStringLiteral("progress 100")));
    QVERIFY(!server->paths().contains("/c"));
    QCOMPARE(clientTree(), QStringList({QStringLiteral("a")}));
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("content of a"));
    QCOMPARE(settingsBytes(), settings);
    QCOMPARE(LauncherSettings::instance().localVersion, QStringLiteral("1.0.0"));
}

void TestPatchManagerFaults::aCutFileIsNeverStored()
{
    // Of a body of this size the library takes most cuts for the end, of one as small as this
    // text none.
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/small", HttpAnswer::withLength("content of a").cutAt(3));
    const QString closedText = libraryError(QUrl(server->url(QStringLiteral("/small"))));
    QCOMPARE(closedText, QStringLiteral("Connection closed"));
    Disk::write(clientPath(QStringLiteral("a")), "old");
    for (int size : {megabyte, 4 * megabyte}) {
        server->answer("/a", HttpAnswer::withLength(QByteArray(size, 'x')).cutAt(size - 1000));
        for (int i = 0; i < (size == megabyte ? 200 : 10); ++i) {
            QVERIFY(runToEnd());
            QCOMPARE(log->last(),
                     QStringLiteral("finished false Falha ao baixar a: ") + closedText);
            expectNothingStored("old");
        }
    }
}

void TestPatchManagerFaults::aCutFileBehindARedirectIsNeverStored()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), QStringLiteral("led")}});
    server->answer("/led", HttpAnswer::redirect("/a"));
    server->answer("/a", HttpAnswer::withLength(QByteArray(megabyte, 'x')).cutAt(megabyte - 1));
    Disk::write(clientPath(QStringLiteral("a")), "old");
    for (int i = 0; i < 60; ++i) {
        QVERIFY(runToEnd());
        QCOMPARE(log->last(),
                 QStringLiteral("finished false Falha ao baixar a: Connection closed"));
        expectNothingStored("old");
    }
}

void TestPatchManagerFaults::aCutManifestIsNeverUsed()
{
    // What is left of it is a manifest too.
    const QByteArray manifest = R"({"version":"2","files":[]})" + QByteArray(megabyte, ' ');
    server->answer("/manifest.json", HttpAnswer::withLength(manifest).cutAt(megabyte - 1));
    for (int i = 0; i < 20; ++i) {
        QVERIFY(runToEnd());
        QCOMPARE(log->last(), QStringLiteral("finished false Nao foi possivel baixar "
                                             "manifest.json: Connection closed"));
        QCOMPARE(LauncherSettings::instance().localVersion, QStringLiteral("1.0.0"));
    }
}

void TestPatchManagerFaults::anUncompressedBodyWithAnEncodingLineIsCheckedToo()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    const HttpAnswer whole =
        HttpAnswer::withLength(QByteArray(megabyte, 'x')).withHeader("Content-Encoding: identity");
    server->answer("/a", whole);
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), completeEnd());
    server->answer("/a", whole.cutAt(megabyte - 1));
    for (int i = 0; i < 20; ++i) {
        QVERIFY(runToEnd());
        QCOMPARE(log->last(),
                 QStringLiteral("finished false Falha ao baixar a: Connection closed"));
    }
    QCOMPARE(clientFile(QStringLiteral("a")).size(), qsizetype(megabyte));
}

void TestPatchManagerFaults::aRedirectsOwnLengthIsNotTakenForTheFiles_data()
{
    QTest::addColumn<HttpAnswer>("answer");
    QTest::newRow("with length") << HttpAnswer::withLength("short");
    QTest::newRow("empty") << HttpAnswer::withLength("");
    QTest::newRow("without length") << HttpAnswer::withoutLength("short");
    QTest::newRow("chunked") << HttpAnswer::chunked("short");
    QTest::newRow("compressed") << HttpAnswer::gzipped("short");
}

void TestPatchManagerFaults::aRedirectsOwnLengthIsNotTakenForTheFiles()
{
    // The library leaves the redirect's header on one reply of five or so.
    QFETCH(const HttpAnswer, answer);
    QList<Listed> files;
    for (int i = 0; i < 60; ++i) {
        files.append({QStringLiteral("a"), QStringLiteral("led")});
    }
    publish(QStringLiteral("2"), files);
    server->answer("/led", HttpAnswer::redirect("/a"));
    server->answer("/a", answer);
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), completeEnd());
}

void TestPatchManagerFaults::whatCannotBeOpenedIsNamed_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a folder") << QStringLiteral("folder");
    QTest::newRow("a folder, with a slash") << QStringLiteral("folder/");
    QTest::newRow("a new folder, with a slash") << QStringLiteral("new/");
    QTest::newRow("the client folder") << QStringLiteral(".");
    QTest::newRow("the folder above") << QStringLiteral("..");
    QTest::newRow("the root") << QStringLiteral("/");
    QTest::newRow("below a file") << QStringLiteral("file/a");
    QTest::newRow("far below a file") << QStringLiteral("file/b/c/a");
    QTest::newRow("null character in the name") << QStringLiteral("a") + QChar::Null;
    QTest::newRow("null character in the folder")
        << QStringLiteral("new") + QChar::Null + QStringLiteral("/a");
    QTest::newRow("null character alone") << QString(QChar::Null);
}

void TestPatchManagerFaults::whatCannotBeOpenedIsNamed()
{
    QFETCH(const QString, path);
    QVERIFY(QDir(clientPath({})).mkdir(QStringLiteral("folder")));
    Disk::write(clientPath(QStringLiteral("file")), "a file");
    const QStringList before = clientTree();
    publish(QStringLiteral("2"), {{path, QStringLiteral("a")}, {QStringLiteral("b"), {}}});
    server->answer("/a", HttpAnswer::withLength("content"));
    const QByteArray settings = settingsBytes();
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished false Nao foi possivel gravar ") +
                              QDir(clientPath({})).filePath(path));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));
    QStringList after = clientTree();
    after.removeOne(QStringLiteral("new")); // its folder may be made
    QCOMPARE(after, before);
    QCOMPARE(clientFile(QStringLiteral("file")), QByteArray("a file"));
    QCOMPARE(settingsBytes(), settings);
}

void TestPatchManagerFaults::aFolderRemovedInMidRunIsMadeAgain()
{
    publish(QStringLiteral("2"), {{QStringLiteral("data/a"), QStringLiteral("a")},
                                  {QStringLiteral("data/b"), QStringLiteral("b")}});
    server->answer("/a", HttpAnswer::withLength("content of a"));
    server->answer("/b", HttpAnswer::withLength("content of b").heldAt(2));
    manager->checkAndUpdate();
    QVERIFY(waitForHold());
    QVERIFY(QDir(clientPath({})).removeRecursively());
    server->resume();
    QVERIFY(waitForEnds(1));
    QCOMPARE(log->last(), completeEnd());
    QCOMPARE(clientTree(), QStringList({QStringLiteral("data"), QStringLiteral("data/b")}));
}

void TestPatchManagerFaults::aFolderReplacedByAFileInMidRunIsNamed()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("content of a").heldAt(2));
    manager->checkAndUpdate();
    QVERIFY(waitForHold());
    QVERIFY(QDir(root->path()).rmdir(QStringLiteral("client")));
    QFile file(clientPath({}));
    QVERIFY(file.open(QIODevice::WriteOnly));
    server->resume();
    QVERIFY(waitForEnds(1));
    QCOMPARE(log->last(), QStringLiteral("finished false Nao foi possivel gravar ") +
                              clientPath(QStringLiteral("a")));
    QCOMPARE(file.size(), 0);
}

void TestPatchManagerFaults::aTargetThatBecomesAFolderInMidRunIsNamed()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("content of a").heldAt(2));
    Disk::write(clientPath(QStringLiteral("a")), "old");
    manager->checkAndUpdate();
    QVERIFY(waitForHold());
    QVERIFY(QFile::remove(clientPath(QStringLiteral("a"))));
    QVERIFY(QDir(clientPath({})).mkpath(QStringLiteral("a/b")));
    server->resume();
    QVERIFY(waitForEnds(1));
    QCOMPARE(log->last(), QStringLiteral("finished false Nao foi possivel gravar ") +
                              clientPath(QStringLiteral("a")));
    QCOMPARE(clientTree(), QStringList({QStringLiteral("a"), QStringLiteral("a/b")}));
}

void TestPatchManagerFaults::aFullDiskLeavesTheOldFileWhole_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("limit");
    QTest::newRow("tiny, nothing fits") << 5 << 0;
    QTest::newRow("tiny, the last byte does not fit") << 5 << 4;
    QTest::newRow("within one block") << 60'000 << 30'000;
    QTest::newRow("one block, the last byte does not fit") << 65'536 << 65'535;
    QTest::newRow("large, nothing fits") << 2 * megabyte << 0;
    QTest::newRow("large, half fits") << 2 * megabyte << megabyte + 7;
    QTest::newRow("large, all but the last block") << 2 * megabyte + 10 << 2 * megabyte;
    QTest::newRow("large, the last byte does not fit") << 2 * megabyte + 10 << 2 * megabyte + 9;
}

void TestPatchManagerFaults::aFullDiskLeavesTheOldFileWhole()
{
    QFETCH(const int, size);
    QFETCH(const int, limit);
    const QByteArray body(size, 'x');
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}, {QStringLiteral("b"), {}}});
    server->answer("/a", HttpAnswer::withLength(body));
    Disk::write(clientPath(QStringLiteral("a")), "old");
    {
        const Disk::SizeLimit full{rlim_t(limit)};
        QVERIFY(runToEnd());
    }
    QCOMPARE(log->last(),
             QStringLiteral("finished false Falha ao salvar ") + clientPath(QStringLiteral("a")));
    expectNothingStored("old");
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));

    // What just fits is stored.
    publishText(R"({"files":[{"path":"a"}]})"); // without a version no settings are written
    {
        const Disk::SizeLimit enough{rlim_t(size)};
        QVERIFY(runToEnd());
    }
    QCOMPARE(log->last(), completeEnd());
    QCOMPARE(clientFile(QStringLiteral("a")), body);
}

void TestPatchManagerFaults::aFullFileSystemLeavesTheOldFileWhole_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("isFilled");
    QTest::newRow("tiny, no block left") << 5 << true;
    QTest::newRow("large, no block left") << megabyte << true;
    QTest::newRow("large, half fits") << megabyte << false;
}

void TestPatchManagerFaults::aFullFileSystemLeavesTheOldFileWhole()
{
    QFETCH(const int, size);
    QFETCH(const bool, isFilled);
    const QByteArray point = QFile::encodeName(clientPath({}));
    if (!enterOwnMountNamespace() ||
        mount("none", point.constData(), "tmpfs", 0, "size=512k") != 0) {
        QSKIP("mounts need root");
    }
    const auto unmount = qScopeGuard([&] { umount2(point.constData(), MNT_DETACH); });
    Disk::write(clientPath(QStringLiteral("a")), "old");
    if (isFilled) {
        QFile filler(root->filePath(QStringLiteral("client/filler")));
        QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (filler.write(QByteArray(4096, 'f')) == 4096) {
        }
    }
    const QStringList before = clientTree();
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength(QByteArray(size, 'x')));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(),
             QStringLiteral("finished false Falha ao salvar ") + clientPath(QStringLiteral("a")));
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("old"));
    QCOMPARE(clientTree(), before);
    QCOMPARE(savedVersion(), QStringLiteral("1.0.0"));
}

void TestPatchManagerFaults::aNameTooLongIsNamed()
{
    const QString name(256, u'n');
    publish(QStringLiteral("2"), {{name, QStringLiteral("a")}});
    server->answer("/a", HttpAnswer::withLength("content"));
    QVERIFY(runToEnd());
    // Where files can be written before they have a name, only the commit fails.
    const QStringList either = {
        QStringLiteral("finished false Nao foi possivel gravar ") + clientPath(name),
        QStringLiteral("finished false Falha ao salvar ") + clientPath(name)};
    QVERIFY2(either.contains(log->last()), qPrintable(log->last()));
    QVERIFY(clientTree().isEmpty());
}

void TestPatchManagerFaults::aTargetThatCannotBeReplacedIsNamed()
{
    // A file that is a mount point can be opened but not replaced.
    Disk::write(clientPath(QStringLiteral("a")), "old");
    const QByteArray point = QFile::encodeName(clientPath(QStringLiteral("a")));
    if (!enterOwnMountNamespace() ||
        mount(point.constData(), point.constData(), nullptr, MS_BIND, nullptr) != 0) {
        QSKIP("mounts need root");
    }
    const auto unmount = qScopeGuard([&] { umount2(point.constData(), MNT_DETACH); });
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("content of a"));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(),
             QStringLiteral("finished false Falha ao salvar ") + clientPath(QStringLiteral("a")));
    expectNothingStored("old");
}

ZEL_TEST_MAIN(TestPatchManagerFaults)

#include "tst_patchmanager_faults.moc"
