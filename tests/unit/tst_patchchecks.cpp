#include "DoctorTest.h"
#include "support/network/HttpServer.h"
#include "support/network/Identity.h"
#include "zel-doctor/PatchChecks.h"

using namespace Qt::StringLiterals;

class TestPatchChecks : public DoctorTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void withoutAnAddressNothingIsRequested();
    void theAddressIsNotValid();
    void theServerIsGood();
    void theServerIsDown();
    void theServerIsUnknown();
    void theServerAnswersAnError();
    void theServerSendsNothing();
    void theServerClosesTheConnection();
    void theServerRedirects();
    void theServerRedirectsForever();
    void theManifestIsNotAJsonObject();
    void answersHaveNoLength();
    void answersAreCompressed();
    void aFileIsMissing();
    void aFileIsEmpty();
    void theCertificateIsNotAccepted();
    void onlyTheBeginningOfOneFileIsFetched();
    void aFileLeavesTheClientFolder();
    void aPathLeavesTheClientFolder_data();
    void aPathLeavesTheClientFolder();
    void aFileHasNoSize();
    void aProxyIsUsed();
    void namesAndPasswordsAreNotShown();

private:
    void publish(const QByteArray &files, const QByteArray &version = "1.1")
    {
        server->answer("/manifest.json", HttpAnswer::withLength(R"({"version":")" + version +
                                                                R"(","files":[)" + files + "]}"));
    }
    QString manifestUrl() const { return server->url(u"/manifest.json"_s); }
    QString firstLines() const
    {
        return noProxy + u"ok    servidor de atualizacoes: %1 responde.\n"_s.arg(manifestUrl()) +
               noHttps;
    }

    const QString noProxy = u"ok    proxy: nenhum.\n"_s;
    const QString noHttps =
        u"aviso servidor de atualizacoes: sem https, outras pessoas na rede podem trocar os "
        "arquivos do jogo. Pergunte a quem mantem o servidor qual e o endereco https.\n"_s;
    const QString oneFile = u"ok    manifest.json: versao \"1.1\"; cada inicio baixa 1 arquivo(s), "
                            "1,5 MiB.\n"_s;
    const QByteArray entry = R"({"path":"a.bin","url":"f/a.bin","size":1572864})";
    std::optional<HttpServer> server;
};

void TestPatchChecks::init()
{
    DoctorTest::init();
    server.emplace();
    set(u"patch/baseUrl"_s, server->url());
}

void TestPatchChecks::cleanup()
{
    server.reset();
    FolderTest::cleanup();
}

void TestPatchChecks::withoutAnAddressNothingIsRequested()
{
    set(u"patch/baseUrl"_s, u"  "_s);
    QCOMPARE(lines(PatchChecks::server()),
             u"ok    servidor de atualizacoes: nenhum foi escolhido; o jogo inicia sem "
             "atualizacoes.\n"_s);
}

void TestPatchChecks::theAddressIsNotValid()
{
    set(u"patch/baseUrl"_s, u"http://eva:secret@[bad"_s);
    QCOMPARE(lines(PatchChecks::server()),
             u"erro  servidor de atualizacoes: o endereco nao e valido. Confira \"URL base do "
             "patch\" em Configuracao.\n"_s);
}

void TestPatchChecks::theServerIsGood()
{
    publish({});
    QCOMPARE(lines(PatchChecks::server()),
             firstLines() + u"ok    manifest.json: versao \"1.1\"; cada inicio baixa 0 arquivo(s), "
                            "0,0 MiB.\n"_s);
    publish(entry + ',' + entry);
    server->answer("/f/a.bin", HttpAnswer::withLength("x"));
    QCOMPARE(lines(PatchChecks::server()),
             firstLines() + u"ok    manifest.json: versao \"1.1\"; cada inicio baixa 2 arquivo(s), "
                            "3,0 MiB.\n"_s);
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/manifest.json", "/f/a.bin"}));
}

void TestPatchChecks::theServerIsDown()
{
    set(u"patch/baseUrl"_s, u"http://127.0.0.1:1/"_s);
    QCOMPARE(lines(PatchChecks::server()),
             noProxy + u"erro  servidor de atualizacoes: manifest.json: a conexao foi recusada ou "
                       "interrompida (Connection refused). Tente mais tarde ou avise quem mantem o "
                       "servidor.\n"_s);
}

void TestPatchChecks::theServerIsUnknown()
{
    set(u"patch/baseUrl"_s, u"http://no-such-host.invalid/"_s);
    QCOMPARE(lines(PatchChecks::server()),
             noProxy + u"erro  servidor de atualizacoes: manifest.json: o nome do servidor nao foi "
                       "encontrado. Confira a conexao com a internet e \"URL base do patch\" em "
                       "Configuracao.\n"_s);
    set(u"patch/baseUrl"_s, u"unknown://host/"_s);
    QCOMPARE(lines(PatchChecks::server()),
             noProxy + u"erro  servidor de atualizacoes: manifest.json: Protocol \"unknown\" is "
                       "unknown. Confira \"URL base do patch\" em Configuracao e o proxy.\n"_s);
}

void TestPatchChecks::theServerAnswersAnError()
{
    for (const char *status : {"404 Not Found", "400 Bad Request", "500 Internal Error"}) {
        server->answer("/manifest.json", HttpAnswer::status(status, "{}"));
        QCOMPARE(lines(PatchChecks::server()),
                 noProxy +
                     u"erro  servidor de atualizacoes: manifest.json: o servidor respondeu com o "
                     "codigo %1. Confira \"URL base do patch\" em Configuracao ou avise quem "
                     "mantem o "
                     "servidor.\n"_s.arg(QString::fromLatin1(status).left(3)));
    }
}

void TestPatchChecks::theServerSendsNothing()
{
    const QString line =
        u"erro  servidor de atualizacoes: %1: o servidor nao enviou nada em 1 s. O "
        "launcher esperaria para sempre: tente mais tarde.\n"_s;
    server->answer("/manifest.json", HttpAnswer::withLength("{}").heldAt(HttpAnswer::beforeHeader));
    QCOMPARE(lines(PatchChecks::answersWithin(1000)), noProxy + line.arg(u"manifest.json"_s));
    publish(entry);
    server->answer("/f/a.bin", HttpAnswer::withLength("x").heldAt(HttpAnswer::beforeHeader));
    QCOMPARE(lines(PatchChecks::answersWithin(1000)),
             firstLines() + line.arg(u"a.bin"_s) + oneFile);
}

void TestPatchChecks::theServerClosesTheConnection()
{
    server->answer("/manifest.json", HttpAnswer::withLength("{}").cutAt(HttpAnswer::beforeHeader));
    QCOMPARE(lines(PatchChecks::server()),
             noProxy + u"erro  servidor de atualizacoes: manifest.json: a conexao foi recusada ou "
                       "interrompida (Connection closed). Tente mais tarde ou avise quem mantem o "
                       "servidor.\n"_s);
}

void TestPatchChecks::theServerRedirects()
{
    const QByteArray target = server->url(u"/new/manifest.json"_s).toLatin1();
    server->answer("/manifest.json", HttpAnswer::redirect(target));
    server->answer("/new/manifest.json", HttpAnswer::withLength("{}"));
    const QString found = lines(PatchChecks::server());
    QVERIFY2(
        found.contains(u"aviso servidor de atualizacoes: manifest.json: o servidor redireciona "
                       "para %1. Use o endereco novo em \"URL base do patch\".\n"_s.arg(
                           QString::fromLatin1(target))),
        qPrintable(found));
}

void TestPatchChecks::theServerRedirectsForever()
{
    server->answer("/manifest.json", HttpAnswer::redirect(manifestUrl().toLatin1()));
    const QString found = lines(PatchChecks::server());
    QVERIFY2(found.startsWith(noProxy +
                              u"erro  servidor de atualizacoes: manifest.json: o servidor "
                              "redireciona para um endereco que o launcher nao aceita ("_s),
             qPrintable(found));
    QVERIFY2(found.endsWith(u"). Avise quem mantem o servidor.\n"_s), qPrintable(found));
}

void TestPatchChecks::theManifestIsNotAJsonObject()
{
    server->answer("/manifest.json", HttpAnswer::withLength("[]"));
    QCOMPARE(lines(PatchChecks::server()),
             noProxy + u"erro  servidor de atualizacoes: a resposta de %1 nao e um manifest.json. "
                       "Confira \"URL base do patch\" em Configuracao.\n"_s.arg(manifestUrl()));
}

void TestPatchChecks::answersHaveNoLength()
{
    const QString line = u"aviso servidor de atualizacoes: %1: a resposta vem sem o tamanho: a "
                         "barra de progresso fica parada, e um download incompleto pode passar "
                         "despercebido. "
                         "Avise quem mantem o servidor.\n"_s;
    publish(entry);
    server->answer("/f/a.bin", HttpAnswer::withoutLength("x"));
    QCOMPARE(lines(PatchChecks::server()), firstLines() + line.arg(u"a.bin"_s) + oneFile);
    server->answer("/manifest.json",
                   HttpAnswer::chunked(R"({"version":"1.1","files":[)" + entry + "]}"));
    QCOMPARE(lines(PatchChecks::server()),
             firstLines() + line.arg(u"manifest.json"_s) + line.arg(u"a.bin"_s) + oneFile);
}

void TestPatchChecks::answersAreCompressed()
{
    publish(entry);
    server->answer("/f/a.bin", HttpAnswer::gzipped(QByteArray(1000, 'x')));
    QCOMPARE(lines(PatchChecks::server()),
             firstLines() +
                 u"aviso servidor de atualizacoes: a.bin: a resposta vem comprimida: a barra de "
                 "progresso fica parada, e um download incompleto pode passar despercebido. Avise "
                 "quem "
                 "mantem o servidor.\n"_s +
                 oneFile);
}

void TestPatchChecks::aFileIsMissing()
{
    publish(entry);
    QCOMPARE(
        lines(PatchChecks::server()),
        firstLines() +
            u"erro  servidor de atualizacoes: a.bin: o servidor respondeu com o codigo 404. "
            "Confira \"URL base do patch\" em Configuracao ou avise quem mantem o servidor.\n"_s +
            oneFile);
}

void TestPatchChecks::aFileIsEmpty()
{
    publish(entry);
    server->answer("/f/a.bin", HttpAnswer::withLength({}));
    QCOMPARE(lines(PatchChecks::server()), firstLines() + oneFile);
}

void TestPatchChecks::theCertificateIsNotAccepted()
{
    if (!Identity::obstacle().isEmpty()) {
        QSKIP(qPrintable(Identity::obstacle()));
    }
    const Identity own = Identity::make(u"IP:127.0.0.1"_s);
    const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
    server.emplace(own.forServer());
    set(u"patch/baseUrl"_s, server->url());
    publish({});
    const QString refused = lines(PatchChecks::server());
    QVERIFY2(refused.startsWith(noProxy + u"erro  servidor de atualizacoes: manifest.json: o "
                                          "certificado nao e aceito ("_s) &&
                 refused.endsWith(u"). Confira a data do computador e instale ca-certificates; se "
                                  "nao ajudar, avise quem mantem o servidor.\n"_s),
             qPrintable(refused));

    trust({own.certificate});
    const QString accepted = lines(PatchChecks::server());
    // A redirect to plain HTTP is not followed.
    HttpServer plain;
    server->answer("/manifest.json",
                   HttpAnswer::redirect(plain.url(u"/manifest.json"_s).toLatin1()));
    const QString redirected = lines(PatchChecks::server());
    QSslConfiguration::setDefaultConfiguration(before);
    QCOMPARE(accepted,
             noProxy + u"ok    servidor de atualizacoes: %1 responde.\n"
                       "ok    manifest.json: versao \"1.1\"; cada inicio baixa 0 arquivo(s), 0,0 "
                       "MiB.\n"_s.arg(manifestUrl()));
    QVERIFY2(redirected.contains(u"redireciona para um endereco que o launcher nao aceita ("_s),
             qPrintable(redirected));
}

void TestPatchChecks::onlyTheBeginningOfOneFileIsFetched()
{
    publish(entry + R"(,{"path":"b.bin","size":0})");
    // The rest of the body is never sent.
    server->answer("/f/a.bin", HttpAnswer::withLength(QByteArray(100000, 'x')).heldAt(1000));
    QVERIFY(!lines(PatchChecks::server()).contains(u"erro"_s));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/f/a.bin"}));
}

void TestPatchChecks::aFileLeavesTheClientFolder()
{
    publish(entry + R"(,{"path":"../x","size":0},{"path":"/etc/y","size":0})");
    server->answer("/f/a.bin", HttpAnswer::withLength("x"));
    QCOMPARE(lines(PatchChecks::server()),
             firstLines() + u"erro  manifest.json: 2 arquivo(s) seriam gravados fora da pasta do "
                            "cliente; o primeiro: \"../x\". Nao atualize a partir deste servidor.\n"
                            "ok    manifest.json: versao \"1.1\"; cada inicio baixa 3 arquivo(s), "
                            "1,5 MiB.\n"_s);
}

void TestPatchChecks::aPathLeavesTheClientFolder_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("leaves");
    QTest::newRow("a file") << u"a"_s << false;
    QTest::newRow("in a folder") << u"a/b"_s << false;
    QTest::newRow("through a folder and back") << u"a/../b"_s << false;
    QTest::newRow("a name that begins with dots") << u"..a/b"_s << false;
    QTest::newRow("the folder above") << u".."_s << true;
    QTest::newRow("a file above") << u"../a"_s << true;
    QTest::newRow("a file above, hidden") << u"a/../../b"_s << true;
    QTest::newRow("absolute") << u"/a"_s << true;
    QTest::newRow("a resource") << u":/a"_s << true;
}

void TestPatchChecks::aPathLeavesTheClientFolder()
{
    QFETCH(const QString, path);
    QTEST(PatchChecks::leavesFolder(path), "leaves");
}

void TestPatchChecks::aFileHasNoSize()
{
    publish(entry + R"(,{"path":"b"})");
    server->answer("/f/a.bin", HttpAnswer::withLength("x"));
    QVERIFY(lines(PatchChecks::server())
                .endsWith(u"cada inicio baixa 2 arquivo(s), 1,5 MiB sem contar 1 de tamanho "
                          "desconhecido.\n"_s));
}

void TestPatchChecks::aProxyIsUsed()
{
    // The network library uses no proxy for loopback addresses.
    qputenv("http_proxy", server->url().toLatin1());
    set(u"patch/baseUrl"_s, u"http://patch.invalid/"_s);
    server->answer("http://patch.invalid/manifest.json", HttpAnswer::withLength("{}"));
    const QString line = u"aviso proxy: as atualizacoes passam por 127.0.0.1:%1. Se elas falharem, "
                         "confira http_proxy, https_proxy e no_proxy.\n"_s;
    const QString found = lines(PatchChecks::server());
    QVERIFY2(
        found.startsWith(
            line.arg(QUrl(server->url()).port()) +
            u"ok    servidor de atualizacoes: http://patch.invalid/manifest.json responde.\n"_s),
        qPrintable(found));
    qputenv("http_proxy", "http://127.0.0.1:1");
    // Whether Qt blames the server or the proxy depends on its release.
    const QString down = lines(PatchChecks::server());
    QVERIFY2(down.startsWith(line.arg(1) + u"erro  servidor de atualizacoes: manifest.json: "_s) &&
                 down.contains(u"Connection refused"_s),
             qPrintable(down));
    qunsetenv("http_proxy");

    // With https, the proxy receives a CONNECT request.
    qputenv("https_proxy", server->url().toLatin1());
    set(u"patch/baseUrl"_s, u"https://patch.invalid/"_s);
    const QString refused = lines(PatchChecks::server());
    qunsetenv("https_proxy");
    QVERIFY2(refused.startsWith(line.arg(QUrl(server->url()).port()) +
                                u"erro  servidor de atualizacoes: manifest.json: "_s),
             qPrintable(refused));
    QVERIFY(server->paths().constLast() == "patch.invalid:443");
}

void TestPatchChecks::namesAndPasswordsAreNotShown()
{
    QString url = server->url();
    set(u"patch/baseUrl"_s, url.replace(u"//"_s, u"//eva:secret@"_s));
    server->answer("/new", HttpAnswer::withLength("{}"));
    for (const auto &[answer, shown] :
         {std::pair{HttpAnswer::withLength("{}"), u"responde"_s},
          {HttpAnswer::withLength("[]"), u"nao e um manifest.json"_s},
          {HttpAnswer::redirect(url.toLatin1() + "/new"), u"redireciona para http"_s}}) {
        server->answer("/manifest.json", answer);
        const QString found = lines(PatchChecks::server());
        QVERIFY2(found.contains(shown) && !found.contains(u"secret"_s) && !found.contains(u"eva"_s),
                 qPrintable(found));
    }
}

ZEL_TEST_MAIN(TestPatchChecks)

#include "tst_patchchecks.moc"
