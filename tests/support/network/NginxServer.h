#pragma once

#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

/// A real nginx, with configuration, logs and temporary files of its own, that serves one folder
/// on a free port of 127.0.0.1. It ends with the object.
class NginxServer
{
public:
    NginxServer() = default;
    ~NginxServer();
    Q_DISABLE_COPY_MOVE(NginxServer)

    /// The program's path; empty when the machine has no nginx.
    static QString program();

    /// Serves @p root. Returns false, with what nginx says in @p error, when it does not start.
    bool start(const QString &root, QString *error);
    /// Serves the same folder again, on the same port, after stop() or kill().
    bool restart();
    void stop();
    /// Kills it with SIGKILL.
    void kill();

    /// Limits each answer to @p bytesPerSecond from the next start on; 0 is no limit.
    void setRate(int bytesPerSecond) { rate = bytesPerSecond; }

    /// Base URL, with "/" at its end.
    QString url() const;

    /// What was asked for so far, as the first lines of the requests, oldest first. A line is there
    /// shortly after the last byte of its answer.
    QList<QByteArray> requests() const;

private:
    QString pidFile() const;
    bool startOn(quint16 freePort, const QString &root);

    QTemporaryDir dir;
    QProcess process;
    QString servedRoot;
    quint16 port = 0;
    int rate = 0;
};
