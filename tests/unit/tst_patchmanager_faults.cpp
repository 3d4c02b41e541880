#include "PatchTest.h"
#include "support/process/Child.h"
#include "support/process/OwnMounts.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTimer>

#include "settings/LauncherSettings.h"
#include "support/Timeouts.h"

namespace
{

constexpr int megabyte = 1024 * 1024;

/// 500 kB of text that does not compress well.
QByteArray severalBlocks()
{
    QByteArray text;
    while (text.size() < 500'000) {
        text += QByteArray::number(text.size() * 7919);
    }
    return text;
}

/// Peak memory of this process in bytes.
qint64 peakMemory()
{
    const QByteArrayList lines = Disk::read(u"/proc/self/status"_s).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:")) {
            return line.simplified().split(' ').at(1).toLongLong() * 1024;
        }
    }
    return 0;
}

/// Runs an update with a base URL and a client folder. Returns its last message, the memory that it
/// took, and whether it left the files unchanged.
QByteArray updateAsChild(const QStringList &arguments)
{
    PatchManager manager;
    manager.baseUrl = arguments.at(0);
    manager.clientDir = arguments.at(1);
    QSignalSpy ends(&manager, &PatchManager::finished);
    const Files filesBefore = Disk::files(manager.clientDir);
    const qint64 memoryBefore = peakMemory();
    manager.checkAndUpdate();
    ends.wait(Timeouts::replyMs);
    const QJsonObject result{{u"message"_s, ends.value(0).value(1).toString()},
                             {u"memory"_s, peakMemory() - memoryBefore},
                             {u"unchanged"_s, Disk::files(manager.clientDir) == filesBefore}};
    return QJsonDocument(result).toJson();
}

} // namespace

/// Faults of the server, the network and the disk.
class TestPatchManagerFaults : public PatchTest
{
    Q_OBJECT

private slots:
    void aFailedTransferIsReportedWithQtsText_data();
    void aFailedTransferIsReportedWithQtsText();
    void aTruncatedBodyIsAClosedConnection_data();
    void aTruncatedBodyIsAClosedConnection();
    void anUnreachableServerIsReportedWithQtsText();
    void aStalledServerIsWaitedFor_data();
    void aStalledServerIsWaitedFor();
    void aFailedFileEndsTheRun();

    void aTruncatedFileIsNeverStored_data();
    void aTruncatedFileIsNeverStored();
    void aTruncatedManifestIsNeverUsed();
    void theLengthOfARedirectIsIgnored_data();
    void theLengthOfARedirectIsIgnored();
    void aTruncatedBodyWithoutLengthIsDetectedByQtOnly_data();
    void aTruncatedBodyWithoutLengthIsDetectedByQtOnly();

    void aManifestOfManyEntriesIsProcessed();
    void aManifestOfWhiteSpaceTakesBoundedMemory_data();
    void aManifestOfWhiteSpaceTakesBoundedMemory();

    void aTargetThatCannotBeOpenedIsNamed_data();
    void aTargetThatCannotBeOpenedIsNamed();
    void aFolderRemovedDuringARunIsCreatedAgain();
    void aFolderReplacedByAFileDuringARunIsNamed();
    void aTargetThatBecomesAFolderDuringARunIsNamed();

    void aFullDiskLeavesTheOldFileWhole_data();
    void aFullDiskLeavesTheOldFileWhole();
    void aFullFileSystemLeavesTheOldFileWhole_data();
    void aFullFileSystemLeavesTheOldFileWhole();
    void aNameTooLongIsNamed();
    void aTargetThatCannotBeReplacedIsNamed();

private:
    const Files oldFile = {{u"a"_s, "old"}};

    void publishOldFile(const HttpAnswer &answer, const QString &url = u"a"_s);
    QString runWithSizeLimit(int bytes);
    QJsonObject updateInChild(const QString &mountScript = {}) const;
};

void TestPatchManagerFaults::aFailedTransferIsReportedWithQtsText_data()
{
    const HttpAnswer whole = HttpAnswer::withLength("content of a");
    QTest::addColumn<HttpAnswer>("answer");
    QTest::newRow("not found") << HttpAnswer::status("404 Not Found", "no such file");
    QTest::newRow("forbidden") << HttpAnswer::status("403 Forbidden");
    QTest::newRow("gone, with another reason phrase") << HttpAnswer::status("410 Moved Out");
    QTest::newRow("internal error") << HttpAnswer::status("500 Internal Server Error", "oops");
    QTest::newRow("unavailable") << HttpAnswer::status("503 Service Unavailable", "busy");
    QTest::newRow("authentication required")
        << HttpAnswer::status("401 Unauthorized").withHeader("WWW-Authenticate: Basic realm=\"x\"");
    QTest::newRow("closed without an answer") << whole.cutAt(HttpAnswer::beforeHeader);
    QTest::newRow("closed inside the header") << whole.cutAt(HttpAnswer::insideHeader);
    QTest::newRow("reset without an answer") << whole.resetAt(HttpAnswer::beforeHeader);
    QTest::newRow("reset inside the header") << whole.resetAt(HttpAnswer::insideHeader);
    QTest::newRow("not HTTP") << HttpAnswer::raw("SSH-2.0-OpenSSH_9.2\r\n", "").cutAt(0);
    QTest::newRow("broken compression") << whole.withHeader("Content-Encoding: gzip");
    QTest::newRow("redirect loop") << HttpAnswer::redirect("/manifest.json");
    QTest::newRow("redirect to nothing") << HttpAnswer::redirect("/nowhere");
    QTest::newRow("redirect to another protocol") << HttpAnswer::redirect("ftp://127.0.0.1/a");
}

void TestPatchManagerFaults::aFailedTransferIsReportedWithQtsText()
{
    QFETCH(const HttpAnswer, answer);
    server->answer("/manifest.json", answer);
    const QByteArray settings = settingsBytes();
    const QString manifestText = serverError(u"/manifest.json"_s);
    QVERIFY(!manifestText.isEmpty());
    QCOMPARE(runToEnd(), manifestFailed(manifestText));
    QCOMPARE(log->lines(), start() + QStringList(log->last()));

    server->answer("/data/a", answer);
    publish(u"2"_s, {{u"a"_s, u"data/a"_s}});
    if (QLatin1String(QTest::currentDataTag()) == u"redirect loop"_s) {
        server->answer("/data/a", HttpAnswer::redirect("/data/a"));
    }
    Disk::write(clientPath(u"a"_s), "old");
    const QString fileText = serverError(u"/data/a"_s);
    QVERIFY(!fileText.isEmpty());
    QCOMPARE(runToEnd(), fileFailed(u"a"_s, fileText));
    QCOMPARE(log->linesOf(u"status"_s).last(), u"status Baixando a (1/1)"_s);
    QCOMPARE(settingsBytes(), settings);
    expectRecovery(oldFile);
}

/// Creates the file "a" in the client folder and publishes a manifest that lists it with @p url,
/// for which the server sends @p answer.
void TestPatchManagerFaults::publishOldFile(const HttpAnswer &answer, const QString &url)
{
    publish(u"2"_s, {{u"a"_s, url}});
    server->answer("/a", answer);
    Disk::write(clientPath(u"a"_s), "old");
}

void TestPatchManagerFaults::aTruncatedBodyIsAClosedConnection_data()
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
            << HttpAnswer::raw("HTTP/1.1 200 OK\r\nContent-Length: "_ba + length + "\r\n",
                               QByteArray(megabyte, 'x'))
                   .cutAt(megabyte);
    }
}

void TestPatchManagerFaults::aTruncatedBodyIsAClosedConnection()
{
    // Qt reports some of these itself and treats the others as complete.
    QFETCH(const HttpAnswer, answer);
    QTimer resumer;
    connect(&resumer, &QTimer::timeout, this, [this] { server->resume(); });
    resumer.start(20);

    server->answer("/manifest.json", answer);
    QCOMPARE(runToEnd(), manifestFailed(closed()));
    publishOldFile(answer);
    QCOMPARE(runToEnd(), fileFailed(u"a"_s, closed()));
    static const QRegularExpression percentage(u"^progress [0-9]{1,2}$"_s);
    const QStringList progress = log->linesOf(u"progress"_s);
    QCOMPARE(progress.filter(percentage), progress);
    expectRecovery(oldFile);
}

void TestPatchManagerFaults::anUnreachableServerIsReportedWithQtsText()
{
    QTcpServer port;
    QVERIFY(port.listen(QHostAddress::LocalHost));
    manager->baseUrl = u"http://127.0.0.1:%1/"_s.arg(port.serverPort());
    port.close();
    QCOMPARE(runToEnd(), manifestFailed(libraryError(QUrl(manager->baseUrl + u"manifest.json"_s))));
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
    publishOldFile(HttpAnswer::withLength("content, and a bit more").heldAt(position));
    QVERIFY(startAndHold(position));
    QCOMPARE(log->finishedCount(), 0);
    QCOMPARE(reply()->request().transferTimeout(), 0);
    QCOMPARE(resumeToEnd(), complete());
    QCOMPARE(clientFile(u"a"_s), "content, and a bit more"_ba);
}

void TestPatchManagerFaults::aFailedFileEndsTheRun()
{
    publishWhole({{u"a"_s, "content of a"}, {u"c"_s, "content of c"}});
    publish(u"2"_s, {{u"a"_s, {}}, {u"data/b"_s, u"b"_s}, {u"c"_s, {}}});
    const QByteArray settings = settingsBytes();
    QCOMPARE(runToEnd(), fileFailed(u"data/b"_s, serverError(u"/b"_s)));
    QVERIFY(!log->lines().contains(u"progress 100"_s));
    QVERIFY(!server->paths().contains("/c"));
    QCOMPARE(settingsBytes(), settings);
    expectRecovery({{u"a"_s, "content of a"}});
}

void TestPatchManagerFaults::aTruncatedFileIsNeverStored_data()
{
    // Qt treats most early closes in bodies of this size as the end.
    const HttpAnswer large = HttpAnswer::withLength(QByteArray(megabyte, 'x'));
    QTest::addColumn<HttpAnswer>("answer");
    QTest::addColumn<QString>("url");
    QTest::addColumn<int>("runs");
    QTest::newRow("small") << HttpAnswer::withLength("content of a").cutAt(3) << u"a"_s << 1;
    QTest::newRow("1 MiB") << large.cutAt(megabyte - 1000) << u"a"_s << 200;
    QTest::newRow("4 MiB")
        << HttpAnswer::withLength(QByteArray(4 * megabyte, 'x')).cutAt(4 * megabyte - 1000)
        << u"a"_s << 10;
    QTest::newRow("behind a redirect") << large.cutAt(megabyte - 1) << u"redirected"_s << 60;
    QTest::newRow("uncompressed, with an encoding line")
        << large.withHeader("Content-Encoding: identity").cutAt(megabyte - 1) << u"a"_s << 20;
}

void TestPatchManagerFaults::aTruncatedFileIsNeverStored()
{
    QFETCH(const HttpAnswer, answer);
    QFETCH(const QString, url);
    QFETCH(const int, runs);
    server->answer("/redirected", HttpAnswer::redirect("/a"));
    publishOldFile(answer, url);
    for (int i = 0; i < runs; ++i) {
        QCOMPARE(runToEnd(), fileFailed(u"a"_s, closed()));
        QCOMPARE(Disk::files(clientPath({})), oldFile);
        QCOMPARE(LauncherSettings::instance().localVersion, u"1.0.0"_s);
    }
    expectRecovery(oldFile);
}

void TestPatchManagerFaults::aTruncatedManifestIsNeverUsed()
{
    // Truncated, it is still a valid manifest.
    const QByteArray manifest = R"({"version":"2","files":[]})" + QByteArray(megabyte, ' ');
    server->answer("/manifest.json", HttpAnswer::withLength(manifest).cutAt(megabyte - 1));
    for (int i = 0; i < 20; ++i) {
        QCOMPARE(runToEnd(), manifestFailed(closed()));
        QCOMPARE(LauncherSettings::instance().localVersion, u"1.0.0"_s);
    }
    expectRecovery({});
}

void TestPatchManagerFaults::theLengthOfARedirectIsIgnored_data()
{
    QTest::addColumn<HttpAnswer>("answer");
    QTest::newRow("with length") << HttpAnswer::withLength("short");
    QTest::newRow("empty") << HttpAnswer::withLength("");
    QTest::newRow("without length") << HttpAnswer::withoutLength("short");
    QTest::newRow("chunked") << HttpAnswer::chunked("short");
    QTest::newRow("compressed") << HttpAnswer::gzipped("short");
    QTest::newRow("uncompressed, with an encoding line")
        << HttpAnswer::withLength("short").withHeader("Content-Encoding: identity");
}

void TestPatchManagerFaults::theLengthOfARedirectIsIgnored()
{
    // Qt leaves the header of the redirect on some of the replies. The redirect closes the
    // connection, because Qt 6.8 may lose the next request on the same connection.
    QFETCH(const HttpAnswer, answer);
    publish(u"2"_s, QList<Listed>(60, {u"a"_s, u"redirected"_s}));
    server->answer("/redirected", HttpAnswer::redirect("/a").withHeader("Connection: close"));
    server->answer("/a", answer);
    QCOMPARE(runToEnd(), complete());
}

void TestPatchManagerFaults::aTruncatedBodyWithoutLengthIsDetectedByQtOnly_data()
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

void TestPatchManagerFaults::aTruncatedBodyWithoutLengthIsDetectedByQtOnly()
{
    // Qt reports some of these early closes and treats the others as the end; the reply does not
    // show which. Therefore a patch server should send the length.
    QFETCH(const HttpAnswer, answer);
    for (int i = 0; i < 5; ++i) {
        publishOldFile(answer);
        publish(u"1.0.0"_s, {{u"a"_s, {}}});
        const QString end = runToEnd();
        const QByteArray left = clientFile(u"a"_s);
        if (end == complete()) {
            QVERIFY(severalBlocks().startsWith(left));
        } else {
            QCOMPARE(end, fileFailed(u"a"_s, closed()));
            QCOMPARE(left, "old"_ba);
        }
    }
    expectRecovery({{u"a"_s, clientFile(u"a"_s)}});
}

void TestPatchManagerFaults::aManifestOfManyEntriesIsProcessed()
{
    QByteArray listed;
    for (int i = 0; i < 100'000; ++i) {
        listed += R"(,{"path":"data/f)" + QByteArray::number(i) + R"("})";
    }
    publishText(R"({"version":"2","files":[)" + listed.sliced(1) + "]}");
    server->answer("/data/f0", HttpAnswer::withLength("first"));
    server->answer("/data/f1", HttpAnswer::withLength("second"));
    QCOMPARE(runToEnd(), fileFailed(u"data/f2"_s, serverError(u"/data/f2"_s)));
    QCOMPARE(log->linesOf(u"status"_s).mid(1),
             QStringList({u"status Baixando 100000 arquivo(s)..."_s,
                          u"status Baixando data/f0 (1/100000)"_s,
                          u"status Baixando data/f1 (2/100000)"_s,
                          u"status Baixando data/f2 (3/100000)"_s}));
    expectRecovery({{u"data/f0"_s, "first"}, {u"data/f1"_s, "second"}});
}

/// Runs updateAsChild() after the bash commands @p mountScript in a mount namespace.
QJsonObject TestPatchManagerFaults::updateInChild(const QString &mountScript) const
{
    Child child({server->url(), clientPath({})});
    child.mountFirst(mountScript);
    return QJsonDocument::fromJson(child.output()).object();
}

void TestPatchManagerFaults::aManifestOfWhiteSpaceTakesBoundedMemory_data()
{
    const QByteArray blanks(200 * megabyte, ' ');
    const QString invalid = u"manifest.json invalido."_s;
    QTest::addColumn<HttpAnswer>("answer");
    QTest::addColumn<QString>("message"); // null: Qt's
    QTest::newRow("nothing else") << HttpAnswer::withLength(blanks) << invalid;
    QTest::newRow("nothing else, chunked") << HttpAnswer::chunked(blanks, megabyte) << invalid;
    QTest::newRow("around an object")
        << HttpAnswer::withLength(R"({"version":)" + blanks + R"("1.0.0"})")
        << u"Cliente ja esta atualizado."_s;
    QTest::newRow("20 MiB, compressed")
        << HttpAnswer::gzipped(blanks.first(20 * megabyte)) << QString();
}

void TestPatchManagerFaults::aManifestOfWhiteSpaceTakesBoundedMemory()
{
    QFETCH(const HttpAnswer, answer);
    QFETCH(QString, message);
    server->answer("/manifest.json", answer);
    if (message.isNull()) {
        message = u"Nao foi possivel baixar manifest.json: "_s + serverError(u"/manifest.json"_s);
    }
    const QJsonObject result = updateInChild();
    QCOMPARE(result.value(u"message").toString(), message);
    // Twice the body, as received and in one piece, and what the sanitizer keeps of freed memory.
    QVERIFY(result.value(u"memory").toInteger() < 3 * 200 * megabyte);
    expectRecovery({});
}

void TestPatchManagerFaults::aTargetThatCannotBeOpenedIsNamed_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a folder") << u"folder"_s;
    QTest::newRow("a folder, with a slash") << u"folder/"_s;
    QTest::newRow("a new folder, with a slash") << u"new/"_s;
    QTest::newRow("the client folder") << u"."_s;
    QTest::newRow("the folder above") << u".."_s;
    QTest::newRow("the root") << u"/"_s;
    QTest::newRow("below a file") << u"file/a"_s;
    QTest::newRow("far below a file") << u"file/b/c/a"_s;
    QTest::newRow("null character in the name") << u"a"_s + QChar::Null;
    QTest::newRow("null character in the folder") << u"new"_s + QChar::Null + u"/a"_s;
    QTest::newRow("null character alone") << QString(QChar::Null);
}

void TestPatchManagerFaults::aTargetThatCannotBeOpenedIsNamed()
{
    QFETCH(const QString, path);
    QVERIFY(QDir(clientPath({})).mkdir(u"folder"_s));
    Disk::write(clientPath(u"file"_s), "a file");
    const QStringList before = clientTree();
    publish(u"2"_s, {{path, u"a"_s}, {u"b"_s, {}}});
    server->answer("/a", HttpAnswer::withLength("content"));
    const QByteArray settings = settingsBytes();
    QCOMPARE(runToEnd(), openFailed(path));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));
    QStringList after = clientTree();
    after.removeOne(u"new"_s); // its folder may be created
    QCOMPARE(after, before);
    QCOMPARE(settingsBytes(), settings);
    expectRecovery({{u"file"_s, "a file"}});
}

void TestPatchManagerFaults::aFolderRemovedDuringARunIsCreatedAgain()
{
    publish(u"2"_s, {{u"data/a"_s, u"a"_s}, {u"data/b"_s, u"b"_s}});
    server->answer("/a", HttpAnswer::withLength("content of a"));
    server->answer("/b", HttpAnswer::withLength("content of b").heldAt(2));
    QVERIFY(startAndHold());
    QVERIFY(QDir(clientPath({})).removeRecursively());
    QCOMPARE(resumeToEnd(), complete());
    QCOMPARE(clientTree(), QStringList({u"data"_s, u"data/b"_s}));
    server->answer("/b", HttpAnswer::withLength("content of b"));
    QCOMPARE(runToEnd(), complete());
}

void TestPatchManagerFaults::aFolderReplacedByAFileDuringARunIsNamed()
{
    publishOldFile(HttpAnswer::withLength("content of a").heldAt(2));
    QVERIFY(startAndHold());
    QVERIFY(QDir(clientPath({})).removeRecursively());
    QFile file(clientPath({}));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(resumeToEnd(), openFailed(u"a"_s));
    QCOMPARE(file.size(), 0);
    QVERIFY(file.remove());
    expectRecovery({});
}

void TestPatchManagerFaults::aTargetThatBecomesAFolderDuringARunIsNamed()
{
    publishOldFile(HttpAnswer::withLength("content of a").heldAt(2));
    QVERIFY(startAndHold());
    QVERIFY(QFile::remove(clientPath(u"a"_s)));
    QVERIFY(QDir(clientPath({})).mkpath(u"a/b"_s));
    QCOMPARE(resumeToEnd(), openFailed(u"a"_s));
    QCOMPARE(clientTree(), QStringList({u"a"_s, u"a/b"_s}));
    QVERIFY(QDir(clientPath(u"a"_s)).removeRecursively());
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

/// Like runToEnd(), with no file larger than @p bytes.
QString TestPatchManagerFaults::runWithSizeLimit(int bytes)
{
    const Disk::SizeLimit limit{rlim_t(bytes)};
    return runToEnd();
}

void TestPatchManagerFaults::aFullDiskLeavesTheOldFileWhole()
{
    QFETCH(const int, size);
    QFETCH(const int, limit);
    const QByteArray body(size, 'x');
    publishOldFile(HttpAnswer::withLength(body));
    publish(u"2"_s, {{u"a"_s, {}}, {u"b"_s, {}}});
    QCOMPARE(runWithSizeLimit(limit), commitFailed(u"a"_s));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));
    expectRecovery(oldFile);

    // A body that just fits is stored.
    publishOldFile(HttpAnswer::withLength(body));
    publishText(R"({"files":[{"path":"a"}]})"); // without a version no settings are written
    QCOMPARE(runWithSizeLimit(size), complete());
    QCOMPARE(clientFile(u"a"_s), body);
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
    NEEDS_OWN_MOUNTS();
    publishOldFile(HttpAnswer::withLength(QByteArray(size, 'x')));
    const QString fill = isFilled ? u"; cat /dev/zero >'%1/filler' 2>/dev/null || true"_s : u""_s;
    const QJsonObject result =
        updateInChild((u"mount -t tmpfs -o size=512k none '%1'; printf old >'%1/a'"_s + fill)
                          .arg(clientPath({})));
    QCOMPARE(u"finished false "_s + result[u"message"].toString(), commitFailed(u"a"_s));
    QVERIFY(result[u"unchanged"].toBool());
    expectRecovery(oldFile);
}

void TestPatchManagerFaults::aNameTooLongIsNamed()
{
    const QString name(256, u'n');
    publish(u"2"_s, {{name, u"a"_s}});
    server->answer("/a", HttpAnswer::withLength("content"));
    const QString end = runToEnd();
    // With O_TMPFILE only the commit fails.
    QVERIFY2(end == openFailed(name) || end == commitFailed(name), qPrintable(end));
    expectRecovery({});
}

void TestPatchManagerFaults::aTargetThatCannotBeReplacedIsNamed()
{
    // A file that is a mount point can be opened but not replaced.
    NEEDS_OWN_MOUNTS();
    publishOldFile(HttpAnswer::withLength("content of a"));
    const QJsonObject result = updateInChild(u"mount --bind '%1' '%1'"_s.arg(clientPath(u"a"_s)));
    QCOMPARE(u"finished false "_s + result[u"message"].toString(), commitFailed(u"a"_s));
    QVERIFY(result[u"unchanged"].toBool());
    expectRecovery(oldFile);
}

int main(int argc, char *argv[])
{
    return runTestWithChildren<TestPatchManagerFaults>(argc, argv, updateAsChild);
}

#include "tst_patchmanager_faults.moc"
