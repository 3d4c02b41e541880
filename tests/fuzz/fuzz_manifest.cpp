// The input is a "manifest.json", served to a real update run over HTTP in this process.

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QSet>
#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>

#include "FuzzTarget.h"
#include "patch/PatchManager.h"
#include "settings/LauncherSettings.h"

using Fuzz::require;

namespace
{

/// Paths that @p manifest lists, read the way an update reads them.
QStringList listedPaths(const QByteArray &manifest)
{
    QStringList paths;
    for (const QJsonValue &file :
         QJsonDocument::fromJson(manifest).object().value(u"files").toArray()) {
        const QString path = file.toObject().value(u"path").toString();
        if (!path.isEmpty()) {
            paths += path;
        }
    }
    return paths;
}

/// True when @p path cannot leave the folder that it is joined to, not even if truncated at a NUL
/// character. An update uses paths unchanged, so the server must not send a file for any other.
bool staysInside(const QString &path)
{
    const QString parent = QStringLiteral("..");
    return !path.startsWith(u'/') && !path.startsWith(u':') && !path.split(u'/').contains(parent) &&
           !path.left(path.indexOf(QChar::Null)).split(u'/').contains(parent);
}

/// A patch server for one manifest at a time.
class PatchServer : public QTcpServer
{
public:
    PatchServer()
    {
        require(listen(QHostAddress::LocalHost), "the server listens");
        connect(this, &QTcpServer::newConnection, this, &PatchServer::accept);
    }

    QString url() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }

    /// Serves @p body as the manifest. The files that it lists exist on this server only when
    /// @p hasFiles is set.
    void publish(const QByteArray &body, bool hasFiles)
    {
        manifest = body;
        filesExist = hasFiles;
        requests = 0;
    }

    /// Body of the @p n-th file that was requested.
    static QByteArray fileBody(int n) { return "file " + QByteArray::number(n); }

private:
    void accept()
    {
        QTcpSocket *const socket = nextPendingConnection();
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(socket); });
        connect(socket, &QTcpSocket::disconnected, socket, &QTcpSocket::deleteLater);
    }

    void answer(QTcpSocket *socket)
    {
        while (socket->canReadLine()) {
            if (socket->readLine() == "\r\n") { // the end of one request's header
                const int n = requests++;
                const bool exists = n == 0 || filesExist;
                const QByteArray body = n == 0 ? manifest : fileBody(n);
                socket->write((exists ? "HTTP/1.1 200 OK" : "HTTP/1.1 404 Not Found") +
                              QByteArrayLiteral("\r\nContent-Length: ") +
                              QByteArray::number(body.size()) + "\r\n\r\n" + body);
            }
        }
    }

    QByteArray manifest;
    bool filesExist = false;
    int requests = 0;
};

/// The launcher's updater, with checks of its signals.
class Updater : public PatchManager
{
public:
    Updater()
    {
        connect(this, &PatchManager::statusChanged, this,
                [this] { require(isRunning, "no status outside a run"); });
        connect(this, &PatchManager::progressChanged, this, [this](int percent) {
            require(isRunning, "no progress outside a run");
            require(percent >= progress && percent <= 100, "progress goes from 0 to 100");
            progress = percent;
        });
        connect(this, &PatchManager::finished, this, [this](bool success, const QString &message) {
            require(isRunning, "one end of a run");
            require(!success || progress == 100, "a success ends at 100 percent");
            isRunning = false;
            succeeded = success;
            lastMessage = message;
            loop.quit();
        });
    }

    /// Runs an update to its end; true when it succeeded.
    bool run()
    {
        isRunning = true;
        progress = 0;
        checkAndUpdate();
        if (isRunning) {
            loop.exec();
        }
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return succeeded;
    }

    QString message() const { return lastMessage; }

private:
    QEventLoop loop;
    bool isRunning = false;
    bool succeeded = false;
    int progress = 0;
    QString lastMessage;
};

/// Names of the files under @p folder as raw bytes.
QSet<QByteArray> filesUnder(const QString &folder)
{
    QSet<QByteArray> names;
    QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::System,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        names += QFile::encodeName(files.next());
    }
    return names;
}

/// Checks the client folder after a run in which the server had every file.
void requireStored(const QDir &client, const QStringList &paths, bool success)
{
    QSet<QByteArray> named;
    for (const QString &path : paths) {
        named += QFile::encodeName(QDir::cleanPath(client.filePath(path)));
    }
    const QSet<QByteArray> found = filesUnder(Fuzz::path(QStringLiteral("root")));
    require(named.contains(found), "no file but those that the manifest names");
    require(!success || found == named, "after a success every file is there");
    if (success) {
        require(Disk::read(client.filePath(paths.last())) ==
                    PatchServer::fileBody(int(paths.size())),
                "a file holds what the server sent");
    }
}

bool isKnownEnd(bool success, const QString &message)
{
    static const QStringList ends{QStringLiteral("Cliente ja esta atualizado."),
                                  QStringLiteral("Versao verificada. Nenhum arquivo para baixar."),
                                  QStringLiteral("Atualizacao concluida.")};
    static const QStringList failures{
        QStringLiteral("manifest.json invalido."), QStringLiteral("URL invalida para "),
        QStringLiteral("Falha ao baixar "), QStringLiteral("Nao foi possivel gravar "),
        QStringLiteral("Falha ao salvar ")};
    return success ? ends.contains(message)
                   : std::any_of(failures.begin(), failures.end(),
                                 [&](const QString &start) { return message.startsWith(start); });
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    // Never destroyed, like the application.
    static PatchServer &server = *new PatchServer;
    static Updater &updater = *new Updater;
    static const QDir client(Fuzz::path(QStringLiteral("root/client")));
    static LauncherSettings &settings = LauncherSettings::instance();

    const QStringList paths = listedPaths(input);
    const bool hasFiles = std::all_of(paths.begin(), paths.end(), staysInside);
    server.publish(input, hasFiles);
    require(client.mkpath(QStringLiteral(".")), "the client folder is made");
    settings.localVersion = QStringLiteral("1.0.0");

    updater.clientDir = client.path();
    updater.baseUrl = server.url();
    const bool success = updater.run();

    require(isKnownEnd(success, updater.message()), "a run ends with one of its messages");
    require(success || settings.localVersion == QStringLiteral("1.0.0"),
            "a failed run leaves the version untouched");
    require(updater.findChildren<QNetworkReply *>().isEmpty(), "every reply is released");
    if (paths.isEmpty()) {
        require(success == QJsonDocument::fromJson(input).isObject(),
                "without files only an invalid manifest fails");
    }
    require(!success || hasFiles, "no success without the files");
    if (hasFiles && !paths.isEmpty()) {
        requireStored(client, paths, success);
        require(QDir(Fuzz::path(QStringLiteral("root"))).removeRecursively(),
                "the client folder is cleared");
    } else {
        require(filesUnder(Fuzz::path(QStringLiteral("root"))).isEmpty(), "nothing was written");
    }
}
