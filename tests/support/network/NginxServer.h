#pragma once

#include <QList>

#include "support/network/WebServer.h"

/// A real nginx.
class NginxServer : public WebServer
{
public:
    /// The program's path; empty when the machine has no nginx.
    static QString program() { return find(QStringLiteral("nginx")); }

    /// Serves the folder @p root.
    bool start(const QString &root, QString *error);
    /// Serves what the server blocks @p servers say, with the placeholders of configuration().
    bool startServers(const QString &servers, QString *error);

    /// Limits each answer to @p bytesPerSecond from the next start on; 0 is no limit.
    void setRate(int bytesPerSecond) { rate = bytesPerSecond; }

    /// What was asked for so far, as the first lines of the requests, oldest first. A line is there
    /// shortly after the last byte of its answer.
    QList<QByteArray> requests() const;

protected:
    QString configuration() const override;
    QStringList command(const QString &configurationFile) const override;

private:
    QString servers;
    int rate = 0;
};
