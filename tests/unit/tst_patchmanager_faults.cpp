#include "PatchTest.h"
#include "support/process/Child.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTcpServer>
#include <QTimer>

#include <cstdio>

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

/// The folder of the tests that are about one file.
Files oldFile()
{
    return {{QStringLiteral("a"), "old"}};
}

/// A text of 500 kB that does not compress to nothing.
QByteArray severalBlocks()
{
    QByteArray text;
    while (text.size() < 500'000) {
        text += QByteArray::number(text.size() * 7919);
    }
    return text;
}

/// What only root can do, and not everywhere: mounts that nobody else sees.
bool enterOwnMountNamespace()
{
    return geteuid() == 0 && unshare(CLONE_NEWNS) == 0 &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// The most memory that this process has used so far, in bytes.
qint64 peakMemory()
{
    const QByteArrayList lines = Disk::read(QStringLiteral("/proc/self/status")).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:")) {
            return line.simplified().split(' ').at(1).toLongLong() * 1024;
        }
    }
    return 0;
}

/// Runs an update from @p baseUrl: its last message, and how much memory it took.
QJsonObject updateInChild(const QString &baseUrl, const QString &clientDir)
{
    PatchManager manager;
    manager.baseUrl = baseUrl;
    manager.clientDir = clientDir;
    QString message;
    QEventLoop loop;
    QObject::connect(&manager, &PatchManager::finished, &loop,
                     [&](bool /*success*/, const QString &text) {
                         message = text;
                         loop.quit();
                     });
    const qint64 before = peakMemory();
    manager.checkAndUpdate();
    loop.exec();
    return {{QStringLiteral("message"), message},
            {QStringLiteral("memory"), peakMemory() - before}};
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
    void onlyTheLibraryCanTellACutBodyWithoutLength_data();
    void onlyTheLibraryCanTellACutBodyWithoutLength();

    void aLongManifestIsBegunAtOnce();
    void aManifestOfWhiteSpaceTakesBoundedMemory_data();
    void aManifestOfWhiteSpaceTakesBoundedMemory();

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
    QCOMPARE(settingsBytes(), settings);
    expectRecovery(oldFile());
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
    for (const char *length : {"4294967297", "5000000000", "9223372036854775807"}) {
        QTest::addRow("closed inside of %s bytes", length)
            << HttpAnswer::raw(QByteArray("HTTP/1.1 200 OK\r\nContent-Length: ") + length + "\r\n",
                               QByteArray(megabyte, 'x'))
                   .cutAt(megabyte);
    }
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
    static const QRegularExpression percentage(QStringLiteral("^progress [0-9]{1,2}$"));
    const QStringList progress = log->linesOf(QStringLiteral("progress"));
    QCOMPARE(progress.filter(percentage), progress);
    expectRecovery(oldFile());
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
    expectRecovery({});
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
    QCOMPARE(settingsBytes(), settings);
    expectRecovery({{QStringLiteral("a"), "content of a"}});
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
    expectRecovery(oldFile());
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
    expectRecovery(oldFile());
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
    expectRecovery({});
}

void TestPatchManagerFaults::anUncompressedBodyWithAnEncodingLineIsCheckedToo()
{
    publish(QStringLiteral("1.0.0"), {{QStringLiteral("a"), {}}});
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
    expectRecovery({{QStringLiteral("a"), QByteArray(megabyte, 'x')}});
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

void TestPatchManagerFaults::onlyTheLibraryCanTellACutBodyWithoutLength_data()
{
    const HttpAnswer zipped = HttpAnswer::gzipped(severalBlocks());
    QTest::addColumn<HttpAnswer>("answer");
    for (const int left : {1, 5, 10'000}) {
        for (const auto &[name, answer] :
             {std::pair("chunked", HttpAnswer::chunked(severalBlocks())),
              {"compressed", zipped},
              {"compressed and chunked",
               HttpAnswer::chunked(zipped.wireBody()).withHeader("Content-Encoding: gzip")}}) {
            QTest::addRow("%s, the last %d bytes missing", name, left)
                << answer.cutAt(answer.wireBody().size() - left);
        }
    }
}

void TestPatchManagerFaults::onlyTheLibraryCanTellACutBodyWithoutLength()
{
    // It does so sometimes, and leaves nothing to tell it by when it does not. That is why patches
    // belong on a server that says how long they are.
    QFETCH(const HttpAnswer, answer);
    publish(QStringLiteral("1.0.0"), {{QStringLiteral("a"), {}}});
    server->answer("/a", answer);
    for (int i = 0; i < 5; ++i) {
        Disk::write(clientPath(QStringLiteral("a")), "old");
        QVERIFY(runToEnd());
        const QByteArray left = clientFile(QStringLiteral("a"));
        if (log->last() == completeEnd()) {
            QVERIFY(severalBlocks().startsWith(left));
        } else {
            QCOMPARE(log->last(),
                     QStringLiteral("finished false Falha ao baixar a: Connection closed"));
            QCOMPARE(left, QByteArray("old"));
        }
    }
    expectRecovery({{QStringLiteral("a"), clientFile(QStringLiteral("a"))}});
}

void TestPatchManagerFaults::aLongManifestIsBegunAtOnce()
{
    QByteArray listed;
    for (int i = 0; i < 100'000; ++i) {
        listed += R"(,{"path":"data/f)" + QByteArray::number(i) + R"("})";
    }
    publishText(R"({"version":"2","files":[)" + listed.sliced(1) + "]}");
    server->answer("/data/f0", HttpAnswer::withLength("first"));
    server->answer("/data/f1", HttpAnswer::withLength("second"));
    QVERIFY(runToEnd());
    QCOMPARE(log->linesOf(QStringLiteral("status")),
             QStringList({QStringLiteral("status Verificando versao..."),
                          QStringLiteral("status Baixando 100000 arquivo(s)..."),
                          QStringLiteral("status Baixando data/f0 (1/100000)"),
                          QStringLiteral("status Baixando data/f1 (2/100000)"),
                          QStringLiteral("status Baixando data/f2 (3/100000)")}));
    QCOMPARE(log->last(), QStringLiteral("finished false Falha ao baixar data/f2: ") +
                              libraryError(QUrl(server->url(QStringLiteral("/data/f2")))));
    expectRecovery({{QStringLiteral("data/f0"), "first"}, {QStringLiteral("data/f1"), "second"}});
}

void TestPatchManagerFaults::aManifestOfWhiteSpaceTakesBoundedMemory_data()
{
    const QByteArray blanks(200 * megabyte, ' ');
    const QString invalid = QStringLiteral("manifest.json invalido.");
    QTest::addColumn<HttpAnswer>("answer");
    QTest::addColumn<QString>("message"); // null: the library's
    QTest::newRow("nothing else") << HttpAnswer::withLength(blanks) << invalid;
    QTest::newRow("nothing else, chunked") << HttpAnswer::chunked(blanks, megabyte) << invalid;
    QTest::newRow("around an object")
        << HttpAnswer::withLength(R"({"version":)" + blanks + R"("1.0.0"})")
        << QStringLiteral("Cliente ja esta atualizado.");
    QTest::newRow("20 MiB, compressed")
        << HttpAnswer::gzipped(blanks.first(20 * megabyte)) << QString();
}

void TestPatchManagerFaults::aManifestOfWhiteSpaceTakesBoundedMemory()
{
    QFETCH(const HttpAnswer, answer);
    QFETCH(QString, message);
    server->answer("/manifest.json", answer);
    if (message.isNull()) {
        message = QStringLiteral("Nao foi possivel baixar manifest.json: ") +
                  libraryError(QUrl(server->url(QStringLiteral("/manifest.json"))));
    }
    const QJsonObject result =
        QJsonDocument::fromJson(Child({server->url(), clientPath({})}).output()).object();
    QCOMPARE(result.value(u"message").toString(), message);
    // The body as it came, and in one piece; and what the sanitizer keeps of what was released.
    QVERIFY(result.value(u"memory").toInteger() < 3 * 200 * megabyte);
    expectRecovery({});
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
    QCOMPARE(settingsBytes(), settings);
    expectRecovery({{QStringLiteral("file"), "a file"}});
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
    server->answer("/b", HttpAnswer::withLength("content of b"));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), completeEnd());
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
    QVERIFY(file.remove());
    expectRecovery({});
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
    QVERIFY(QDir(clientPath(QStringLiteral("a"))).removeRecursively());
    expectRecovery({});
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
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));
    expectRecovery(oldFile());

    // What just fits is stored.
    server->answer("/a", HttpAnswer::withLength(body));
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
    const Files before = Disk::files(clientPath({}));
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength(QByteArray(size, 'x')));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(),
             QStringLiteral("finished false Falha ao salvar ") + clientPath(QStringLiteral("a")));
    QCOMPARE(Disk::files(clientPath({})), before);
    QFile::remove(clientPath(QStringLiteral("filler")));
    expectRecovery(oldFile());
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
    expectRecovery({});
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
    auto unmount = qScopeGuard([&] { umount2(point.constData(), MNT_DETACH); });
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("content of a"));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(),
             QStringLiteral("finished false Falha ao salvar ") + clientPath(QStringLiteral("a")));
    unmount.dismiss();
    QCOMPARE(umount(point.constData()), 0);
    expectRecovery(oldFile());
}

int main(int argc, char *argv[])
{
    if (argc == 4 && QByteArrayView(argv[1]) == "--child") {
        const QCoreApplication app(argc, argv);
        TestEnvironment::nameApplication();
        const QStringList arguments = QCoreApplication::arguments();
        const QByteArray result =
            QJsonDocument(updateInChild(arguments.at(2), arguments.at(3))).toJson();
        return std::fputs(result.constData(), stdout) < 0 ? 1 : 0;
    }
    const TestEnvironment environment;
    const QCoreApplication app(argc, argv);
    TestEnvironment::nameApplication();
    TestPatchManagerFaults test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_patchmanager_faults.moc"
