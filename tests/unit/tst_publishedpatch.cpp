#include "support/TestMain.h"

#include <QCryptographicHash>

#include "support/network/HttpServer.h"
#include "zel-manifest/PublishedPatch.h"

using namespace Qt::StringLiterals;

class TestPublishedPatch : public TestBase
{
    Q_OBJECT

private slots:
    void aFetchedFileIsDigestedAsItArrives();
    void theManifestIsFetchedFromTheNormalizedBaseUrl();
    void aLengthThatIsNotTheBodysOwnIsNotExpected();
    void aTruncatedTransferIsAnError();
    void aStalledTransferTimesOut();
    void aFileThatCannotBeFetchedIsAnError();
    void onlyTheBeginningOfAFileIsTried();
    void aFileThatCannotBeFetchedCannotBeTried();
    void theAnswerIsRecorded();
    void anAnswerHasFaults_data();
    void anAnswerHasFaults();
    void anAnswerIsCacheable_data();
    void anAnswerIsCacheable();
    void anAnswerIsAWebPage();

private:
    HttpServer server;
    FileDigest digest;
    QString error;
};

void TestPublishedPatch::aFetchedFileIsDigestedAsItArrives()
{
    const QByteArray body(200000, 'z');
    server.answer("/a%20b", HttpAnswer::withLength(body));
    PublishedPatch patch(server.url(), 30000);
    QList<qint64> progress;
    for (int i = 0; i < 2; ++i) { // the second one starts from zero
        progress.clear();
        QVERIFY2(patch.fetchFile(u"a%20b"_s, &digest, &error,
                                 [&](qint64 received) { progress.append(received); }),
                 qPrintable(error));
        QCOMPARE(digest.size, body.size());
        QCOMPARE(digest.sha256, QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex());
        QVERIFY(std::is_sorted(progress.begin(), progress.end()));
        QCOMPARE(progress.constLast(), body.size());
    }
}

void TestPublishedPatch::theManifestIsFetchedFromTheNormalizedBaseUrl()
{
    server.answer("/x%20y?z/manifest.json", HttpAnswer::withLength("{}"));
    PublishedPatch patch(u" \t"_s + server.url(u"/x y?z\n"_s), 30000);
    QByteArray json = "old";
    QVERIFY2(patch.fetchWhole(u"manifest.json"_s, &json, &error), qPrintable(error));
    QCOMPARE(json, "{}"_ba);
}

void TestPublishedPatch::aLengthThatIsNotTheBodysOwnIsNotExpected()
{
    server.answer("/x", HttpAnswer::withLength("12345"));
    server.answer("/chunked", HttpAnswer::chunked("12345").withHeader("Content-Length: 100"));
    server.answer("/redirect", HttpAnswer::redirect(server.url(u"/x"_s).toLatin1()));
    PublishedPatch patch(server.url(), 30000);
    for (const QString &name : {u"chunked"_s, u"redirect"_s}) {
        QVERIFY2(patch.fetchFile(name, &digest, &error), qPrintable(error));
        QCOMPARE(digest.size, 5);
    }
}

void TestPublishedPatch::aTruncatedTransferIsAnError()
{
    // QNetworkAccessManager treats most early closes in a body of the larger size as its end.
    for (const int size : {10, 1000000, 1000000, 1000000}) {
        server.answer("/x", HttpAnswer::withLength(QByteArray(size, 'x')).cutAt(size - 1));
        PublishedPatch patch(server.url(), 30000);
        QVERIFY(!patch.fetchFile(u"x"_s, &digest, &error));
        QVERIFY2(error == u"Connection closed" ||
                     error ==
                         u"the connection closed after %1 of %2 bytes"_s.arg(size - 1).arg(size),
                 qPrintable(error));
    }
}

void TestPublishedPatch::aStalledTransferTimesOut()
{
    server.answer("/x", HttpAnswer::withLength("1234567890").heldAt(5));
    PublishedPatch patch(server.url(), 100);
    QVERIFY(!patch.fetchFile(u"x"_s, &digest, &error));
    QCOMPARE(error, u"the server sent nothing for 0.1 seconds"_s);
}

void TestPublishedPatch::aFileThatCannotBeFetchedIsAnError()
{
    server.answer("/manifest.json", HttpAnswer::status("404 Not Found", "{}"));
    PublishedPatch patch(server.url(), 30000);
    QByteArray json;
    QVERIFY(!patch.fetchWhole(u"manifest.json"_s, &json, &error));
    QVERIFY2(error.contains(u"Not Found"_s), qPrintable(error));

    PublishedPatch unknown(u"unknown://host"_s, 30000);
    QVERIFY(!unknown.fetchWhole(u"manifest.json"_s, &json, &error));
    QCOMPARE(error, u"Protocol \"unknown\" is unknown"_s);

    PublishedPatch invalid(u"http://[bad"_s, 30000);
    QVERIFY(!invalid.fetchFile(u"x"_s, &digest, &error));
    QVERIFY2(error.startsWith(u"not a valid URL: "_s), qPrintable(error));
}

void TestPublishedPatch::onlyTheBeginningOfAFileIsTried()
{
    // The rest of the body is never sent.
    server.answer("/x", HttpAnswer::withLength(QByteArray(100000, 'x')).heldAt(10));
    server.answer("/empty", HttpAnswer::withLength({}));
    PublishedPatch patch(server.url(), 30000);
    error.clear();
    QVERIFY2(patch.tryFile(u"x"_s, &error), qPrintable(error));
    QCOMPARE(patch.answer().status, 200);
    QVERIFY(patch.answer().hasLength);
    QCOMPARE(patch.answer().error, QNetworkReply::NoError);
    QVERIFY2(patch.tryFile(u"empty"_s, &error), qPrintable(error));
    QCOMPARE(error, QString());
}

void TestPublishedPatch::aFileThatCannotBeFetchedCannotBeTried()
{
    for (const char *status : {"400 Bad Request", "404 Not Found"}) {
        server.answer("/x", HttpAnswer::status(status, QByteArray(100000, 'x')));
        PublishedPatch patch(server.url(), 30000);
        QVERIFY(!patch.tryFile(u"x"_s, &error));
        QCOMPARE(patch.answer().status, QByteArray(status).left(3).toInt());
        QVERIFY(patch.answer().error != QNetworkReply::NoError);
    }
    // QNetworkAccessManager treats some closes before a body of the larger size as its end.
    for (const int size : {10, 1000000, 1000000, 1000000}) {
        server.answer("/x", HttpAnswer::withLength(QByteArray(size, 'x')).cutAt(0));
        QVERIFY(!PublishedPatch(server.url(), 30000).tryFile(u"x"_s, &error));
    }
    server.answer("/x", HttpAnswer::withLength("x").heldAt(HttpAnswer::insideHeader));
    PublishedPatch patch(server.url(), 100);
    QVERIFY(!patch.tryFile(u"x"_s, &error));
    QCOMPARE(patch.answer().error, QNetworkReply::TimeoutError);
}

void TestPublishedPatch::theAnswerIsRecorded()
{
    const QUrl x(server.url(u"/x"_s));
    server.answer("/x", HttpAnswer::withLength("12345"));
    server.answer("/redirect", HttpAnswer::redirect(x.toEncoded()));
    server.answer("/endless", HttpAnswer::withoutLength("12345"));
    server.answer("/gzip", HttpAnswer::gzipped("12345"));
    PublishedPatch patch(server.url(), 30000);
    QCOMPARE(patch.answer().status, 0);
    QVERIFY(patch.fetchFile(u"redirect"_s, &digest, &error));
    QCOMPARE(patch.answer().asked, QUrl(server.url(u"/redirect"_s)));
    QCOMPARE(patch.answer().url, x);
    QCOMPARE(patch.answer().status, 200);
    QVERIFY(patch.fetchFile(u"endless"_s, &digest, &error));
    QVERIFY(!patch.answer().hasLength);
    QVERIFY(!patch.answer().isCompressed);
    QVERIFY(patch.fetchFile(u"gzip"_s, &digest, &error));
    QVERIFY(patch.answer().isCompressed);
    QVERIFY(!PublishedPatch(u"http://[bad"_s, 30000).tryFile({}, &error));
}

void TestPublishedPatch::anAnswerHasFaults_data()
{
    using enum AnswerFault;
    QTest::addColumn<HttpAnswer>("answer");
    QTest::addColumn<QList<AnswerFault>>("faults");
    const auto row = [](const char *name, const HttpAnswer &answer,
                        const QList<AnswerFault> &faults) {
        QTest::newRow(name) << answer << faults;
    };
    const QByteArray body(5000, 'x');
    row("with a length", HttpAnswer::withLength(body), {Plain});
    row("an empty file", HttpAnswer::withLength({}), {Plain});
    row("compressed", HttpAnswer::gzipped(body), {Plain, Compressed});
    row("compressed in an unknown way",
        HttpAnswer::withLength(body).withHeader("Content-Encoding: x-gzip"), {Plain, Compressed});
    row("in chunks", HttpAnswer::chunked(body), {Plain, Chunked});
    row("in chunks, with a length", HttpAnswer::chunked(body).withHeader("Content-Length: 5000"),
        {Plain, Chunked});
    row("without a length", HttpAnswer::withoutLength(body), {Plain, WithoutLength});
    row("redirected", HttpAnswer::redirect(server.url(u"/y"_s).toLatin1()), {Plain, Redirected});
}

void TestPublishedPatch::anAnswerHasFaults()
{
    QFETCH(const HttpAnswer, answer);
    QFETCH(const QList<AnswerFault>, faults);
    server.answer("/x", answer);
    server.answer("/y", HttpAnswer::chunked("y"));
    PublishedPatch patch(server.url(), 30000);
    QVERIFY2(patch.fetchFile(u"x"_s, &digest, &error), qPrintable(error));
    QCOMPARE(patch.answer().faults(), faults);
    PatchAnswer overTls = patch.answer();
    overTls.asked.setScheme(u"https"_s);
    QVERIFY(!overTls.faults().contains(AnswerFault::Plain));
}

void TestPublishedPatch::anAnswerIsCacheable_data()
{
    QTest::addColumn<QByteArray>("control");
    QTest::addColumn<bool>("isCacheable");
    const auto row = [](const char *control, bool isCacheable) {
        QTest::newRow(control) << QByteArray(control) << isCacheable;
    };
    row("", true);
    row("public", true);
    row("max-age=60", true);
    row("max-age=0, s-maxage=60", true);
    row("no-cache=\"Set-Cookie\"", true);
    row("no-transform", true);
    row("no-cache", false);
    row("public,No-Cache , no-transform", false);
    row("no-store", false);
    row("private, max-age=60", false);
    row("max-age=0", false);
    row("max-age=60, s-maxage=0", false);
}

void TestPublishedPatch::anAnswerIsCacheable()
{
    QFETCH(const QByteArray, control);
    const HttpAnswer answer = HttpAnswer::withLength("{}");
    server.answer("/x",
                  control.isEmpty() ? answer : answer.withHeader("Cache-Control: " + control));
    PublishedPatch patch(server.url(), 30000);
    QVERIFY(patch.fetchFile(u"x"_s, &digest, &error));
    QTEST(patch.answer().isCacheable(), "isCacheable");
}

void TestPublishedPatch::anAnswerIsAWebPage()
{
    PublishedPatch patch(server.url(), 30000);
    for (const auto &[type, isWebPage] : {std::pair{"text/html"_ba, true},
                                          {"Text/HTML; charset=utf-8"_ba, true},
                                          {"application/octet-stream"_ba, false},
                                          {"text/plain"_ba, false}}) {
        const QByteArray header = "Content-Type: " + type;
        server.answer("/x", HttpAnswer::withLength("x").withHeader(header));
        QVERIFY(patch.fetchFile(u"x"_s, &digest, &error));
        QCOMPARE(patch.answer().isWebPage(), isWebPage);
        // The page that redirects does not count.
        const QByteArray x = server.url(u"/x"_s).toLatin1();
        server.answer("/y", HttpAnswer::redirect(x).withHeader("Content-Type: text/html"));
        QVERIFY(patch.fetchFile(u"y"_s, &digest, &error));
        QCOMPARE(patch.answer().isWebPage(), isWebPage);
    }
}

ZEL_TEST_MAIN(TestPublishedPatch)

#include "tst_publishedpatch.moc"
