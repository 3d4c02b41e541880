#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

/// A real web server on free ports of 127.0.0.1, with its own configuration, logs and temporary
/// files. It ends with the object.
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

    /// Starts it on free ports. If it does not start, returns false and sets @p error to its
    /// output.
    bool start(QString *error);

    /// The path of a server's program; empty if it is not installed.
    static QString find(const QString &name);
    /// The configuration for the next start. Its placeholders are @DIR@ for the server's folder,
    /// @PORT@ and @TLSPORT@.
    virtual QString configuration() const = 0;
    /// The command that runs it in the foreground with a configuration file. Once the server has
    /// the ports, it writes the file "pid" into its folder.
    virtual QStringList command(const QString &configurationFile) const = 0;
    QString fileOf(const QString &name) const { return dir.filePath(name); }

private:
    bool startOnPorts();

    QTemporaryDir dir;
    QProcess process;
    quint16 port = 0;
    quint16 tlsPort = 0;
};
