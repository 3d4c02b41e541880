#include "support/network/Identity.h"

#include <QProcess>
#include <QSslSocket>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "support/files/Disk.h"

using namespace Qt::StringLiterals;

Identity Identity::make(const QString &subject)
{
    const QTemporaryDir dir;
    const QString keyPath = dir.filePath(u"key.pem"_s);
    QProcess openssl;
    openssl.start(u"openssl"_s, {u"req"_s, u"-x509"_s, u"-newkey"_s, u"rsa:2048"_s, u"-nodes"_s,
                                 u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=test"_s, u"-addext"_s,
                                 u"subjectAltName="_s + subject, u"-keyout"_s, keyPath});
    if (!openssl.waitForFinished() || openssl.exitCode() != 0) {
        qFatal("openssl creates no certificate: %s", openssl.readAllStandardError().constData());
    }
    return {QSslCertificate(openssl.readAllStandardOutput()),
            QSslKey(Disk::read(keyPath), QSsl::Rsa)};
}

QString Identity::obstacle()
{
    if (!QSslSocket::supportsSsl()) {
        return u"the network library has no TLS"_s;
    }
    return QStandardPaths::findExecutable(u"openssl"_s).isEmpty() ? u"openssl is missing"_s
                                                                  : QString();
}

QSslConfiguration Identity::forServer() const
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(certificate);
    configuration.setPrivateKey(key);
    return configuration;
}

void trust(const QList<QSslCertificate> &certificates)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(certificates);
    QSslConfiguration::setDefaultConfiguration(configuration);
}
