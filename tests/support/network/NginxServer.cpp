#include "support/network/NginxServer.h"

#include <QFile>

using namespace Qt::StringLiterals;

bool NginxServer::start(const QString &root, QString *error)
{
    return startServers(u"server { listen 127.0.0.1:@PORT@; root \"%1\"; }"_s.arg(root), error);
}

bool NginxServer::startServers(const QString &blocks, QString *error)
{
    servers = blocks;
    return WebServer::start(error);
}

QList<QByteArray> NginxServer::requests() const
{
    QFile log(fileOf(u"access.log"_s));
    if (!log.open(QIODevice::ReadOnly)) {
        return {};
    }
    QList<QByteArray> lines = log.readAll().split('\n');
    lines.removeLast(); // empty, after the last line break
    return lines;
}

QString NginxServer::configuration() const
{
    return uR"(
daemon off;
master_process off;
pid @DIR@/pid;
error_log @DIR@/error.log;
events {}
http {
    log_format requests '$request';
    access_log @DIR@/access.log requests;
    client_body_temp_path @DIR@/body;
    proxy_temp_path @DIR@/proxy;
    fastcgi_temp_path @DIR@/fastcgi;
    uwsgi_temp_path @DIR@/uwsgi;
    scgi_temp_path @DIR@/scgi;
    large_client_header_buffers 4 16k;
    limit_rate %1;
    %2
}
)"_s.arg(QString::number(rate), servers);
}

QStringList NginxServer::command(const QString &configurationFile) const
{
    return {program(),
            u"-p"_s,
            fileOf({}),
            u"-c"_s,
            configurationFile,
            u"-e"_s,
            fileOf(u"error.log"_s)};
}
