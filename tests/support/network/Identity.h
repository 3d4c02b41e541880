#pragma once

#include <QList>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QString>

/// A self-signed certificate and its key.
struct Identity {
    QSslCertificate certificate;
    QSslKey key;

    /// Creates one with the subject alternative names @p subject, such as "IP:127.0.0.1", or aborts
    /// the test.
    static Identity make(const QString &subject);
    /// Why make() is not possible; empty if it is.
    static QString obstacle();

    QSslConfiguration forServer() const;
};

/// Lets later requests of this process trust @p certificates only.
void trust(const QList<QSslCertificate> &certificates);
