#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

/// A real web server, with configuration, logs and temporary files of its own, on free ports of
/// 127.0.0.1. It ends with the object.
class WebServer
{
public:
    virtual ~WebServer();
    Q_DISABLE_COPY_MOVE(WebServer)

    /// Starts it again, on the same ports, after stop() or kill().
    bool restart();
    void stop();
    /// Kills it with SIGKILL.
    void kill();

    /// Base URLs, with "/" at their end.
    QString url() const;
    QString tlsUrl() const;

protected:
    WebServer() = default;

    /// Starts it on free ports. Returns false, with what it says in @p error, when it does not
    /// start.
    bool start(QString *error);

    /// The path of a server's program; empty when the machine has none.
    static QString find(const QString &name);
    /// The configuration for the next start, in which @DIR@ is the server's own folder, and @PORT@
    /// and @TLSPORT@ are its ports.
    virtual QString configuration() const = 0;
    /// The command that runs it in the foreground with a configuration file. It writes "pid" in
    /// its folder when it has the ports.
    virtual QStringList command(const QString &configurationFile) const = 0;
    QString fileOf(const QString &name) const { return dir.filePath(name); }

private:
    bool startOnPorts();

    QTemporaryDir dir;
    QProcess process;
    quint16 port = 0;
    quint16 tlsPort = 0;
};
