#include "PatchTest.h"
#include "support/network/Identity.h"

/// Updates over HTTPS.
class TestPatchManagerTls : public PatchTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void anUpdateOverHttps();
    void aServerThatIsNotTrustedIsNotUsed_data();
    void aServerThatIsNotTrustedIsNotUsed();
    void aRedirectFromHttpsToHttpIsNotFollowed();
    void otherRedirectsAreFollowed();

private:
    void useServer(const Identity &identity);

    Identity own;
    std::unique_ptr<HttpServer> plain;
};

void TestPatchManagerTls::initTestCase()
{
    if (!Identity::obstacle().isEmpty()) {
        QSKIP(qPrintable(Identity::obstacle()));
    }
    own = Identity::make(u"IP:127.0.0.1"_s);
}

void TestPatchManagerTls::init()
{
    PatchTest::init();
    plain = std::make_unique<HttpServer>();
    useServer(own);
    trust({own.certificate});
}

void TestPatchManagerTls::cleanup()
{
    PatchTest::cleanup();
    plain.reset();
}

void TestPatchManagerTls::useServer(const Identity &identity)
{
    server = std::make_unique<HttpServer>(identity.forServer());
    manager->baseUrl = server->url();
    publish(u"2"_s, {{u"a.bin"_s, {}}});
    server->answer("/a.bin", HttpAnswer::withLength("content of a"));
}

void TestPatchManagerTls::anUpdateOverHttps()
{
    QVERIFY(manager->baseUrl.startsWith(u"https://"_s));
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(clientFile(u"a.bin"_s), "content of a");
}

void TestPatchManagerTls::aServerThatIsNotTrustedIsNotUsed_data()
{
    QTest::addColumn<QString>("subject");
    QTest::addColumn<bool>("isTrusted");
    QTest::newRow("unknown certificate") << u"IP:127.0.0.1"_s << false;
    QTest::newRow("certificate of another server") << u"DNS:example.org,IP:127.0.0.2"_s << true;
}

void TestPatchManagerTls::aServerThatIsNotTrustedIsNotUsed()
{
    QFETCH(const QString, subject);
    QFETCH(const bool, isTrusted);
    const Identity other = Identity::make(subject);
    useServer(other);
    trust({isTrusted ? other.certificate : own.certificate});
    QCOMPARE(runToEnd(), manifestFailed(serverError(u"/manifest.json"_s)));
    QCOMPARE(server->paths(), QByteArrayList());
    QCOMPARE(clientTree(), QStringList());
}

void TestPatchManagerTls::aRedirectFromHttpsToHttpIsNotFollowed()
{
    plain->answer("/manifest.json", HttpAnswer::withLength(R"({"version": "3"})"));
    plain->answer("/a.bin", HttpAnswer::withLength("content of another"));
    const auto answerHere = [this](const QByteArray &path) {
        server->answer(path, HttpAnswer::redirect(plain->url().toLatin1() + path));
    };

    answerHere("/a.bin");
    QCOMPARE(runToEnd(), fileFailed(u"a.bin"_s, serverError(u"/a.bin"_s)));
    answerHere("/manifest.json");
    QCOMPARE(runToEnd(), manifestFailed(serverError(u"/manifest.json"_s)));

    QCOMPARE(plain->totalConnections(), 0);
    QCOMPARE(clientTree(), QStringList());
    QCOMPARE(savedVersion(), u"1.0.0"_s);
}

void TestPatchManagerTls::otherRedirectsAreFollowed()
{
    HttpServer second(own.forServer());
    second.answer("/a.bin", HttpAnswer::withLength("content elsewhere"));
    server->answer("/a.bin", HttpAnswer::redirect(second.url().toLatin1() + "/a.bin"));
    plain->answer("/manifest.json",
                  HttpAnswer::redirect(server->url().toLatin1() + "/manifest.json"));
    plain->answer("/a.bin", HttpAnswer::redirect(server->url().toLatin1() + "/a.bin"));
    manager->baseUrl = plain->url();
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(clientFile(u"a.bin"_s), "content elsewhere");
}

ZEL_TEST_MAIN(TestPatchManagerTls)

#include "tst_patchmanager_tls.moc"
