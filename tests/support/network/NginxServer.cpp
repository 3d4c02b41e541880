#include "support/network/NginxServer.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>

#include <csignal>
#include <sys/prctl.h>

#include "support/Timeouts.h"
#include "support/files/Disk.h"

using namespace Qt::StringLiterals;

namespace
{

const char *const configuration = R"(
daemon off;
master_process off;
pid %1/nginx.pid;
error_log %1/error.log;
events {}
http {
    log_format requests '$request';
    access_log %1/access.log requests;
    client_body_temp_path %1/body;
    proxy_temp_path %1/proxy;
    fastcgi_temp_path %1/fastcgi;
    uwsgi_temp_path %1/uwsgi;
    scgi_temp_path %1/scgi;
    large_client_header_buffers 4 16k;
    server {
        listen 127.0.0.1:%2;
        root "%3";
        limit_rate %4;
    }
}
)";

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

NginxServer::~NginxServer()
{
    stop();
}

QString NginxServer::program()
{
    const QString name = u"nginx"_s;
    const QString found = QStandardPaths::findExecutable(name);
    // On Debian it is not on a user's PATH.
    return found.isEmpty() ? QStandardPaths::findExecutable(name, {u"/usr/sbin"_s}) : found;
}

bool NginxServer::start(const QString &root, QString *error)
{
    // Another program may take the port before nginx starts.
    for (int attempt = 0; attempt < 10; ++attempt) {
        if (startOn(freePort(), root)) {
            return true;
        }
        *error = QString::fromLocal8Bit(process.readAllStandardError());
        stop();
    }
    return false;
}

bool NginxServer::restart()
{
    return startOn(port, servedRoot);
}

void NginxServer::stop()
{
    process.terminate();
    if (!process.waitForFinished(Timeouts::programMs)) {
        kill();
    }
}

void NginxServer::kill()
{
    process.kill();
    process.waitForFinished();
    QFile::remove(pidFile()); // what start() goes by
}

QString NginxServer::url() const
{
    return u"http://127.0.0.1:%1/"_s.arg(port);
}

QList<QByteArray> NginxServer::requests() const
{
    QFile log(dir.filePath(u"access.log"_s));
    if (!log.open(QIODevice::ReadOnly)) {
        return {};
    }
    QList<QByteArray> lines = log.readAll().split('\n');
    lines.removeLast(); // what follows the last line break
    return lines;
}

QString NginxServer::pidFile() const
{
    return dir.filePath(u"nginx.pid"_s);
}

bool NginxServer::startOn(quint16 freePort, const QString &root)
{
    port = freePort;
    servedRoot = root;
    const QString file = dir.filePath(u"nginx.conf"_s);
    Disk::write(file, QString::fromLatin1(configuration)
                          .arg(dir.path(), QString::number(port), root, QString::number(rate))
                          .toUtf8());
    // End it even if the test is killed.
    process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    process.start(program(),
                  {u"-p"_s, dir.path(), u"-c"_s, file, u"-e"_s, dir.filePath(u"error.log"_s)});

    const QDeadlineTimer deadline(Timeouts::programMs);
    while (!deadline.hasExpired() && !process.waitForFinished(10)) {
        // The file says that this nginx has the port, not another program.
        if (QFile::exists(pidFile())) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
            if (socket.waitForConnected(Timeouts::replyMs)) {
                return true;
            }
        }
    }
    return false;
}
