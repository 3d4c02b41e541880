#include "PatchTest.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QUrl>

#include "settings/LauncherSettings.h"
#include "support/OwnMethods.h"

/// Runs without faults: from the base URL to the stored version.
class TestPatchManager : public PatchTest
{
    Q_OBJECT

private slots:
    void hasThreeSignalsAndNoSlots();
    void startsEmptyWithOneNetworkManagerOfItsOwn();
    void anEntryStartsEmpty();

    void anEmptyBaseUrlCountsAsSuccessOnPurpose_data();
    void anEmptyBaseUrlCountsAsSuccessOnPurpose();
    void anInvalidBaseUrlEndsTheRunBeforeTheCallReturns_data();
    void anInvalidBaseUrlEndsTheRunBeforeTheCallReturns();
    void aBaseUrlWithoutASchemeFailsWithQtsText_data();
    void aBaseUrlWithoutASchemeFailsWithQtsText();
    void theManifestIsFetchedBesideTheFiles_data();
    void theManifestIsFetchedBesideTheFiles();
    void requestsArePlain();
    void aLocalFolderCanBeTheServer();

    void aManifestThatIsNoObjectIsRejected_data();
    void aManifestThatIsNoObjectIsRejected();
    void theVersionDecidesWhenNothingIsListed_data();
    void theVersionDecidesWhenNothingIsListed();
    void listedFilesAreFetchedAgainForAnEqualVersionOnPurpose();
    void entriesWithoutAPathAreDropped();
    void duplicatesAreFetchedTwice();
    void unknownKeysAreIgnored();
    void sizeAndDigestAreNotComparedOnPurpose_data();
    void sizeAndDigestAreNotComparedOnPurpose();

    void anEntryIsFetchedFromItsUrl_data();
    void anEntryIsFetchedFromItsUrl();
    void anInvalidFileUrlNamesThePath();

    void stepsOfARunInOrder();
    void oneRequestAtATimeOnOneConnection();
    void theNextFileWaitsForTheOneBefore();
    void progressIsIntegerArithmetic_data();
    void progressIsIntegerArithmetic();
    void progressStopsAt99UntilTheEnd();
    void aBodyWithoutLengthGivesNoProgressUntilItsEnd();

    void bodiesAreStoredWhole_data();
    void bodiesAreStoredWhole();
    void missingFoldersAreCreated();
    void pathsAreUsedUnchanged_data();
    void pathsAreUsedUnchanged();
    void anAbsolutePathIgnoresTheClientFolder();
    void aRelativeClientFolderIsJoinedUnchanged();

    void theVersionIsSavedBeforeTheEnd();
    void anEmptyVersionIsNotSavedAfterADownloadOnPurpose();
    void aSecondRunStartsEmpty();
};

void TestPatchManager::hasThreeSignalsAndNoSlots()
{
    QCOMPARE(ownMethods(PatchManager::staticMetaObject),
             QStringList({u"signal statusChanged(QString) message"_s,
                          u"signal progressChanged(int) percent"_s,
                          u"signal finished(bool,QString) success,message"_s}));
}

void TestPatchManager::startsEmptyWithOneNetworkManagerOfItsOwn()
{
    QObject parent;
    const auto *owned = new PatchManager(&parent);
    QCOMPARE(owned->parent(), &parent);
    QVERIFY(owned->clientDir.isEmpty());
    QVERIFY(owned->baseUrl.isEmpty());
    QCOMPARE(owned->findChildren<QNetworkAccessManager *>().size(), 1);

    const QPointer<QNetworkAccessManager> network =
        manager->findChild<QNetworkAccessManager *>(QString(), Qt::FindDirectChildrenOnly);
    publishWhole({{u"a"_s, "a"}});
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(manager->findChild<QNetworkAccessManager *>(), network.data());
    QCOMPARE(network->transferTimeout(), 0);
    QCOMPARE(network->redirectPolicy(), QNetworkRequest::NoLessSafeRedirectPolicy);
}

void TestPatchManager::anEntryStartsEmpty()
{
    const PatchFileEntry entry;
    QVERIFY(entry.path.isEmpty() && entry.url.isEmpty() && entry.sha256.isEmpty());
    QCOMPARE(entry.size, qint64(0));
    const auto &[path, url, size, sha256] =
        PatchFileEntry{u"p"_s, u"u"_s, Q_INT64_C(5'000'000'000), u"s"_s};
    QCOMPARE(path + url + sha256, u"pus"_s);
    QCOMPARE(size, Q_INT64_C(5'000'000'000));
}

void TestPatchManager::anEmptyBaseUrlCountsAsSuccessOnPurpose_data()
{
    QTest::addColumn<QString>("baseUrl");
    QTest::newRow("empty") << QString();
    QTest::newRow("white space") << u" \t\r\n"_s;
    QTest::newRow("an ideographic space") << u"\u3000"_s;
}

void TestPatchManager::anEmptyBaseUrlCountsAsSuccessOnPurpose()
{
    QFETCH(const QString, baseUrl);
    manager->baseUrl = baseUrl;
    const QByteArray settings = settingsBytes();
    manager->checkAndUpdate();
    const QStringList expected = {u"progress 100"_s,
                                  u"finished true Atualizacao desativada (URL de patch vazia)."_s};
    QCOMPARE(log->lines(), expected);
    QVERIFY(settle());
    QCOMPARE(log->lines(), expected);
    QCOMPARE(server->totalConnections(), 0);
    QCOMPARE(settingsBytes(), settings);
}

void TestPatchManager::anInvalidBaseUrlEndsTheRunBeforeTheCallReturns_data()
{
    QTest::addColumn<QString>("baseUrl");
    QTest::newRow("open bracket") << u"http://[::1"_s;
    QTest::newRow("port out of range") << u"http://127.0.0.1:99999"_s;
    QTest::newRow("space in the host") << u"http://patch server/"_s;
    QTest::newRow("digits for a scheme") << u"127.0.0.1:8000/"_s;
}

void TestPatchManager::anInvalidBaseUrlEndsTheRunBeforeTheCallReturns()
{
    QFETCH(const QString, baseUrl);
    manager->baseUrl = baseUrl;
    manager->checkAndUpdate();
    const QStringList expected = start() + QStringList(u"finished false URL de patch invalida."_s);
    QCOMPARE(log->lines(), expected);
    QVERIFY(settle());
    QCOMPARE(log->lines(), expected);
    QCOMPARE(savedVersion(), u"1.0.0"_s);
}

void TestPatchManager::aBaseUrlWithoutASchemeFailsWithQtsText_data()
{
    QTest::addColumn<QString>("baseUrl");
    QTest::newRow("host") << u"patch.example"_s;
    QTest::newRow("host and port, taken for a scheme") << u"localhost:8000/"_s;
    QTest::newRow("unknown scheme") << u"patch://host"_s;
    QTest::newRow("path") << u"/srv/patch"_s;
}

void TestPatchManager::aBaseUrlWithoutASchemeFailsWithQtsText()
{
    QFETCH(const QString, baseUrl);
    manager->baseUrl = baseUrl;
    manager->checkAndUpdate();
    QCOMPARE(log->lines(), start());
    QVERIFY(waitForEnds(1));
    const QString text = libraryError(QUrl(QDir(baseUrl).filePath(u"manifest.json"_s)));
    QVERIFY(text.startsWith(u"Protocol "_s));
    QCOMPARE(log->lines(), start() + QStringList(manifestFailed(text)));
}

void TestPatchManager::theManifestIsFetchedBesideTheFiles_data()
{
    QTest::addColumn<QString>("afterHost");
    QTest::addColumn<QByteArray>("base");
    QTest::newRow("no slash") << u""_s << "/"_ba;
    QTest::newRow("slash") << u"/"_s << "/"_ba;
    QTest::newRow("folder") << u"/zel"_s << "/zel/"_ba;
    QTest::newRow("folder and slash") << u"/zel/"_s << "/zel/"_ba;
    QTest::newRow("white space after it") << u"/zel/ \n"_s << "/zel/"_ba;
    QTest::newRow("white space and no slash") << u"/zel\t"_s << "/zel/"_ba;
    QTest::newRow("two slashes are kept") << u"/zel//"_s << "/zel//"_ba;
    QTest::newRow("query, as text") << u"/get?f="_s << "/get?f=/"_ba;
    QTest::newRow("space inside, encoded by Qt") << u"/My Files"_s << "/My%20Files/"_ba;
    QTest::newRow("lone percent sign") << u"/100%"_s << "/100%25/"_ba;
}

void TestPatchManager::theManifestIsFetchedBesideTheFiles()
{
    QFETCH(const QString, afterHost);
    QFETCH(const QByteArray, base);
    const QString baseUrl = u"  \n"_s + server->url(afterHost);
    const QString clientDir = clientPath({}) + u"/./"_s;
    manager->baseUrl = baseUrl;
    manager->clientDir = clientDir;
    server->answer(base + "manifest.json", HttpAnswer::withLength(R"({"files":[{"path":"a"}]})"));
    server->answer(base + "a", HttpAnswer::withLength("content"));
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(server->paths(), QByteArrayList({base + "manifest.json", base + "a"}));
    QCOMPARE(manager->baseUrl, baseUrl); // the input fields are left untouched
    QCOMPARE(manager->clientDir, clientDir);
}

void TestPatchManager::requestsArePlain()
{
    publishWhole({{u"a"_s, "a"}});
    QCOMPARE(runToEnd(), complete());
    const QList<HttpRequest> requests = server->requests();
    QCOMPARE(requests.size(), 2);

    server->clearRecord();
    QVERIFY(serverError(u"/manifest.json"_s).isEmpty());
    QVERIFY(serverError(u"/a"_s).isEmpty());
    const QList<HttpRequest> plain = server->requests();
    QVERIFY(plain.first().head.startsWith("GET /manifest.json HTTP/1.1\r\n"));
    QCOMPARE(requests.first().head, plain.first().head);
    QCOMPARE(requests.last().head, plain.last().head);
}

void TestPatchManager::aLocalFolderCanBeTheServer()
{
    Disk::write(clientPath(u"manifest.json"_s),
                R"({"version":"2","files":[{"path":"b","url":"a"}]})");
    Disk::write(clientPath(u"a"_s), "local content");
    manager->baseUrl = QUrl::fromLocalFile(clientPath({})).toString();
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(clientFile(u"b"_s), "local content"_ba);
}

void TestPatchManager::aManifestThatIsNoObjectIsRejected_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::newRow("empty body") << ""_ba;
    QTest::newRow("array") << "[]"_ba;
    QTest::newRow("array of an object") << R"([{"version":"2"}])"_ba;
    QTest::newRow("text") << "manifest"_ba;
    QTest::newRow("string") << R"("manifest")"_ba;
    QTest::newRow("number") << "1"_ba;
    QTest::newRow("null") << "null"_ba;
    QTest::newRow("web page") << "<!DOCTYPE html><title>index</title>"_ba;
    QTest::newRow("object cut short") << R"({"version":"2","files":[{"path":"a")"_ba;
    QTest::newRow("two objects") << "{}{}"_ba;
    QTest::newRow("broken UTF-8") << "{\"version\":\"\xff\"}"_ba;
}

void TestPatchManager::aManifestThatIsNoObjectIsRejected()
{
    QFETCH(const QByteArray, manifest);
    publishText(manifest);
    const QByteArray settings = settingsBytes();
    QCOMPARE(runToEnd(), u"finished false manifest.json invalido."_s);
    QCOMPARE(log->lines(), start() + QStringList(log->last()));
    QCOMPARE(settingsBytes(), settings);
    QCOMPARE(server->requests().size(), 1);
}

void TestPatchManager::theVersionDecidesWhenNothingIsListed_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after"); // null: equal, nothing is stored
    const QString one = u"1.0.0"_s;
    const QString none = u""_s;
    const QString equal;
    QTest::newRow("equal") << R"({"version":"1.0.0"})"_ba << one << equal;
    QTest::newRow("equal, empty list") << R"({"files":[],"version":"1.0.0"})"_ba << one << equal;
    QTest::newRow("newer") << R"({"version":"1.0.1"})"_ba << one << u"1.0.1"_s;
    QTest::newRow("older") << R"({"version":"0.9"})"_ba << one << u"0.9"_s;
    QTest::newRow("other letter case") << R"({"version":"V1"})"_ba << u"v1"_s << u"V1"_s;
    QTest::newRow("space before it") << R"({"version":" 1.0.0"})"_ba << one << u" 1.0.0"_s;
    QTest::newRow("nothing at all, no version stored") << "{}"_ba << none << equal;
    QTest::newRow("nothing at all, an empty version is stored on purpose")
        << "{}"_ba << one << none;
    QTest::newRow("empty version") << R"({"version":""})"_ba << one << none;
    QTest::newRow("number for a version") << R"({"version":2})"_ba << one << none;
    QTest::newRow("null for a version, none stored") << R"({"version":null})"_ba << none << equal;
    QTest::newRow("object for the list")
        << R"({"version":"2","files":{"path":"a"}})"_ba << one << u"2"_s;
    QTest::newRow("string for the list") << R"({"version":"1.0.0","files":"a"})"_ba << one << equal;
    QTest::newRow("only entries without a path")
        << R"({"version":"2","files":[{},{"path":""},{"url":"a"},{"path":7},"a",null]})"_ba << one
        << u"2"_s;
    QTest::newRow("only entries without a path, equal")
        << R"({"version":"1.0.0","files":[{"path":""}]})"_ba << one << equal;
}

void TestPatchManager::theVersionDecidesWhenNothingIsListed()
{
    QFETCH(const QByteArray, manifest);
    QFETCH(const QString, before);
    QFETCH(const QString, after);
    publishText(manifest);
    LauncherSettings::instance().localVersion = before;
    const QByteArray settings = settingsBytes();
    QString savedAt100;
    log->onLine = [&](const QString &line) {
        if (line == u"progress 100"_s) {
            savedAt100 = savedVersion();
        }
    };
    QCOMPARE(runToEnd(), after.isNull()
                             ? u"finished true Cliente ja esta atualizado."_s
                             : u"finished true Versao verificada. Nenhum arquivo para baixar."_s);
    QCOMPARE(log->lines(), start() + QStringList({u"progress 100"_s, log->last()}));
    QCOMPARE(server->requests().size(), 1);
    if (after.isNull()) {
        QCOMPARE(LauncherSettings::instance().localVersion, before);
        QCOMPARE(settingsBytes(), settings);
    } else {
        QCOMPARE(LauncherSettings::instance().localVersion, after);
        QCOMPARE(savedAt100, after);
    }
}

void TestPatchManager::listedFilesAreFetchedAgainForAnEqualVersionOnPurpose()
{
    publish(u"1.0.0"_s, {{u"a"_s, {}}});
    server->answer("/a", HttpAnswer::withLength("new"));
    Disk::write(clientPath(u"a"_s), "old and longer");
    for (int run = 1; run <= 2; ++run) {
        QCOMPARE(runToEnd(), complete());
        QCOMPARE(server->paths().count("/a"), run);
        QCOMPARE(Disk::files(clientPath({})), Files({{u"a"_s, "new"}}));
    }
}

void TestPatchManager::entriesWithoutAPathAreDropped()
{
    publishText(R"({"version":"2","files":[{"path":"a"},{},{"path":""},7,{"url":"x"},"b",null,
                    {"path":["c"]},[],{"path":"d"},true,{"path":" "}]})");
    for (const char *path : {"/a", "/d", "/%20"}) {
        server->answer(path, HttpAnswer::withLength(""));
    }
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(log->linesOf(u"status"_s).mid(1),
             QStringList({u"status Baixando 3 arquivo(s)..."_s, u"status Baixando a (1/3)"_s,
                          u"status Baixando d (2/3)"_s, u"status Baixando   (3/3)"_s}));
}

void TestPatchManager::duplicatesAreFetchedTwice()
{
    publishWhole({{u"a"_s, "first"}, {u"b"_s, "b"}, {u"other"_s, "second"}});
    publish(u"2"_s, {{u"a"_s, {}}, {u"b"_s, {}}, {u"a"_s, u"other"_s}});
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a", "/b", "/other"}));
    QCOMPARE(clientFile(u"a"_s), "second"_ba);
}

void TestPatchManager::unknownKeysAreIgnored()
{
    publishText(R"({"base":"http://elsewhere/","version":"2","Files":[{"path":"x"}],
                    "files":[{"path":"a","Url":"x","delete":true,"PATH":"y"}]})");
    server->answer("/a", HttpAnswer::withLength("a"));
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));
    QCOMPARE(clientTree(), QStringList(u"a"_s));
}

void TestPatchManager::sizeAndDigestAreNotComparedOnPurpose_data()
{
    QTest::addColumn<QByteArray>("announced");
    QTest::newRow("smaller") << R"("size":1)"_ba;
    QTest::newRow("greater") << R"("size":5000000000)"_ba;
    QTest::newRow("negative") << R"("size":-1)"_ba;
    QTest::newRow("fraction") << R"("size":1.5)"_ba;
    QTest::newRow("text") << R"("size":"7")"_ba;
    QTest::newRow("wrong digest") << R"("size":7,"sha256":"00")"_ba;
    QTest::newRow("number for a digest") << R"("sha256":7)"_ba;
}

void TestPatchManager::sizeAndDigestAreNotComparedOnPurpose()
{
    QFETCH(const QByteArray, announced);
    publishText(R"({"version":"2","files":[{"path":"a",)" + announced + "}]}");
    server->answer("/a", HttpAnswer::withLength("content"));
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(clientFile(u"a"_s), "content"_ba);
}

void TestPatchManager::anEntryIsFetchedFromItsUrl_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QByteArray>("requested"); // after the base
    QTest::newRow("without url, its path") << R"("path":"x/y.bin")"_ba
                                           << "x/y.bin"_ba;
    QTest::newRow("number for a url, its path") << R"("path":"x/y.bin","url":7)"_ba
                                                << "x/y.bin"_ba;
    QTest::newRow("null for a url, its path") << R"("path":"x/y.bin","url":null)"_ba
                                              << "x/y.bin"_ba;
    QTest::newRow("its url") << R"("path":"x/y.bin","url":"z.bin")"_ba
                             << "z.bin"_ba;
    QTest::newRow("empty url, the base itself") << R"("path":"x/y.bin","url":"")"_ba
                                                << ""_ba;
    QTest::newRow("absolute URL, appended as text") << R"("path":"y","url":"http://elsewhere/z")"_ba
                                                    << "http://elsewhere/z"_ba;
    QTest::newRow("leading slash, appended as text") << R"("path":"y","url":"/z")"_ba
                                                     << "/z"_ba;
    QTest::newRow("query") << R"("path":"y","url":"get?file=y&v=2")"_ba
                           << "get?file=y&v=2"_ba;
    QTest::newRow("fragment is not sent") << R"("path":"y","url":"z#1")"_ba
                                          << "z"_ba;
    QTest::newRow("space, encoded by Qt") << R"("path":"My File.bin")"_ba
                                          << "My%20File.bin"_ba;
    QTest::newRow("encoded already, not encoded again")
        << R"("path":"y","url":"My%20File%2Bx.bin")"_ba
        << "My%20File%2Bx.bin"_ba;
    QTest::newRow("lone percent sign") << R"("path":"100%.bin")"_ba
                                       << "100%25.bin"_ba;
    QTest::newRow("accents") << "\"path\":\"\xc3\xa7\xc3\xa3o.bin\""_ba
                             << "%C3%A7%C3%A3o.bin"_ba;
    QTest::newRow("backslash") << R"("path":"data\\y.bin")"_ba
                               << "data%5Cy.bin"_ba;
}

void TestPatchManager::anEntryIsFetchedFromItsUrl()
{
    QFETCH(const QByteArray, entry);
    QFETCH(const QByteArray, requested);
    manager->baseUrl = server->url(u"/base"_s);
    server->answer("/base/manifest.json", HttpAnswer::withLength(R"({"files":[{)" + entry + "}]}"));
    server->answer("/base/" + requested, HttpAnswer::withLength("content"));
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(server->paths(), QByteArrayList({"/base/manifest.json", "/base/" + requested}));
}

void TestPatchManager::anInvalidFileUrlNamesThePath()
{
    publish(u"2"_s, {{u"a"_s, {}}, {u"data/b"_s, u"elsewhere"_s}, {u"c"_s, {}}});
    server->answer("/a", HttpAnswer::withLength(""));
    // No entry can make a valid base URL invalid, so change the base URL during the run.
    log->onLine = [this](const QString &line) {
        if (line == u"status Baixando data/b (2/3)"_s) {
            manager->baseUrl = u"http://[::1"_s;
        }
    };
    QCOMPARE(runToEnd(), u"finished false URL invalida para data/b"_s);
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));
    QCOMPARE(clientTree(), QStringList(u"a"_s));
    QCOMPARE(savedVersion(), u"1.0.0"_s);
}

void TestPatchManager::stepsOfARunInOrder()
{
    // Empty bodies emit no progress.
    publishWhole({{u"a"_s, ""}, {u"c"_s, ""}, {u"data/b.bin"_s, ""}});
    publish(u"2"_s, {{u"a"_s, {}}, {u"data/b.bin"_s, {}}, {u"c"_s, {}}});
    QCOMPARE(runToEnd(), complete());
    const QStringList expected = {
        u"status Verificando versao..."_s,
        u"progress 0"_s,
        u"status Baixando 3 arquivo(s)..."_s,
        u"progress 0"_s,
        u"status Baixando a (1/3)"_s,
        u"progress 33"_s,
        u"status Baixando data/b.bin (2/3)"_s,
        u"progress 66"_s,
        u"status Baixando c (3/3)"_s,
        u"progress 100"_s,
        u"finished true Atualizacao concluida."_s,
    };
    QCOMPARE(log->lines(), expected);
    QCOMPARE(clientTree(), QStringList({u"a"_s, u"c"_s, u"data"_s, u"data/b.bin"_s}));
}

void TestPatchManager::oneRequestAtATimeOnOneConnection()
{
    QList<Listed> files;
    QByteArrayList expected = {"/manifest.json"};
    for (int i = 0; i < 40; ++i) {
        const QString path = u"f%1"_s.arg(39 - i);
        files.append({path, {}});
        expected.append('/' + path.toUtf8());
        const QByteArray body(i * 1000, 'x');
        server->answer(expected.last(),
                       i % 2 == 0 ? HttpAnswer::withLength(body) : HttpAnswer::chunked(body));
    }
    publish(u"2"_s, files);
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(server->paths(), expected);
    QCOMPARE(server->mostInFlight(), 1);
    QCOMPARE(server->totalConnections(), 1);
}

void TestPatchManager::theNextFileWaitsForTheOneBefore()
{
    publishWhole({{u"a"_s, ""}, {u"b"_s, "b"}});
    server->answer("/a", HttpAnswer::withLength("0123456789").heldAt(9));
    QVERIFY(startAndHold(9));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));
    QVERIFY2(clientTree().isEmpty(), "stored before it was whole");
    server->resume();
    QVERIFY(waitForEnds(1));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a", "/b"}));
    QCOMPARE(log->last(), complete());
}

void TestPatchManager::progressIsIntegerArithmetic_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("index");
    QTest::addColumn<qint64>("received");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<int>("percent"); // -1: no signal
    const auto row = [](const char *name, int count, int index, qint64 received, qint64 total,
                        int percent) {
        QTest::newRow(name) << count << index << received << total << percent;
    };
    row("half of the second of three", 3, 1, 5, 10, 16 + 33);
    row("a third of one", 1, 0, 1, 3, 33);
    row("two thirds of the fourth of seven", 7, 3, 2, 3, 9 + 42);
    row("nearly all of the last", 3, 2, 999, 1000, 33 + 66);
    row("nothing of the second of three", 3, 1, 0, 10, 33);
    row("hardly anything", 2, 1, 1, 1000, 50);
    row("one percent below the limit", 1, 0, 98, 100, 98);
    row("all of one", 1, 0, 10, 10, 99);
    row("all of the last of two", 2, 1, 10, 10, 99);
    row("more than announced", 1, 0, 20, 10, 99);
    row("more files than percent", 150, 1, 9, 10, 0);
    row("a product of more than 32 bits", 1, 0, 30'000'000, 60'000'000, 50);
    row("sizes of more than 32 bits", 2, 0, 15'000'000'000, 20'000'000'000, 37);
    row("one byte", 2, 1, 0, 1, 50);
    row("no bytes", 2, 1, 0, 0, -1);
    row("unknown length", 2, 1, 10, -1, -1);
}

void TestPatchManager::progressIsIntegerArithmetic()
{
    QFETCH(const int, count);
    QFETCH(const int, index);
    QFETCH(const qint64, received);
    QFETCH(const qint64, total);
    QFETCH(const int, percent);
    QList<Listed> files;
    for (int i = 0; i < count; ++i) {
        files.append({u"f%1"_s.arg(i), i == index ? u"measured"_s : u"empty"_s});
    }
    publish(u"2"_s, files);
    server->answer("/empty", HttpAnswer::withLength(""));
    server->answer("/measured", HttpAnswer::withLength("").heldAt(HttpAnswer::beforeHeader));
    QVERIFY(startAndHold());
    const QString step = u"progress %1"_s.arg(index * 100 / count);
    const QStringList lines = {
        step, u"status Baixando f%1 (%2/%3)"_s.arg(
                  QString::number(index), QString::number(index + 1), QString::number(count))};
    QCOMPARE(log->lines().last(2), lines);
    log->clear();
    // Qt limits how often it reports progress, so the test emits it.
    emit reply()->downloadProgress(received, total);
    QCOMPARE(log->lines(),
             percent < 0 ? QStringList() : QStringList(u"progress %1"_s.arg(percent)));
    QCOMPARE(resumeToEnd(), complete());
}

void TestPatchManager::progressStopsAt99UntilTheEnd()
{
    publishWhole({{u"a"_s, "a"}, {u"b"_s, "b"}});
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(log->linesOnce(), wholeRun());
}

void TestPatchManager::aBodyWithoutLengthGivesNoProgressUntilItsEnd()
{
    publishWhole({{u"a"_s, ""}, {u"b"_s, ""}});
    const QByteArray body(200'000, 'x');
    server->answer("/a", HttpAnswer::chunked(body, body.size()).heldAt(100'000));
    server->answer("/b", HttpAnswer::withoutLength(body).heldAt(100'000));
    manager->checkAndUpdate();
    QTRY_VERIFY(server->heldAnswers() == 1 && reply()->bytesAvailable() > 0);
    QCOMPARE(log->last(), u"status Baixando a (1/2)"_s);
    server->resume();
    QTRY_COMPARE(log->last(), u"status Baixando b (2/2)"_s);
    QVERIFY(waitForHold(100'000));
    QCOMPARE(log->last(), u"status Baixando b (2/2)"_s);
    server->resume();
    QVERIFY(waitForEnds(1));
    // Qt does report progress at the end of a body.
    QCOMPARE(log->linesOnce(), wholeRun());
}

void TestPatchManager::bodiesAreStoredWhole_data()
{
    QByteArray body;
    quint32 state = 1;
    while (body.size() < 300'000) {
        state = state * 1664525 + 1013904223;
        body += char(state >> 24);
    }
    const QByteArray blank(300'000, '\0');
    QTest::addColumn<HttpAnswer>("answer");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("with length") << HttpAnswer::withLength(body) << body;
    QTest::newRow("without length") << HttpAnswer::withoutLength(body) << body;
    QTest::newRow("chunked") << HttpAnswer::chunked(body) << body;
    QTest::newRow("compressed") << HttpAnswer::gzipped(body) << body;
    QTest::newRow("compressed to much less") << HttpAnswer::gzipped(blank) << blank;
    QTest::newRow("compressed and chunked")
        << HttpAnswer::chunked(HttpAnswer::gzipped(blank).wireBody())
               .withHeader("Content-Encoding: gzip")
        << blank;
    QTest::newRow("compressed and grown") << HttpAnswer::gzipped("x") << "x"_ba;
    QTest::newRow("in small blocks")
        << HttpAnswer::withLength(body.first(2000)).inBlocks(100, 1) << body.first(2000);
    QTest::newRow("empty") << HttpAnswer::withLength("") << ""_ba;
    QTest::newRow("empty without length") << HttpAnswer::withoutLength("") << ""_ba;
    QTest::newRow("empty and chunked") << HttpAnswer::chunked("") << ""_ba;
    QTest::newRow("no content") << HttpAnswer::raw("HTTP/1.1 204 No Content\r\n", "") << ""_ba;
    QTest::newRow("chunked, with a length that does not count")
        << HttpAnswer::chunked(body).withHeader("Content-Length: 900000") << body;
    QTest::newRow("text with line ends")
        << HttpAnswer::withLength("a\r\nb\nc\x1a") << "a\r\nb\nc\x1a"_ba;
}

void TestPatchManager::bodiesAreStoredWhole()
{
    QFETCH(const HttpAnswer, answer);
    QFETCH(const QByteArray, body);
    publish(u"2"_s, {{u"direct"_s, {}}, {u"redirected"_s, {}}});
    server->answer("/direct", answer);
    server->answer("/redirected", HttpAnswer::redirect("/direct"));
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(clientFile(u"direct"_s), body);
    QCOMPARE(clientFile(u"redirected"_s), body);
    QCOMPARE(clientTree(), QStringList({u"direct"_s, u"redirected"_s}));
}

void TestPatchManager::missingFoldersAreCreated()
{
    QVERIFY(QDir(root->path()).rmdir(u"client"_s));
    publishWhole({{u"data/maps/one.map"_s, "map"}});
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(clientFile(u"data/maps/one.map"_s), "map"_ba);
}

void TestPatchManager::pathsAreUsedUnchanged_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("above the client folder") << u"../beside"_s;
    QTest::newRow("through a folder and back") << u"data/../a"_s;
    QTest::newRow("backslash in a name") << u"data\\a"_s;
    QTest::newRow("spaces around the name") << u" a "_s;
    QTest::newRow("line end in the name") << u"a\nb"_s;
    QTest::newRow("accents") << u"informa\u00e7\u00e3o/\u5730\u56fe"_s;
    QTest::newRow("upper case") << u"DATA/A.BIN"_s;
    QTest::newRow("hidden") << u".a"_s;
    QTest::newRow("placeholders") << u"%2%3.bin"_s;
}

void TestPatchManager::pathsAreUsedUnchanged()
{
    QFETCH(const QString, path);
    publish(u"2"_s, {{path, u"a"_s}});
    server->answer("/a", HttpAnswer::withLength("content"));
    QVERIFY(QDir(clientPath({})).mkdir(u"data"_s));
    QCOMPARE(runToEnd(), complete());
    QVERIFY(log->lines().contains(u"status Baixando %1 (1/1)"_s.arg(path)));
    QCOMPARE(clientFile(path), "content"_ba);
}

void TestPatchManager::anAbsolutePathIgnoresTheClientFolder()
{
    const QString path = root->filePath(u"elsewhere/a"_s);
    publish(u"2"_s, {{path, u"a"_s}});
    server->answer("/a", HttpAnswer::withLength("content"));
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(clientFile(path), "content"_ba);
    QVERIFY(clientTree().isEmpty());
}

void TestPatchManager::aRelativeClientFolderIsJoinedUnchanged()
{
    const Disk::WorkingFolder inRoot(root->path());
    publishWhole({{u"a"_s, "content"}});
    manager->clientDir = u"client"_s;
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(clientFile(u"a"_s), "content"_ba);
    manager->clientDir.clear();
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(clientFile(root->filePath(u"a"_s)), "content"_ba);
}

void TestPatchManager::theVersionIsSavedBeforeTheEnd()
{
    publish(u" 2.0 beta"_s, {{u"a"_s, {}}});
    server->answer("/a", HttpAnswer::withLength(""));
    QString savedAtTheEnd;
    log->onLine = [&](const QString &line) {
        if (line == u"status Baixando a (1/1)"_s) {
            QCOMPARE(savedVersion(), u"1.0.0"_s);
        } else if (line == u"progress 100"_s) {
            savedAtTheEnd = savedVersion();
        }
    };
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(savedAtTheEnd, u" 2.0 beta"_s);
    QCOMPARE(LauncherSettings::instance().localVersion, u" 2.0 beta"_s);
}

void TestPatchManager::anEmptyVersionIsNotSavedAfterADownloadOnPurpose()
{
    publishText(R"({"files":[{"path":"a"}]})");
    server->answer("/a", HttpAnswer::withLength("a"));
    const QByteArray settings = settingsBytes();
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(LauncherSettings::instance().localVersion, u"1.0.0"_s);
    QCOMPARE(settingsBytes(), settings);
}

void TestPatchManager::aSecondRunStartsEmpty()
{
    publishWhole({{u"a"_s, ""}, {u"b"_s, ""}});
    QCOMPARE(runToEnd(), complete());
    const QStringList first = log->lines();
    QCOMPARE(first.at(2), u"status Baixando 2 arquivo(s)..."_s);
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(log->lines(), first);

    publishText("{}");
    LauncherSettings::instance().localVersion.clear();
    QCOMPARE(runToEnd(), u"finished true Cliente ja esta atualizado."_s);
}

ZEL_TEST_MAIN(TestPatchManager)

#include "tst_patchmanager.moc"
