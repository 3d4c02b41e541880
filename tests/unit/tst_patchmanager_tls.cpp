#include "PatchTest.h"

#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QStandardPaths>

namespace
{

QString completeEnd()
{
    return QStringLiteral("finished true Atualizacao concluida.");
}

/// A certificate that vouches for itself, and its key.
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

/// Makes one for the server named @p subject, "IP:127.0.0.1" for one.
Identity makeIdentity(const QString &subject)
{
    const QTemporaryDir dir;
    const QString keyPath = dir.filePath(QStringLiteral("key.pem"));
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                   QStringLiteral("rsa:2048"), QStringLiteral("-nodes"), QStringLiteral("-days"),
                   QStringLiteral("2"), QStringLiteral("-subj"), QStringLiteral("/CN=test"),
                   QStringLiteral("-addext"), QStringLiteral("subjectAltName=") + subject,
                   QStringLiteral("-keyout"), keyPath});
    if (!openssl.waitForFinished() || openssl.exitCode() != 0) {
        qFatal("openssl makes no certificate: %s", openssl.readAllStandardError().constData());
    }
    return {QSslCertificate(openssl.readAllStandardOutput()),
            QSslKey(Disk::read(keyPath), QSsl::Rsa)};
}

/// What every request from here on trusts.
void trust(const QList<QSslCertificate> &certificates)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(certificates);
    QSslConfiguration::setDefaultConfiguration(configuration);
}

} // namespace

/// Updates from a server that speaks HTTPS.
class TestPatchManagerTls : public PatchTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void anUpdateComesOverHttps();
    void aServerThatIsNotTrustedIsNotUsed_data();
    void aServerThatIsNotTrustedIsNotUsed();
    void noRedirectLeadsFromHttpsToHttp();
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
    if (QStandardPaths::findExecutable(QStringLiteral("openssl")).isEmpty()) {
        QSKIP("there is no openssl");
    }
    own = makeIdentity(QStringLiteral("IP:127.0.0.1"));
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
    publish(QStringLiteral("2"), {{QStringLiteral("a.bin"), {}}});
    server->answer("/a.bin", HttpAnswer::withLength("content of a"));
}

void TestPatchManagerTls::anUpdateComesOverHttps()
{
    QVERIFY(manager->baseUrl.startsWith(QStringLiteral("https://")));
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), completeEnd());
    QCOMPARE(clientFile(QStringLiteral("a.bin")), "content of a");
}

void TestPatchManagerTls::aServerThatIsNotTrustedIsNotUsed_data()
{
    QTest::addColumn<QString>("subject");
    QTest::addColumn<bool>("isTrusted");
    QTest::newRow("nobody vouches for it") << QStringLiteral("IP:127.0.0.1") << false;
    QTest::newRow("it is another") << QStringLiteral("DNS:example.org,IP:127.0.0.2") << true;
}

void TestPatchManagerTls::aServerThatIsNotTrustedIsNotUsed()
{
    QFETCH(const QString, subject);
    QFETCH(const bool, isTrusted);
    const Identity other = makeIdentity(subject);
    useServer(other);
    trust({isTrusted ? other.certificate : own.certificate});
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished false Nao foi possivel baixar manifest.json: ") +
                              libraryError(QUrl(server->url(QStringLiteral("/manifest.json")))));
    QCOMPARE(server->paths(), QByteArrayList());
    QCOMPARE(clientTree(), QStringList());
}

void TestPatchManagerTls::noRedirectLeadsFromHttpsToHttp()
{
    plain->answer("/manifest.json", HttpAnswer::withLength(R"({"version": "3"})"));
    plain->answer("/a.bin", HttpAnswer::withLength("content of another"));
    const auto answerHere = [this](const QByteArray &path) {
        server->answer(path, HttpAnswer::redirect(plain->url().toLatin1() + path));
    };

    answerHere("/a.bin");
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished false Falha ao baixar a.bin: ") +
                              libraryError(QUrl(server->url(QStringLiteral("/a.bin")))));
    answerHere("/manifest.json");
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished false Nao foi possivel baixar manifest.json: ") +
                              libraryError(QUrl(server->url(QStringLiteral("/manifest.json")))));

    QCOMPARE(plain->totalConnections(), 0);
    QCOMPARE(clientTree(), QStringList());
    QCOMPARE(savedVersion(), QStringLiteral("1.0.0"));
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
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), completeEnd());
    QCOMPARE(clientFile(QStringLiteral("a.bin")), "content elsewhere");
}

ZEL_TEST_MAIN(TestPatchManagerTls)

#include "tst_patchmanager_tls.moc"
