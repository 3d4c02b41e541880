#pragma once

#include <QList>

#include "support/network/WebServer.h"

/// A real nginx.
class NginxServer : public WebServer
{
public:
    /// The program's path; empty if nginx is not installed.
    static QString program() { return find(QStringLiteral("nginx")); }

    /// Serves the folder @p root.
    bool start(const QString &root, QString *error);
    /// Serves the server blocks @p servers, which may contain the placeholders of configuration().
    bool startServers(const QString &servers, QString *error);

    /// Limits each answer to @p bytesPerSecond after the next start; 0 is no limit.
    void setRate(int bytesPerSecond) { rate = bytesPerSecond; }

    /// The request lines so far, oldest first. nginx logs a line shortly after the last byte of the
    /// answer.
    QList<QByteArray> requests() const;

protected:
    QString configuration() const override;
    QStringList command(const QString &configurationFile) const override;

private:
    QString servers;
    int rate = 0;
};
