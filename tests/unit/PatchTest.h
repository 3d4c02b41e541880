#pragma once

#include "support/TestMain.h"
#include "support/files/Disk.h"
#include "support/network/HttpServer.h"

#include <QMap>
#include <QNetworkReply>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <optional>

#include "patch/PatchManager.h"

using namespace Qt::StringLiterals;

/// The signals of a PatchManager in their order, one line each: "status Verificando versao...",
/// "progress 33", "finished true Atualizacao concluida.".
class SignalLog : public QObject
{
    Q_OBJECT

public:
    explicit SignalLog(PatchManager *manager);

    const QStringList &lines() const { return allLines; }
    /// The lines without consecutive duplicates: how often Qt reports the same progress varies.
    QStringList linesOnce() const;
    /// The lines that begin with @p word.
    QStringList linesOf(const QString &word) const;
    int finishedCount() const { return int(linesOf(u"finished"_s).size()); }
    QString last() const { return allLines.isEmpty() ? QString() : allLines.last(); }
    void clear() { allLines.clear(); }

    /// Runs after each line, inside the signal; the line is already in the list.
    std::function<void(const QString &line)> onLine;

private:
    void append(const QString &line);

    QStringList allLines;
};

/// One entry of a manifest; a null url is left out of the JSON.
struct Listed {
    QString path;
    std::optional<QString> url;
};

/// Contents of files by name.
using Files = QMap<QString, QByteArray>;

/// Base of the tests of PatchManager: a web server in its own thread, an empty client folder, a
/// manager that uses both, and settings with version "1.0.0".
class PatchTest : public TestBase
{
    Q_OBJECT

protected slots:
    void init();
    void cleanup();

protected:
    /// Publishes a manifest with @p version and @p files.
    void publish(const QString &version, const QList<Listed> &files);
    /// Publishes @p body as the manifest.
    void publishText(const QByteArray &body);
    /// Publishes @p files and a manifest of version "2" that lists them. A subclass with another
    /// server publishes there.
    virtual void publishWhole(const Files &files);

    /// Checks the state after a failed run: the client folder has exactly the files @p left, the
    /// stored version is the old one, and a run without a fault stores all of its files.
    void expectRecovery(const Files &left);

    /// Starts a run and waits for its end. Returns its last line, or the reason when it did not
    /// end, ended twice or emitted something after its end.
    QString runToEnd();
    /// Waits for @p count ends and until nothing is in flight. False if there are fewer or more.
    bool waitForEnds(int count);
    /// Waits until only held answers are in flight. False on a timeout.
    bool settle();
    /// Waits until the server holds an answer and the manager's reply has @p received bytes of its
    /// body. False on a timeout.
    bool waitForHold(qint64 received = 0);
    /// Starts a run and waits until it is held.
    bool startAndHold(qint64 received = 0);
    /// Resumes the held run and waits for its end; returns its last line.
    QString resumeToEnd();
    /// The manager's reply in flight, null when there is none.
    QNetworkReply *reply() const { return manager->findChild<QNetworkReply *>(); }

    /// Qt's error text for a plain GET of @p url.
    static QString libraryError(const QUrl &url);
    /// The same for @p path on the server.
    QString serverError(const QString &path) const { return libraryError(QUrl(server->url(path))); }

    QString clientPath(const QString &name) const;
    QByteArray clientFile(const QString &name) const;
    /// Every file and folder below the client folder, sorted.
    QStringList clientTree() const;

    /// The version in the settings file, read from disk.
    static QString savedVersion();
    /// The bytes of the settings file. A save() always changes them: the server name in memory is
    /// one that was never saved.
    static QByteArray settingsBytes();

    /// The first two lines of a run.
    static QStringList start() { return {u"status Verificando versao..."_s, u"progress 0"_s}; }
    /// The lines of a run of the files "a" and "b", which are not empty; see linesOnce().
    static QStringList wholeRun();
    /// Last lines of a run.
    static QString complete() { return u"finished true Atualizacao concluida."_s; }
    static QString cancelled() { return u"finished false Atualizacao cancelada."_s; }
    static QString manifestFailed(const QString &text)
    {
        return u"finished false Nao foi possivel baixar manifest.json: "_s + text;
    }
    static QString fileFailed(const QString &path, const QString &text)
    {
        return u"finished false Falha ao baixar "_s + path + u": "_s + text;
    }
    QString openFailed(const QString &name) const
    {
        return u"finished false Nao foi possivel gravar "_s + clientPath(name);
    }
    QString commitFailed(const QString &name) const
    {
        return u"finished false Falha ao salvar "_s + clientPath(name);
    }
    /// Qt's texts for an aborted transfer and for a connection that closes too early.
    static QString aborted() { return u"Operation canceled"_s; }
    static QString closed() { return u"Connection closed"_s; }

    std::unique_ptr<HttpServer> server;
    std::unique_ptr<QTemporaryDir> root;
    std::unique_ptr<PatchManager> manager;
    std::unique_ptr<SignalLog> log;
};
