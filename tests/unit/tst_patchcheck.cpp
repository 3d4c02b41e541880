#include "support/TestMain.h"

#include <QRegularExpression>

#include "support/network/HttpServer.h"
#include "zel-manifest/PatchCheck.h"

using namespace Qt::StringLiterals;

namespace
{

// Digest of "0123456789".
const QByteArray digest = "84d89877f0d4041efb6bf91a16f0248f2fd573e6af05c19f96bedb9f882f7882";

QByteArray manifestOf(const QByteArray &files)
{
    return "{\"version\": \"1\", \"files\": [" + files + "]}";
}

QByteArray listed(const QByteArray &name, const QByteArray &more)
{
    return "{\"path\": \"" + name + "\", " + more + '}';
}

} // namespace

class TestPatchCheck : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void everyFileIsCompared_data();
    void everyFileIsCompared();
    void theCheckContinuesAfterADifference();
    void progressCountsWhatIsFetched();
    void aManifestIsNeeded();
    void theManifestHasAnotherName();
    void theManifestIsComparedByteForByte();
    void eachFaultOfTheAnswersIsReportedOnce();
    void theFaultsOfAnInvalidManifestAreReported();
    void aManifestThatCachesMayKeepIsReported();
    void baseUrlsThatLoseNamesAreWarnedOf_data();
    void baseUrlsThatLoseNamesAreWarnedOf();

private:
    void publish(const QByteArray &folder, const QByteArray &files)
    {
        server.answer(folder + "manifest.json", HttpAnswer::withLength(manifestOf(files)));
    }
    PatchCheck checkOf(const QString &baseUrl)
    {
        return PatchCheck(baseUrl, 30000, [this](const Finding &finding) {
            findings.append(
                (finding.kind == Finding::Warning ? u"warning %1: %2"_s : u"error %1: %2"_s)
                    .arg(finding.path, finding.text));
        });
    }

    HttpServer server;
    QStringList findings;
};

void TestPatchCheck::init()
{
    TestBase::init();
    findings.clear();
}

void TestPatchCheck::everyFileIsCompared_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QStringList>("expected");
    const QByteArray whole = "\"size\": 10, \"sha256\": \"" + digest + '"';
    const QString changed = u"error the file: the content is not what is listed"_s;
    const QString noDigest = u"warning the file: the manifest has no digest to compare with"_s;
    const QString sizes = u"error the file: %1 bytes are published, %2 are listed"_s;
    const auto row = [](const char *name, const QByteArray &entry, const QByteArray &published,
                        const QStringList &expected) {
        QTest::newRow(name) << entry << published << expected;
    };
    row("as listed", whole, "0123456789", {});
    row("a digest in capitals", "\"size\": 10, \"sha256\": \"" + digest.toUpper() + '"',
        "0123456789", {});
    row("no size", "\"sha256\": \"" + digest + '"', "0123456789", {});
    row("changed", whole, "0123456_89", {changed});
    row("cut short", whole, "01234567", {sizes.arg(8).arg(10)});
    row("emptied", whole, "", {sizes.arg(0).arg(10)});
    row("grown", whole, "0123456789a", {sizes.arg(11).arg(10)});
    row("grown from nothing", "\"size\": 0", "0", {sizes.arg(1).arg(0)});
    row("no digest", "\"size\": 10", "0123456_89", {noDigest});
}

void TestPatchCheck::everyFileIsCompared()
{
    QFETCH(const QByteArray, entry);
    QFETCH(const QByteArray, published);
    QFETCH(const QStringList, expected);
    publish("/", listed("the file", "\"url\": \"the%20url\", " + entry));
    server.answer("/the%20url", HttpAnswer::withLength(published));
    PatchCheck check = checkOf(server.url());
    QVERIFY(check.fetchManifest() && check.readManifest());
    check.compareFiles();
    QCOMPARE(findings, expected);
    QCOMPARE(check.errorCount(), expected.filter(u"error"_s).size());
}

void TestPatchCheck::theCheckContinuesAfterADifference()
{
    const QByteArray size = "\"size\": 2";
    publish("/many/", listed("1", size) + ',' + listed("2", size) + ',' + listed("3", size));
    // Without a digest, a page is as listed.
    server.answer("/many/2", HttpAnswer::withLength("22").withHeader("Content-Type: text/html"));
    server.answer("/many/3", HttpAnswer::withLength("333"));
    PatchCheck check = checkOf(server.url(u"/many"_s));
    QVERIFY(check.fetchManifest() && check.readManifest());
    check.compareFiles();
    QCOMPARE(findings.size(), 3);
    QVERIFY(findings.at(0).startsWith(u"error 1: "_s));
    QVERIFY(findings.at(0).endsWith(u"Not Found"_s));
    QCOMPARE(findings.at(1), u"warning 2: the manifest has no digest to compare with"_s);
    QCOMPARE(findings.at(2), u"error 3: 3 bytes are published, 2 are listed"_s);
    QCOMPARE(check.errorCount(), 2);
    check.reportFaults(Finding::Warning);
    QVERIFY(findings.filter(u"web page"_s).isEmpty());
}

void TestPatchCheck::progressCountsWhatIsFetched()
{
    const QByteArray url = "\"url\": \"a\"";
    publish("/sum/", listed("a", "\"size\": 3") + ',' + listed("b", url) + ',' + listed("c", url));
    server.answer("/sum/a", HttpAnswer::withLength("123"));
    PatchCheck check = checkOf(server.url(u"/sum"_s));
    QVERIFY(check.fetchManifest() && check.readManifest());
    QStringList amounts;
    check.compareFiles([&](const FileAmount &done) {
        amounts.append(u"%1 files, %2 bytes"_s.arg(done.files).arg(done.bytes));
    });
    amounts.removeDuplicates();
    QVERIFY(amounts.removeOne(u"0 files, 3 bytes"_s));
    QVERIFY(amounts.removeOne(u"1 files, 6 bytes"_s));
    QVERIFY(amounts.removeOne(u"2 files, 6 bytes"_s));
}

void TestPatchCheck::aManifestIsNeeded()
{
    for (const auto &[status, message] :
         {std::pair{"404 Not Found"_ba, u"Not Found"_s},
          {"200 OK"_ba, u"error manifest.json: is not a JSON object"_s}}) {
        findings.clear();
        server.answer("/manifest.json", HttpAnswer::status(status, "[]"));
        PatchCheck check = checkOf(server.url());
        QVERIFY(!check.fetchManifest() || !check.readManifest());
        QCOMPARE(findings.size(), 1);
        QVERIFY(findings.first().startsWith(u"error manifest.json: "_s));
        QVERIFY2(findings.first().endsWith(message), qPrintable(findings.first()));
    }
}

void TestPatchCheck::theManifestHasAnotherName()
{
    server.answer("/other/new%20%231", HttpAnswer::withLength(manifestOf({})));
    PatchCheck check = checkOf(server.url(u"/other"_s));
    QVERIFY(check.fetchManifest(u"new #1"_s));
    check.compareManifest({}, u"mine"_s);
    QCOMPARE(findings, QStringList{u"error new #1: is not the one in \"mine\""_s});
    server.answer("/other/new%20%231.minisig", HttpAnswer::withLength("of it"));
    QByteArray signature;
    QVERIFY(check.fetchSignature(&signature));
    QCOMPARE(signature, "of it"_ba);
}

void TestPatchCheck::theManifestIsComparedByteForByte()
{
    const QByteArray json = manifestOf({});
    server.answer("/manifest.json", HttpAnswer::withLength(json));
    PatchCheck check = checkOf(server.url());
    QVERIFY(check.fetchManifest() && check.readManifest());
    QCOMPARE(check.manifest().version, u"1"_s);
    check.compareManifest(json, u"mine"_s);
    QCOMPARE(findings, QStringList());
    check.compareManifest(json + '\n', u"mine"_s);
    QCOMPARE(findings, QStringList{u"error manifest.json: is not the one in \"mine\""_s});
    QCOMPARE(check.errorCount(), 1);
}

void TestPatchCheck::eachFaultOfTheAnswersIsReportedOnce()
{
    const QByteArray tail = R"("sha256": ")" + digest + '"';
    QByteArrayList entries;
    for (const char *name : {"right", "short", "page", "endless", "missing"}) {
        entries.append(listed(name, tail));
    }
    const QByteArray html = "Content-Type: text/html";
    server.answer("/faults/manifest.json", HttpAnswer::chunked(manifestOf(entries.join(',')))
                                               .withHeader("Cache-Control: "
                                                           "no-cache"));
    // A web page is a fault only if its content is not the listed one.
    server.answer("/faults/right", HttpAnswer::gzipped("0123456789").withHeader(html));
    server.answer("/faults/short", HttpAnswer::chunked("0123"));
    server.answer("/faults/page", HttpAnswer::withLength("<html>").withHeader(html));
    server.answer("/faults/endless", HttpAnswer::withoutLength("0123456789"));
    server.answer("/faults/missing", HttpAnswer::status("404 Not Found", "").withHeader(html));
    PatchCheck check = checkOf(server.url(u"/faults"_s));
    QVERIFY(check.fetchManifest() && check.readManifest());
    check.compareFiles();
    const QString unknown =
        u"without a length the launcher shows no progress and may keep a truncated file"_s;
    const QStringList expected{
        u"over http: 5 of 5 answers, first \"manifest.json\"; anyone on the network path can "
        "replace them"_s,
        u"compressed: 1 of 5 answers, first \"right\"; "_s + unknown,
        u"in chunks: 2 of 5 answers, first \"manifest.json\"; "_s + unknown,
        u"without a length: 1 of 5 answers, first \"endless\"; "_s + unknown,
        u"a web page (text/html): 1 of 5 answers, first \"page\"; a missing file has to be "
        "answered with an error"_s};
    QCOMPARE(findings.size(), 3); // the files that are not as listed
    for (const auto &[kind, word] :
         {std::pair{Finding::Warning, u"warning : "_s}, {Finding::Error, u"error : "_s}}) {
        findings.clear();
        check.reportFaults(kind);
        QCOMPARE(findings,
                 QStringList(expected).replaceInStrings(QRegularExpression(u"^"_s), word));
    }
    QCOMPARE(check.errorCount(), 3 + 5);
}

void TestPatchCheck::theFaultsOfAnInvalidManifestAreReported()
{
    server.answer("/portal/manifest.json",
                  HttpAnswer::redirect(server.url(u"/login"_s).toLatin1()));
    server.answer("/login", HttpAnswer::withLength("<html>").withHeader("Content-Type: text/html"));
    PatchCheck check = checkOf(server.url(u"/portal"_s));
    QVERIFY(!check.fetchManifest() || !check.readManifest());
    check.reportFaults(Finding::Warning);
    QCOMPARE(findings.size(), 4);
    QCOMPARE(findings.at(2), u"warning : redirected: 1 of 1 answers, first \"manifest.json\"; each "
                             "takes two requests"_s);
    QVERIFY(findings.at(3).startsWith(u"warning : a web page (text/html): 1 of 1 answers"_s));
}

void TestPatchCheck::aManifestThatCachesMayKeepIsReported()
{
    server.answer("/kept/manifest.json",
                  HttpAnswer::withLength(manifestOf(listed("a", "\"size\": 1"))));
    server.answer("/kept/a", HttpAnswer::withLength("a"));
    PatchCheck check = checkOf(server.url(u"/kept"_s));
    QVERIFY(check.fetchManifest() && check.readManifest());
    check.compareFiles();
    findings.clear();
    check.reportFaults(Finding::Warning);
    QCOMPARE(findings.size(), 2);
    QCOMPARE(findings.at(1), u"warning : may be kept by caches: 1 of 2 answers, first "
                             "\"manifest.json\"; players then get an old manifest"_s);
}

void TestPatchCheck::baseUrlsThatLoseNamesAreWarnedOf_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("requested");
    QTest::addColumn<QString>("warning");
    const QString number = u"warning : the base URL has a \"#\": what follows it, "_s;
    const QString percent = u"warning : the base URL has a \"%\" that encodes nothing: "_s;
    const auto row = [](const char *name, const QString &path, const QByteArray &requested,
                        const QString &text) { QTest::newRow(name) << path << requested << text; };
    row("encoded characters", u"/a%20b%C3%a7"_s, "/a%20b%C3%A7/manifest.json", u""_s);
    row("a number sign", u"/a#b"_s, "/a", number);
    row("a lone percent", u"/100%"_s, "/100%25/manifest.json", percent);
    row("a percent before one digit", u"/%2"_s, "/%252/manifest.json", percent);
    row("a percent before letters", u"/%fg"_s, "/%25fg/manifest.json", percent);
}

void TestPatchCheck::baseUrlsThatLoseNamesAreWarnedOf()
{
    QFETCH(const QString, path);
    QFETCH(const QByteArray, requested);
    QFETCH(const QString, warning);
    server.answer(requested, HttpAnswer::withLength(manifestOf({})));
    PatchCheck check = checkOf(server.url(path));
    QVERIFY(check.fetchManifest() && check.readManifest());
    QCOMPARE(findings.size(), warning.isEmpty() ? 0 : 1);
    QVERIFY(warning.isEmpty() || findings.first().startsWith(warning));
    QCOMPARE(check.errorCount(), 0);
}

ZEL_TEST_MAIN(TestPatchCheck)

#include "tst_patchcheck.moc"
