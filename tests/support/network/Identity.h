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

    /// Makes one with the subject alternative names @p subject, such as "IP:127.0.0.1". Aborts the
    /// test when it cannot.
    static Identity make(const QString &subject);
    /// Why a test can make none; empty when it can.
    static QString obstacle();

    QSslConfiguration forServer() const;
};

/// Lets later requests of this process trust @p certificates only.
void trust(const QList<QSslCertificate> &certificates);
