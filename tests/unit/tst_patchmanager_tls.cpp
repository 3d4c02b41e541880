#include "PatchTest.h"

#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QStandardPaths>

namespace
{

/// A self-signed certificate and its key.
struct Identity {
    QSslCertificate certificate;
    QSslKey key;

    QSslConfiguration forServer() const
    {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(certificate);
        configuration.setPrivateKey(key);
        return configuration;
    }
};

/// Creates one with the subject alternative names @p subject, such as "IP:127.0.0.1".
Identity makeIdentity(const QString &subject)
{
    const QTemporaryDir dir;
    const QString keyPath = dir.filePath(u"key.pem"_s);
    QProcess openssl;
    openssl.start(u"openssl"_s, {u"req"_s, u"-x509"_s, u"-newkey"_s, u"rsa:2048"_s, u"-nodes"_s,
                                 u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=test"_s, u"-addext"_s,
                                 u"subjectAltName="_s + subject, u"-keyout"_s, keyPath});
    if (!openssl.waitForFinished() || openssl.exitCode() != 0) {
        qFatal("openssl makes no certificate: %s", openssl.readAllStandardError().constData());
    }
    return {QSslCertificate(openssl.readAllStandardOutput()),
            QSslKey(Disk::read(keyPath), QSsl::Rsa)};
}

/// Makes later requests trust @p certificates only.
void trust(const QList<QSslCertificate> &certificates)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(certificates);
    QSslConfiguration::setDefaultConfiguration(configuration);
}

} // namespace

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
    PatchTest::initTestCase();
    if (!QSslSocket::supportsSsl()) {
        QSKIP("the network library has no TLS here");
    }
    if (QStandardPaths::findExecutable(u"openssl"_s).isEmpty()) {
        QSKIP("there is no openssl");
    }
    own = makeIdentity(u"IP:127.0.0.1"_s);
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
    const Identity other = makeIdentity(subject);
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
