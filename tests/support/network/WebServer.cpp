#include "support/network/WebServer.h"

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

WebServer::~WebServer()
{
    stop();
}

bool WebServer::start(QString *error)
{
    // Another program may take a port before the server starts.
    for (int attempt = 0; attempt < 10; ++attempt) {
        QTcpServer first;
        QTcpServer second;
        first.listen(QHostAddress::LocalHost);
        second.listen(QHostAddress::LocalHost);
        port = first.serverPort();
        tlsPort = second.serverPort();
        first.close();
        second.close();
        if (startOnPorts()) {
            return true;
        }
        *error = QString::fromLocal8Bit(process.readAllStandardError());
        stop();
    }
    return false;
}

bool WebServer::restart()
{
    return startOnPorts();
}

void WebServer::stop()
{
    process.terminate();
    if (!process.waitForFinished(Timeouts::programMs)) {
        kill();
    }
}

void WebServer::kill()
{
    process.kill();
    process.waitForFinished();
    QFile::remove(fileOf(u"pid"_s)); // startOnPorts() waits for it
}

QString WebServer::url() const
{
    return u"http://127.0.0.1:%1/"_s.arg(port);
}

QString WebServer::tlsUrl() const
{
    return u"https://127.0.0.1:%1/"_s.arg(tlsPort);
}

QString WebServer::find(const QString &name)
{
    const QString found = QStandardPaths::findExecutable(name);
    // On Debian it is not on the PATH of a user.
    return found.isEmpty() ? QStandardPaths::findExecutable(name, {u"/usr/sbin"_s}) : found;
}

bool WebServer::startOnPorts()
{
    const QString file = fileOf(u"configuration"_s);
    Disk::write(file, configuration()
                          .replace(u"@DIR@"_s, dir.path())
                          .replace(u"@PORT@"_s, QString::number(port))
                          .replace(u"@TLSPORT@"_s, QString::number(tlsPort))
                          .toUtf8());
    // End it even if the test is killed.
    process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    QStringList arguments = command(file);
    const QString program = arguments.takeFirst();
    process.start(program, arguments);

    const QDeadlineTimer deadline(Timeouts::programMs);
    while (!deadline.hasExpired() && !process.waitForFinished(10)) {
        // The PID file shows that this server, not another program, listens on the port.
        if (QFile::exists(fileOf(u"pid"_s))) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
            if (socket.waitForConnected(Timeouts::replyMs)) {
                return true;
            }
        }
    }
    return false;
}
