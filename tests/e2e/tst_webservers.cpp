#include "support/files/Disk.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include "support/network/ApacheServer.h"
#include "support/network/Identity.h"
#include "support/network/NginxServer.h"
#include "zel-manifest/PatchCheck.h"

using namespace Qt::StringLiterals;

namespace
{

// The servers publish the same files below each of these folders, in different ways.

const char *const nginxServer = R"(
    server {
        listen 127.0.0.1:@PORT@;
        listen 127.0.0.1:@TLSPORT@ ssl;
        ssl_certificate %2;
        ssl_certificate_key %3;
        types {
            text/html html;
            text/plain txt;
            application/javascript js;
            image/svg+xml svg;
        }
        add_header Cache-Control no-cache;
        error_page 404 =200 /page/index.html;
        location /good/ {
            alias %1/;
        }
        location /compressed/ {
            alias %1/;
            gzip on;
            gzip_types *;
        }
        location /chunked/ {
            alias %1/;
            ssi on;
            ssi_types *;
        }
        location /endless/ {
            alias %1/;
            ssi on;
            ssi_types *;
            chunked_transfer_encoding off;
        }
        location /redirected/ {
            rewrite ^/redirected/(.*)$ /good/$1 redirect;
        }
        location /kept/ {
            alias %1/;
            expires 1h;
            add_header X-Other value; # replaces the headers of the server block
        }
        location /silent/ {
            alias %1/;
            add_header X-Other value; # replaces the headers of the server block
        }
        location /page/ {
            alias %1/incomplete/;
        }
    }
)";

const char *const apacheServer = R"(
    AddType text/html .html
    AddType text/plain .txt
    AddType application/javascript .js
    AddType image/svg+xml .svg
    AliasMatch ^/(good|compressed|chunked|endless|kept|silent)/(.*) %1/$2
    Alias /page/ %1/incomplete/
    <LocationMatch ^/(good|compressed|chunked|endless|page)/>
        Header set Cache-Control no-cache
    </LocationMatch>
    <Location /compressed/>
        SetOutputFilter DEFLATE
    </Location>
    <LocationMatch ^/(chunked|endless)/>
        Options +Includes
        SetOutputFilter INCLUDES
    </LocationMatch>
    SetEnvIf Request_URI ^/endless/ downgrade-1.0
    RedirectMatch ^/redirected/(.*) /good/$1
    <Location /kept/>
        Header set Cache-Control max-age=3600
    </Location>
    <Directory %1/incomplete/>
        FallbackResource /page/index.html
    </Directory>

    # A cache that compresses every answer without "no-transform".
    SSLProxyEngine on
    SSLProxyCheckPeerName off
    ProxyPass /cache/guide/ %2
    ProxyPass /cache/other/ %3
    FilterDeclare compress CONTENT_SET
    FilterProvider compress DEFLATE true
    FilterProtocol compress "proxy=transform change=yes"
    <Location /cache/>
        FilterChain compress
    </Location>
)";

const char *const frontServer = R"(
    server {
        listen 127.0.0.1:@PORT@;
        listen 127.0.0.1:@TLSPORT@ ssl http2;
        ssl_certificate %1;
        ssl_certificate_key %2;
        proxy_http_version 1.1;
        location / {
            proxy_pass %3;
        }
        location /compressed-here/ {
            proxy_pass %3good/;
            gzip on;
            gzip_proxied any;
            gzip_types *;
        }

        # A cache that compresses text.
        location /cache/guide/ {
            proxy_pass %4;
            gzip on;
            gzip_proxied any;
            gzip_types text/plain text/css application/json application/javascript image/svg+xml;
        }
        location /cache/other/ {
            proxy_pass %5;
            gzip on;
            gzip_proxied any;
            gzip_types text/plain text/css application/json application/javascript image/svg+xml;
        }
    }
)";

/// The guide's configuration of nginx.
QString guidesServer()
{
    const QString guide =
        QString::fromUtf8(Disk::read(QStringLiteral(ZEL_SOURCES "/docs/operators.md")));
    static const QRegularExpression block(u"\n```nginx\n(.*?)\n```\n"_s,
                                          QRegularExpression::DotMatchesEverythingOption);
    return block.match(guide).captured(1);
}

} // namespace

/// The check of published patches on real web servers with good and bad configurations.
class TestWebServers : public TestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void theFaultsOfAServerAreSeen_data();
    void theFaultsOfAServerAreSeen();
    void theGuidesServerSpeaksNoHttp2();

private:
    void publish(const QString &folder, const QStringList &names) const;
    /// The names of the faults and the differences that the check reports.
    QString check(const QString &baseUrl) const;

    QTemporaryDir dir;
    NginxServer guide;
    NginxServer nginx;
    ApacheServer apache;
    NginxServer front; // HTTP/2 in front of Apache
};

void TestWebServers::initTestCase()
{
    if (NginxServer::program().isEmpty() || ApacheServer::program().isEmpty()) {
        QSKIP("needs nginx and Apache");
    }
    if (!Identity::obstacle().isEmpty()) {
        QSKIP(qPrintable(Identity::obstacle()));
    }
    const Identity own = Identity::make(u"IP:127.0.0.1"_s);
    trust({own.certificate});
    const QString certificate = dir.filePath(u"certificate.pem"_s);
    const QString key = dir.filePath(u"key.pem"_s);
    Disk::write(certificate, own.certificate.toPem());
    Disk::write(key, own.key.toPem());

    const QString site = dir.filePath(u"site"_s);
    QStringList names{u"empty"_s};
    for (const char *suffix : {"bin", "html", "txt", "js", "svg", "gz", "tar.gz", "pak"}) {
        names.append(u"a file."_s + QLatin1String(suffix));
        Disk::write(site + u"/releases/1/"_s + names.constLast(), QByteArray(20'000, 'x'));
    }
    Disk::write(site + u"/releases/1/empty"_s, {});
    // A shorter file would pass the filters of Apache in one piece, so that its length is known.
    Disk::write(site + u"/releases/1/a file.bin"_s, QByteArray(5'000'000, 'x'));
    publish(site, names);
    Disk::write(site + u"/incomplete/index.html"_s, "<html>not here</html>");
    publish(site + u"/incomplete"_s, {u"a file.pak"_s});
    // Apache reads it as another user when the test runs as root.
    QFile::setPermissions(dir.path(),
                          QFile::permissions(dir.path()) | QFile::ReadOther | QFile::ExeOther);

    QString error;
    QString guides = guidesServer();
    guides.replace(u"/srv/zel-patch"_s, site)
        .replace(u"/etc/ssl/patch.example.org/fullchain.pem"_s, certificate)
        .replace(u"/etc/ssl/patch.example.org/privkey.pem"_s, key)
        .replace(u" 80;"_s, u" 127.0.0.1:@PORT@;"_s)
        .replace(u" 443 "_s, u" 127.0.0.1:@TLSPORT@ "_s)
        .remove(QRegularExpression(u"listen \\[::\\].*;"_s));
    QVERIFY2(guide.startServers(guides, &error), qPrintable(error));
    QVERIFY2(
        nginx.startServers(QString::fromLatin1(nginxServer).arg(site, certificate, key), &error),
        qPrintable(error));
    QVERIFY2(apache.start(QString::fromLatin1(apacheServer)
                              .arg(site, guide.tlsUrl(), nginx.tlsUrl() + u"good/"_s),
                          certificate, key, &error),
             qPrintable(error));
    QVERIFY2(front.startServers(QString::fromLatin1(frontServer)
                                    .arg(certificate, key, apache.url(), guide.tlsUrl(),
                                         nginx.tlsUrl() + u"good/"_s),
                                &error),
             qPrintable(error));
}

void TestWebServers::publish(const QString &folder, const QStringList &names) const
{
    Manifest manifest;
    manifest.version = u"1"_s;
    for (const QString &name : names) {
        const QByteArray content = Disk::read(dir.filePath(u"site/releases/1/"_s + name));
        manifest.files.append(
            {name, u"releases/1/"_s + Manifest::urlOf(name.toUtf8()), content.size(),
             QString::fromLatin1(
                 QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex())});
    }
    Disk::write(folder + u"/manifest.json"_s, manifest.toJson());
}

QString TestWebServers::check(const QString &baseUrl) const
{
    QStringList found;
    PatchCheck check(baseUrl, 30000, [&found](const Finding &finding) {
        found.append(finding.path.isEmpty() ? finding.text.section(u": "_s, 0, 0) : finding.text);
    });
    if (check.fetchManifest() && check.readManifest()) {
        check.compareFiles();
    }
    check.reportFaults(Finding::Warning);
    return found.join(u"; "_s);
}

void TestWebServers::theFaultsOfAServerAreSeen_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("faults");
    const QString compressed = u"compressed"_s;
    const QString chunked = u"in chunks"_s;
    const QString endless = u"without a length"_s;
    const QString kept = u"may be kept by caches"_s;
    const auto rows = [&](const char *server, const QString &plainUrl, const QString &url,
                          const QString &whenChunked, const QString &whenEndless) {
        const auto row = [&](const QString &folder, const QString &faults) {
            QTest::addRow("%s, %s", server, qPrintable(folder)) << url + folder + u'/' << faults;
        };
        QTest::addRow("%s over http", server) << plainUrl + u"good/"_s << u"over http"_s;
        row(u"good"_s, {});
        row(u"compressed"_s, compressed);
        row(u"chunked"_s, whenChunked);
        row(u"endless"_s, whenEndless);
        row(u"redirected"_s, u"redirected"_s);
        row(u"kept"_s, kept);
        row(u"silent"_s, kept);
        row(u"page"_s, u"21 bytes are published, 20000 are listed; a web page (text/html)"_s);
    };
    QTest::newRow("the guide's nginx") << guide.tlsUrl() << QString();
    rows("nginx", nginx.url(), nginx.tlsUrl(), chunked, endless);
    rows("Apache", apache.url(), apache.tlsUrl(), chunked, endless);
    // HTTP/2 has no chunks.
    rows("nginx in front of Apache", front.url(), front.tlsUrl(), endless, endless);
    QTest::newRow("nginx that compresses what Apache sends")
        << front.tlsUrl() + u"compressed-here/"_s << compressed;
    for (const auto &[name, url] :
         {std::pair{"Apache", apache.tlsUrl()}, std::pair{"nginx", front.tlsUrl()}}) {
        QTest::addRow("a cache, %s, in front of the guide's nginx", name)
            << url + u"cache/guide/"_s << QString();
        QTest::addRow("a cache, %s, in front of another server", name)
            << url + u"cache/other/"_s << compressed;
    }
}

void TestWebServers::theFaultsOfAServerAreSeen()
{
    QFETCH(const QString, url);
    QTEST(check(url), "faults");
}

void TestWebServers::theGuidesServerSpeaksNoHttp2()
{
    QTRY_COMPARE(guide.requests().value(0), "GET /manifest.json HTTP/1.1"_ba);
}

ZEL_TEST_MAIN(TestWebServers)

#include "tst_webservers.moc"
