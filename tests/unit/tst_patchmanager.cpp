#include "PatchTest.h"

#include <QDir>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QUrl>

#include "settings/LauncherSettings.h"
#include "support/OwnMethods.h"

namespace
{

QString checking()
{
    return QStringLiteral("status Verificando versao...");
}

QString complete()
{
    return QStringLiteral("finished true Atualizacao concluida.");
}

} // namespace

/// A run that nothing disturbs: from the base URL to the stored version.
class TestPatchManager : public PatchTest
{
    Q_OBJECT

private slots:
    void hasThreeSignalsAndNoSlots();
    void beginsEmptyWithOneNetworkManagerOfItsOwn();
    void anEntryBeginsEmpty();

    void anEmptyBaseUrlCountsAsSuccessOnPurpose_data();
    void anEmptyBaseUrlCountsAsSuccessOnPurpose();
    void anInvalidBaseUrlEndsTheRunBeforeTheCallReturns_data();
    void anInvalidBaseUrlEndsTheRunBeforeTheCallReturns();
    void aBaseUrlWithoutASchemeFailsInTheLibrarysWords_data();
    void aBaseUrlWithoutASchemeFailsInTheLibrarysWords();
    void theManifestIsFetchedBesideTheFiles_data();
    void theManifestIsFetchedBesideTheFiles();
    void requestsAreThePlainOnesOfTheLibrary();
    void theInputFieldsStayAsTheyAre();
    void aLocalFolderServesAsWell();

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
    void aPathWithPlaceholdersIsShownAsItStands();

    void bodiesAreStoredWhole_data();
    void bodiesAreStoredWhole();
    void anExistingFileIsReplaced();
    void missingFoldersAreCreated();
    void pathsStayAsTheyStand_data();
    void pathsStayAsTheyStand();
    void anAbsolutePathStandsByItself();
    void aRelativeClientFolderIsJoinedAsItIs();

    void theVersionIsSavedBeforeTheEndIsTold();
    void anEmptyVersionIsNotSavedAfterADownloadOnPurpose();
    void aSecondRunStartsAnew();
};

void TestPatchManager::hasThreeSignalsAndNoSlots()
{
    QCOMPARE(ownMethods(PatchManager::staticMetaObject),
             QStringList({QStringLiteral("signal statusChanged(QString) message"),
                          QStringLiteral("signal progressChanged(int) percent"),
                          QStringLiteral("signal finished(bool,QString) success,message")}));
}

void TestPatchManager::beginsEmptyWithOneNetworkManagerOfItsOwn()
{
    QObject parent;
    const auto *owned = new PatchManager(&parent);
    QCOMPARE(owned->parent(), &parent);
    QVERIFY(owned->clientDir.isEmpty());
    QVERIFY(owned->baseUrl.isEmpty());
    QCOMPARE(owned->findChildren<QNetworkAccessManager *>().size(), 1);

    const QPointer<QNetworkAccessManager> network =
        manager->findChild<QNetworkAccessManager *>(QString(), Qt::FindDirectChildrenOnly);
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("a"));
    QVERIFY(runToEnd());
    QVERIFY(runToEnd());
    QCOMPARE(manager->findChild<QNetworkAccessManager *>(), network.data());
    QCOMPARE(network->transferTimeout(), 0);
    QCOMPARE(network->redirectPolicy(), QNetworkRequest::NoLessSafeRedirectPolicy);
    QVERIFY2(manager->findChildren<QNetworkReply *>().isEmpty(), "a reply was not released");
}

void TestPatchManager::anEntryBeginsEmpty()
{
    const PatchFileEntry entry;
    QVERIFY(entry.path.isEmpty());
    QVERIFY(entry.url.isEmpty());
    QCOMPARE(entry.size, qint64(0));
    QVERIFY(entry.sha256.isEmpty());
    const auto &[path, url, size, sha256] = PatchFileEntry{
        QStringLiteral("p"), QStringLiteral("u"), Q_INT64_C(5'000'000'000), QStringLiteral("s")};
    QCOMPARE(path + url + sha256, QStringLiteral("pus"));
    QCOMPARE(size, Q_INT64_C(5'000'000'000));
}

void TestPatchManager::anEmptyBaseUrlCountsAsSuccessOnPurpose_data()
{
    QTest::addColumn<QString>("baseUrl");
    QTest::newRow("empty") << QString();
    QTest::newRow("white space") << QStringLiteral(" \t\r\n");
    QTest::newRow("a wide blank") << QStringLiteral("\u3000");
}

void TestPatchManager::anEmptyBaseUrlCountsAsSuccessOnPurpose()
{
    QFETCH(const QString, baseUrl);
    manager->baseUrl = baseUrl;
    const QByteArray settings = settingsBytes();
    manager->checkAndUpdate();
    const QStringList expected = {
        QStringLiteral("progress 100"),
        QStringLiteral("finished true Atualizacao desativada (URL de patch vazia).")};
    QCOMPARE(log->lines(), expected);
    QVERIFY(settle());
    QCOMPARE(log->lines(), expected);
    QCOMPARE(server->totalConnections(), 0);
    QCOMPARE(settingsBytes(), settings);
}

void TestPatchManager::anInvalidBaseUrlEndsTheRunBeforeTheCallReturns_data()
{
    QTest::addColumn<QString>("baseUrl");
    QTest::newRow("open bracket") << QStringLiteral("http://[::1");
    QTest::newRow("port out of range") << QStringLiteral("http://127.0.0.1:99999");
    QTest::newRow("blank in the host") << QStringLiteral("http://patch server/");
    QTest::newRow("digits for a scheme") << QStringLiteral("127.0.0.1:8000/");
}

void TestPatchManager::anInvalidBaseUrlEndsTheRunBeforeTheCallReturns()
{
    QFETCH(const QString, baseUrl);
    manager->baseUrl = baseUrl;
    manager->checkAndUpdate();
    const QStringList expected = {checking(), QStringLiteral("progress 0"),
                                  QStringLiteral("finished false URL de patch invalida.")};
    QCOMPARE(log->lines(), expected);
    QVERIFY(settle());
    QCOMPARE(log->lines(), expected);
    QCOMPARE(savedVersion(), QStringLiteral("1.0.0"));
}

void TestPatchManager::aBaseUrlWithoutASchemeFailsInTheLibrarysWords_data()
{
    QTest::addColumn<QString>("baseUrl");
    QTest::newRow("host") << QStringLiteral("patch.example");
    QTest::newRow("host and port, taken for a scheme") << QStringLiteral("localhost:8000/");
    QTest::newRow("unknown scheme") << QStringLiteral("patch://host");
    QTest::newRow("path") << QStringLiteral("/srv/patch");
}

void TestPatchManager::aBaseUrlWithoutASchemeFailsInTheLibrarysWords()
{
    QFETCH(const QString, baseUrl);
    manager->baseUrl = baseUrl;
    manager->checkAndUpdate();
    QCOMPARE(log->lines(), QStringList({checking(), QStringLiteral("progress 0")}));
    QVERIFY(waitForEnds(1));
    const QUrl url(QDir(baseUrl).filePath(QStringLiteral("manifest.json")));
    QVERIFY(libraryError(url).startsWith(u"Protocol "));
    QCOMPARE(log->lines(),
             QStringList({checking(), QStringLiteral("progress 0"),
                          QStringLiteral("finished false Nao foi possivel baixar manifest.json: ") +
                              libraryError(url)}));
}

void TestPatchManager::theManifestIsFetchedBesideTheFiles_data()
{
    QTest::addColumn<QString>("afterHost");
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("no slash") << QString() << QByteArray("/manifest.json") << QByteArray("/a");
    QTest::newRow("slash") << QStringLiteral("/") << QByteArray("/manifest.json")
                           << QByteArray("/a");
    QTest::newRow("folder") << QStringLiteral("/zel") << QByteArray("/zel/manifest.json")
                            << QByteArray("/zel/a");
    QTest::newRow("folder and slash")
        << QStringLiteral("/zel/") << QByteArray("/zel/manifest.json") << QByteArray("/zel/a");
    QTest::newRow("white space after it")
        << QStringLiteral("/zel/ \n") << QByteArray("/zel/manifest.json") << QByteArray("/zel/a");
    QTest::newRow("white space and no slash")
        << QStringLiteral("/zel\t") << QByteArray("/zel/manifest.json") << QByteArray("/zel/a");
    QTest::newRow("two slashes stay")
        << QStringLiteral("/zel//") << QByteArray("/zel//manifest.json") << QByteArray("/zel//a");
    QTest::newRow("query, as text")
        << QStringLiteral("/get?f=") << QByteArray("/get?f=/manifest.json")
        << QByteArray("/get?f=/a");
}

void TestPatchManager::theManifestIsFetchedBesideTheFiles()
{
    QFETCH(const QString, afterHost);
    QFETCH(const QByteArray, manifest);
    QFETCH(const QByteArray, file);
    manager->baseUrl = QStringLiteral("  \n") + server->url(afterHost);
    server->answer(manifest, HttpAnswer::withLength(R"({"files":[{"path":"a"}]})"));
    server->answer(file, HttpAnswer::withLength("content"));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QCOMPARE(server->paths(), QByteArrayList({manifest, file}));
}

void TestPatchManager::requestsAreThePlainOnesOfTheLibrary()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("a"));
    QVERIFY(runToEnd());
    const QList<HttpRequest> requests = server->requests();
    QCOMPARE(requests.size(), 2);

    server->clearRecord();
    QVERIFY(libraryError(QUrl(server->url(QStringLiteral("/manifest.json")))).isEmpty());
    QVERIFY(libraryError(QUrl(server->url(QStringLiteral("/a")))).isEmpty());
    const QList<HttpRequest> plain = server->requests();
    QVERIFY(plain.first().head.startsWith("GET /manifest.json HTTP/1.1\r\n"));
    QCOMPARE(requests.first().head, plain.first().head);
    QCOMPARE(requests.last().head, plain.last().head);
}

void TestPatchManager::theInputFieldsStayAsTheyAre()
{
    publish(QStringLiteral("2"), {});
    const QString baseUrl = QLatin1Char(' ') + server->url() + QLatin1Char('\n');
    const QString clientDir = clientPath({}) + QStringLiteral("/./");
    manager->baseUrl = baseUrl;
    manager->clientDir = clientDir;
    QVERIFY(runToEnd());
    QCOMPARE(manager->baseUrl, baseUrl);
    QCOMPARE(manager->clientDir, clientDir);
}

void TestPatchManager::aLocalFolderServesAsWell()
{
    Disk::write(clientPath(QStringLiteral("manifest.json")),
                R"({"version":"2","files":[{"path":"b","url":"a"}]})");
    Disk::write(clientPath(QStringLiteral("a")), "local content");
    manager->baseUrl = QUrl::fromLocalFile(clientPath({})).toString();
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QCOMPARE(clientFile(QStringLiteral("b")), QByteArray("local content"));
}

void TestPatchManager::aManifestThatIsNoObjectIsRejected_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::newRow("empty body") << QByteArray();
    QTest::newRow("array") << QByteArray("[]");
    QTest::newRow("array of an object") << QByteArray(R"([{"version":"2"}])");
    QTest::newRow("text") << QByteArray("manifest");
    QTest::newRow("string") << QByteArray(R"("manifest")");
    QTest::newRow("number") << QByteArray("1");
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("web page") << QByteArray("<!DOCTYPE html><title>index</title>");
    QTest::newRow("object cut short") << QByteArray(R"({"version":"2","files":[{"path":"a")");
    QTest::newRow("two objects") << QByteArray("{}{}");
    QTest::newRow("broken UTF-8") << QByteArray("{\"version\":\"\xff\"}");
}

void TestPatchManager::aManifestThatIsNoObjectIsRejected()
{
    QFETCH(const QByteArray, manifest);
    publishText(manifest);
    const QByteArray settings = settingsBytes();
    QVERIFY(runToEnd());
    QCOMPARE(log->lines(), QStringList({checking(), QStringLiteral("progress 0"),
                                        QStringLiteral("finished false manifest.json invalido.")}));
    QCOMPARE(settingsBytes(), settings);
    QCOMPARE(server->requests().size(), 1);
}

void TestPatchManager::theVersionDecidesWhenNothingIsListed_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after"); // null: equal, nothing is stored
    const QString one = QStringLiteral("1.0.0");
    const QString none = QStringLiteral("");
    QTest::newRow("equal") << QByteArray(R"({"version":"1.0.0"})") << one << QString();
    QTest::newRow("equal, empty list")
        << QByteArray(R"({"files":[],"version":"1.0.0"})") << one << QString();
    QTest::newRow("newer") << QByteArray(R"({"version":"1.0.1"})") << one
                           << QStringLiteral("1.0.1");
    QTest::newRow("older") << QByteArray(R"({"version":"0.9"})") << one << QStringLiteral("0.9");
    QTest::newRow("other letter case")
        << QByteArray(R"({"version":"V1"})") << QStringLiteral("v1") << QStringLiteral("V1");
    QTest::newRow("blank before it")
        << QByteArray(R"({"version":" 1.0.0"})") << one << QStringLiteral(" 1.0.0");
    QTest::newRow("nothing at all, no version stored") << QByteArray("{}") << none << QString();
    QTest::newRow("nothing at all, an empty version is stored on purpose")
        << QByteArray("{}") << one << none;
    QTest::newRow("empty version") << QByteArray(R"({"version":""})") << one << none;
    QTest::newRow("number for a version") << QByteArray(R"({"version":2})") << one << none;
    QTest::newRow("null for a version, none stored")
        << QByteArray(R"({"version":null})") << none << QString();
    QTest::newRow("object for the list")
        << QByteArray(R"({"version":"2","files":{"path":"a"}})") << one << QStringLiteral("2");
    QTest::newRow("string for the list")
        << QByteArray(R"({"version":"1.0.0","files":"a"})") << one << QString();
    QTest::newRow("only entries without a path")
        << QByteArray(R"({"version":"2","files":[{},{"path":""},{"url":"a"},{"path":7},"a",null]})")
        << one << QStringLiteral("2");
    QTest::newRow("only entries without a path, equal")
        << QByteArray(R"({"version":"1.0.0","files":[{"path":""}]})") << one << QString();
}

void TestPatchManager::theVersionDecidesWhenNothingIsListed()
{
    QFETCH(const QByteArray, manifest);
    QFETCH(const QString, before);
    QFETCH(const QString, after);
    publishText(manifest);
    LauncherSettings::instance().localVersion = before;
    const QByteArray settings = settingsBytes();
    QVERIFY(runToEnd());
    const QString message =
        after.isNull() ? QStringLiteral("finished true Cliente ja esta atualizado.")
                       : QStringLiteral("finished true Versao verificada. Nenhum arquivo para "
                                        "baixar.");
    QCOMPARE(log->lines(), QStringList({checking(), QStringLiteral("progress 0"),
                                        QStringLiteral("progress 100"), message}));
    QCOMPARE(server->requests().size(), 1);
    if (after.isNull()) {
        QCOMPARE(LauncherSettings::instance().localVersion, before);
        QCOMPARE(settingsBytes(), settings);
    } else {
        QCOMPARE(LauncherSettings::instance().localVersion, after);
        QCOMPARE(savedVersion(), after);
    }
}

void TestPatchManager::listedFilesAreFetchedAgainForAnEqualVersionOnPurpose()
{
    publish(QStringLiteral("1.0.0"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("new"));
    Disk::write(clientPath(QStringLiteral("a")), "new");
    for (int run = 1; run <= 2; ++run) {
        QVERIFY(runToEnd());
        QCOMPARE(log->last(), complete());
        QCOMPARE(server->paths().count("/a"), run);
    }
}

void TestPatchManager::entriesWithoutAPathAreDropped()
{
    publishText(R"({"version":"2","files":[{"path":"a"},{},{"path":""},7,{"url":"x"},"b",null,
                    {"path":["c"]},[],{"path":"d"},true,{"path":" "}]})");
    for (const char *path : {"/a", "/d", "/%20"}) {
        server->answer(path, HttpAnswer::withLength(""));
    }
    QVERIFY(runToEnd());
    const QStringList statuses = log->linesOf(QStringLiteral("status"));
    QCOMPARE(statuses.value(1), QStringLiteral("status Baixando 3 arquivo(s)..."));
    QCOMPARE(statuses.value(2), QStringLiteral("status Baixando a (1/3)"));
    QCOMPARE(statuses.value(3), QStringLiteral("status Baixando d (2/3)"));
    QCOMPARE(statuses.value(4), QStringLiteral("status Baixando   (3/3)"));
    QCOMPARE(log->last(), complete());
}

void TestPatchManager::duplicatesAreFetchedTwice()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}},
                                  {QStringLiteral("b"), {}},
                                  {QStringLiteral("a"), QStringLiteral("other")}});
    server->answer("/a", HttpAnswer::withLength("first"));
    server->answer("/b", HttpAnswer::withLength("b"));
    server->answer("/other", HttpAnswer::withLength("second"));
    QVERIFY(runToEnd());
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a", "/b", "/other"}));
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("second"));
}

void TestPatchManager::unknownKeysAreIgnored()
{
    publishText(R"({"base":"http://elsewhere/","version":"2","Files":[{"path":"x"}],
                    "files":[{"path":"a","Url":"x","delete":true,"PATH":"y"}]})");
    server->answer("/a", HttpAnswer::withLength("a"));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));
    QCOMPARE(clientTree(), QStringList({QStringLiteral("a")}));
}

void TestPatchManager::sizeAndDigestAreNotComparedOnPurpose_data()
{
    QTest::addColumn<QByteArray>("announced");
    QTest::newRow("smaller") << QByteArray(R"("size":1)");
    QTest::newRow("greater") << QByteArray(R"("size":5000000000)");
    QTest::newRow("negative") << QByteArray(R"("size":-1)");
    QTest::newRow("fraction") << QByteArray(R"("size":1.5)");
    QTest::newRow("text") << QByteArray(R"("size":"7")");
    QTest::newRow("wrong digest") << QByteArray(R"("size":7,"sha256":"00")");
    QTest::newRow("number for a digest") << QByteArray(R"("sha256":7)");
}

void TestPatchManager::sizeAndDigestAreNotComparedOnPurpose()
{
    QFETCH(const QByteArray, announced);
    publishText(R"({"version":"2","files":[{"path":"a",)" + announced + "}]}");
    server->answer("/a", HttpAnswer::withLength("content"));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("content"));
}

void TestPatchManager::anEntryIsFetchedFromItsUrl_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QByteArray>("requested");
    QTest::newRow("without url, its path")
        << QByteArray(R"({"path":"x/y.bin"})") << QByteArray("/base/x/y.bin");
    QTest::newRow("number for a url, its path")
        << QByteArray(R"({"path":"x/y.bin","url":7})") << QByteArray("/base/x/y.bin");
    QTest::newRow("null for a url, its path")
        << QByteArray(R"({"path":"x/y.bin","url":null})") << QByteArray("/base/x/y.bin");
    QTest::newRow("its url") << QByteArray(R"({"path":"x/y.bin","url":"z.bin"})")
                             << QByteArray("/base/z.bin");
    QTest::newRow("empty url, the base itself")
        << QByteArray(R"({"path":"x/y.bin","url":""})") << QByteArray("/base/");
    QTest::newRow("address, appended as text all the same")
        << QByteArray(R"({"path":"y","url":"http://elsewhere/z"})")
        << QByteArray("/base/http://elsewhere/z");
    QTest::newRow("leading slash, appended as text")
        << QByteArray(R"({"path":"y","url":"/z"})") << QByteArray("/base//z");
    QTest::newRow("query") << QByteArray(R"({"path":"y","url":"get?file=y&v=2"})")
                           << QByteArray("/base/get?file=y&v=2");
    QTest::newRow("fragment stays here")
        << QByteArray(R"({"path":"y","url":"z#1"})") << QByteArray("/base/z");
    QTest::newRow("blank, encoded by the library")
        << QByteArray(R"({"path":"My File.bin"})") << QByteArray("/base/My%20File.bin");
    QTest::newRow("encoded already, not encoded again")
        << QByteArray(R"({"path":"y","url":"My%20File%2Bx.bin"})")
        << QByteArray("/base/My%20File%2Bx.bin");
    QTest::newRow("lone percent sign")
        << QByteArray(R"({"path":"100%.bin"})") << QByteArray("/base/100%25.bin");
    QTest::newRow("accents") << QByteArray("{\"path\":\"\xc3\xa7\xc3\xa3o.bin\"}")
                             << QByteArray("/base/%C3%A7%C3%A3o.bin");
    QTest::newRow("backslash") << QByteArray(R"({"path":"data\\y.bin"})")
                               << QByteArray("/base/data%5Cy.bin");
}

void TestPatchManager::anEntryIsFetchedFromItsUrl()
{
    QFETCH(const QByteArray, entry);
    QFETCH(const QByteArray, requested);
    manager->baseUrl = server->url(QStringLiteral("/base"));
    server->answer("/base/manifest.json", HttpAnswer::withLength("{\"files\":[" + entry + "]}"));
    server->answer(requested, HttpAnswer::withLength("content"));
    QVERIFY(runToEnd());
    QCOMPARE(server->paths(), QByteArrayList({"/base/manifest.json", requested}));
    QCOMPARE(log->last(), complete());
}

void TestPatchManager::anInvalidFileUrlNamesThePath()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}},
                                  {QStringLiteral("data/b"), QStringLiteral("elsewhere")},
                                  {QStringLiteral("c"), {}}});
    server->answer("/a", HttpAnswer::withLength(""));
    // Nothing in an entry can spoil a good base; a caller that changes it in mid-run can.
    log->onLine = [this](const QString &line) {
        if (line == QLatin1String("status Baixando data/b (2/3)")) {
            manager->baseUrl = QStringLiteral("http://[::1");
        }
    };
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished false URL invalida para data/b"));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a"}));
    QCOMPARE(clientTree(), QStringList({QStringLiteral("a")}));
    QCOMPARE(savedVersion(), QStringLiteral("1.0.0"));
}

void TestPatchManager::stepsOfARunInOrder()
{
    publish(
        QStringLiteral("2"),
        {{QStringLiteral("a"), {}}, {QStringLiteral("data/b.bin"), {}}, {QStringLiteral("c"), {}}});
    // Empty bodies have no progress of their own.
    for (const char *path : {"/a", "/data/b.bin", "/c"}) {
        server->answer(path, HttpAnswer::withLength(""));
    }
    QVERIFY(runToEnd());
    const QStringList expected = {
        checking(),
        QStringLiteral("progress 0"),
        QStringLiteral("status Baixando 3 arquivo(s)..."),
        QStringLiteral("progress 0"),
        QStringLiteral("status Baixando a (1/3)"),
        QStringLiteral("progress 33"),
        QStringLiteral("status Baixando data/b.bin (2/3)"),
        QStringLiteral("progress 66"),
        QStringLiteral("status Baixando c (3/3)"),
        QStringLiteral("progress 100"),
        complete(),
    };
    QCOMPARE(log->lines(), expected);
    QCOMPARE(clientTree(), QStringList({QStringLiteral("a"), QStringLiteral("c"),
                                        QStringLiteral("data"), QStringLiteral("data/b.bin")}));
}

void TestPatchManager::oneRequestAtATimeOnOneConnection()
{
    QList<Listed> files;
    QByteArrayList expected = {"/manifest.json"};
    for (int i = 0; i < 40; ++i) {
        const QString path = QStringLiteral("f%1").arg(39 - i);
        files.append({path, {}});
        expected.append('/' + path.toUtf8());
        const QByteArray body(i * 1000, 'x');
        server->answer(expected.last(),
                       i % 2 == 0 ? HttpAnswer::withLength(body) : HttpAnswer::chunked(body));
    }
    publish(QStringLiteral("2"), files);
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QCOMPARE(server->paths(), expected);
    QCOMPARE(server->mostInFlight(), 1);
    QCOMPARE(server->totalConnections(), 1);
}

void TestPatchManager::theNextFileWaitsForTheOneBefore()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}, {QStringLiteral("b"), {}}});
    server->answer("/a", HttpAnswer::withLength("0123456789").heldAt(9));
    server->answer("/b", HttpAnswer::withLength("b"));
    manager->checkAndUpdate();
    QVERIFY(waitForHold());
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
    QTest::addColumn<int>("received");
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("percent");
    QTest::newRow("half of the second of three") << 3 << 1 << 5 << 10 << 16 + 33;
    QTest::newRow("a third of one") << 1 << 0 << 1 << 3 << 33;
    QTest::newRow("two thirds of the fourth of seven") << 7 << 3 << 2 << 3 << 9 + 42;
    QTest::newRow("nearly all of the last") << 3 << 2 << 999 << 1000 << 33 + 66;
    QTest::newRow("nearly all of one") << 1 << 0 << 999 << 1000 << 99;
    QTest::newRow("hardly anything") << 2 << 1 << 1 << 1000 << 50;
    QTest::newRow("more files than percent") << 150 << 1 << 9 << 10 << 0;
}

void TestPatchManager::progressIsIntegerArithmetic()
{
    QFETCH(const int, count);
    QFETCH(const int, index);
    QFETCH(const int, received);
    QFETCH(const int, total);
    QFETCH(const int, percent);
    QList<Listed> files;
    for (int i = 0; i < count; ++i) {
        files.append({QStringLiteral("f%1").arg(i),
                      i == index ? QStringLiteral("measured") : QStringLiteral("empty")});
    }
    publish(QStringLiteral("2"), files);
    server->answer("/empty", HttpAnswer::withLength(""));
    // The library reports a body's progress at most every tenth of a second, so the last byte of
    // the received ones comes by itself, and late.
    server->answer(
        "/measured",
        HttpAnswer::withLength(QByteArray(total, 'x')).heldAt(received - 1).heldAt(received));
    manager->checkAndUpdate();
    QVERIFY(waitForHold());
    QTest::qWait(150);
    const QString status =
        QStringLiteral("status Baixando f%1 (%2/%3)")
            .arg(QString::number(index), QString::number(index + 1), QString::number(count));
    QVERIFY(log->lines().contains(status));
    QCOMPARE(log->lines().at(log->lines().indexOf(status) - 1),
             QStringLiteral("progress %1").arg(index * 100 / count));
    log->clear();
    server->resume();
    QTRY_VERIFY(!log->lines().isEmpty());
    QCOMPARE(log->lines(), QStringList(QStringLiteral("progress %1").arg(percent)));
    QVERIFY(waitForHold());
    server->resume();
    QVERIFY(waitForEnds(1));
    QCOMPARE(log->last(), complete());
}

void TestPatchManager::progressStopsAt99UntilTheEnd()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}, {QStringLiteral("b"), {}}});
    server->answer("/a", HttpAnswer::withLength("a"));
    server->answer("/b", HttpAnswer::withLength("b"));
    QVERIFY(runToEnd());
    const QStringList expected = {
        checking(),
        QStringLiteral("progress 0"),
        QStringLiteral("status Baixando 2 arquivo(s)..."),
        QStringLiteral("progress 0"),
        QStringLiteral("status Baixando a (1/2)"),
        QStringLiteral("progress 50"),
        QStringLiteral("status Baixando b (2/2)"),
        QStringLiteral("progress 99"),
        QStringLiteral("progress 100"),
        complete(),
    };
    QCOMPARE(log->linesOnce(), expected);
}

void TestPatchManager::aBodyWithoutLengthGivesNoProgressUntilItsEnd()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}, {QStringLiteral("b"), {}}});
    const QByteArray body(200'000, 'x');
    server->answer("/a", HttpAnswer::chunked(body).heldAt(100'000).heldAt(150'000));
    server->answer("/b", HttpAnswer::withoutLength(body).heldAt(100'000));
    manager->checkAndUpdate();
    QVERIFY(waitForHold());
    QTest::qWait(150); // longer than the library keeps progress back
    server->resume();
    QVERIFY(waitForHold());
    QTRY_COMPARE(server->heldAnswers(), 1);
    QCOMPARE(log->last(), QStringLiteral("status Baixando a (1/2)"));
    server->resume();
    QTRY_COMPARE(log->last(), QStringLiteral("status Baixando b (2/2)"));
    QVERIFY(waitForHold());
    QCOMPARE(log->last(), QStringLiteral("status Baixando b (2/2)"));
    server->resume();
    QVERIFY(waitForEnds(1));
    // At the end of a body the library tells its size after all.
    QCOMPARE(
        log->linesOnce().mid(3),
        QStringList({QStringLiteral("progress 0"), QStringLiteral("status Baixando a (1/2)"),
                     QStringLiteral("progress 50"), QStringLiteral("status Baixando b (2/2)"),
                     QStringLiteral("progress 99"), QStringLiteral("progress 100"), complete()}));
}

void TestPatchManager::aPathWithPlaceholdersIsShownAsItStands()
{
    publish(QStringLiteral("2"), {{QStringLiteral("%2%3.bin"), QStringLiteral("a")}});
    server->answer("/a", HttpAnswer::withLength("a"));
    QVERIFY(runToEnd());
    QVERIFY(log->lines().contains(QStringLiteral("status Baixando %2%3.bin (1/1)")));
    QCOMPARE(clientTree(), QStringList({QStringLiteral("%2%3.bin")}));
}

void TestPatchManager::bodiesAreStoredWhole_data()
{
    QByteArray body;
    quint32 state = 1;
    while (body.size() < 300'000) {
        state = state * 1664525 + 1013904223;
        body += char(state >> 24);
    }
    QTest::addColumn<HttpAnswer>("answer");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("with length") << HttpAnswer::withLength(body) << body;
    QTest::newRow("without length") << HttpAnswer::withoutLength(body) << body;
    QTest::newRow("chunked") << HttpAnswer::chunked(body) << body;
    QTest::newRow("compressed") << HttpAnswer::gzipped(body) << body;
    const QByteArray blank(300'000, '\0');
    QTest::newRow("compressed to much less") << HttpAnswer::gzipped(blank) << blank;
    QTest::newRow("compressed and chunked")
        << HttpAnswer::chunked(HttpAnswer::gzipped(blank).wireBody())
               .withHeader("Content-Encoding: gzip")
        << blank;
    QTest::newRow("compressed and grown")
        << HttpAnswer::gzipped(QByteArray("x")) << QByteArray("x");
    QTest::newRow("in small blocks")
        << HttpAnswer::withLength(body.left(2000)).inBlocks(100, 1) << body.left(2000);
    QTest::newRow("empty") << HttpAnswer::withLength("") << QByteArray();
    QTest::newRow("empty without length") << HttpAnswer::withoutLength("") << QByteArray();
    QTest::newRow("empty and chunked") << HttpAnswer::chunked("") << QByteArray();
    QTest::newRow("no content") << HttpAnswer::raw("HTTP/1.1 204 No Content\r\n", "")
                                << QByteArray();
    QTest::newRow("chunked, with a length that does not count")
        << HttpAnswer::chunked(body).withHeader("Content-Length: 900000") << body;
    QTest::newRow("text with line ends")
        << HttpAnswer::withLength("a\r\nb\nc\x1a") << QByteArray("a\r\nb\nc\x1a");
}

void TestPatchManager::bodiesAreStoredWhole()
{
    QFETCH(const HttpAnswer, answer);
    QFETCH(const QByteArray, body);
    publish(QStringLiteral("2"), {{QStringLiteral("direct"), {}}, {QStringLiteral("led"), {}}});
    server->answer("/direct", answer);
    server->answer("/led", HttpAnswer::redirect("/direct"));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QCOMPARE(clientFile(QStringLiteral("direct")), body);
    QCOMPARE(clientFile(QStringLiteral("led")), body);
    QCOMPARE(clientTree(), QStringList({QStringLiteral("direct"), QStringLiteral("led")}));
}

void TestPatchManager::anExistingFileIsReplaced()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("new"));
    Disk::write(clientPath(QStringLiteral("a")), "old and longer");
    QVERIFY(runToEnd());
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("new"));
    QCOMPARE(clientTree(), QStringList({QStringLiteral("a")}));
}

void TestPatchManager::missingFoldersAreCreated()
{
    QVERIFY(QDir(root->path()).rmdir(QStringLiteral("client")));
    publish(QStringLiteral("2"), {{QStringLiteral("data/maps/one.map"), {}}});
    server->answer("/data/maps/one.map", HttpAnswer::withLength("map"));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QCOMPARE(clientFile(QStringLiteral("data/maps/one.map")), QByteArray("map"));
}

void TestPatchManager::pathsStayAsTheyStand_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("above the client folder") << QStringLiteral("../beside");
    QTest::newRow("through a folder and back") << QStringLiteral("data/../a");
    QTest::newRow("backslash in a name") << QStringLiteral("data\\a");
    QTest::newRow("blanks around the name") << QStringLiteral(" a ");
    QTest::newRow("line end in the name") << QStringLiteral("a\nb");
    QTest::newRow("accents") << QStringLiteral("informa\u00e7\u00e3o/\u5730\u56fe");
    QTest::newRow("upper case") << QStringLiteral("DATA/A.BIN");
    QTest::newRow("hidden") << QStringLiteral(".a");
}

void TestPatchManager::pathsStayAsTheyStand()
{
    QFETCH(const QString, path);
    publish(QStringLiteral("2"), {{path, QStringLiteral("a")}});
    server->answer("/a", HttpAnswer::withLength("content"));
    QVERIFY(QDir(clientPath({})).mkdir(QStringLiteral("data")));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QVERIFY(log->lines().contains(QStringLiteral("status Baixando %1 (1/1)").arg(path)));
    QCOMPARE(clientFile(path), QByteArray("content"));
}

void TestPatchManager::anAbsolutePathStandsByItself()
{
    const QString path = root->filePath(QStringLiteral("elsewhere/a"));
    publish(QStringLiteral("2"), {{path, QStringLiteral("a")}});
    server->answer("/a", HttpAnswer::withLength("content"));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QCOMPARE(clientFile(path), QByteArray("content"));
    QVERIFY(clientTree().isEmpty());
}

void TestPatchManager::aRelativeClientFolderIsJoinedAsItIs()
{
    const Disk::WorkingFolder inRoot(root->path());
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength("content"));
    manager->clientDir = QStringLiteral("client");
    QVERIFY(runToEnd());
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("content"));
    manager->clientDir.clear();
    QVERIFY(runToEnd());
    QCOMPARE(clientFile(root->filePath(QStringLiteral("a"))), QByteArray("content"));
}

void TestPatchManager::theVersionIsSavedBeforeTheEndIsTold()
{
    publish(QStringLiteral(" 2.0 beta"), {{QStringLiteral("a"), {}}});
    server->answer("/a", HttpAnswer::withLength(""));
    QString savedAtTheEnd;
    log->onLine = [&](const QString &line) {
        if (line == QLatin1String("status Baixando a (1/1)")) {
            QCOMPARE(savedVersion(), QStringLiteral("1.0.0"));
        } else if (line == QLatin1String("progress 100")) {
            savedAtTheEnd = savedVersion();
        }
    };
    QVERIFY(runToEnd());
    QCOMPARE(savedAtTheEnd, QStringLiteral(" 2.0 beta"));
    QCOMPARE(LauncherSettings::instance().localVersion, QStringLiteral(" 2.0 beta"));
}

void TestPatchManager::anEmptyVersionIsNotSavedAfterADownloadOnPurpose()
{
    publishText(R"({"files":[{"path":"a"}]})");
    server->answer("/a", HttpAnswer::withLength("a"));
    const QByteArray settings = settingsBytes();
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), complete());
    QCOMPARE(LauncherSettings::instance().localVersion, QStringLiteral("1.0.0"));
    QCOMPARE(settingsBytes(), settings);
}

void TestPatchManager::aSecondRunStartsAnew()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}, {QStringLiteral("b"), {}}});
    server->answer("/a", HttpAnswer::withLength(""));
    server->answer("/b", HttpAnswer::withLength(""));
    QVERIFY(runToEnd());
    const QStringList first = log->lines();
    QVERIFY(runToEnd());
    QCOMPARE(log->lines(), first);
    QCOMPARE(log->lines().at(2), QStringLiteral("status Baixando 2 arquivo(s)..."));

    publishText("{}");
    LauncherSettings::instance().localVersion.clear();
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished true Cliente ja esta atualizado."));
}

ZEL_TEST_MAIN(TestPatchManager)

#include "tst_patchmanager.moc"
