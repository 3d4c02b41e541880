#pragma once

#include "support/TestMain.h"
#include "support/files/Disk.h"
#include "support/network/HttpServer.h"

#include <QMap>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <optional>

#include "patch/PatchManager.h"

/// Everything that a PatchManager says, in the order in which it says it, one line a signal:
/// "status Verificando versao...", "progress 33", "finished true Atualizacao concluida.".
class SignalLog : public QObject
{
    Q_OBJECT

public:
    explicit SignalLog(PatchManager *manager);

    const QStringList &lines() const { return heard; }
    /// The lines, of neighbours that are alike only one: how often the library reports the same
    /// progress is its own affair.
    QStringList linesOnce() const;
    /// The lines that begin with @p word.
    QStringList linesOf(const QString &word) const;
    int finishedCount() const { return int(linesOf(QStringLiteral("finished")).size()); }
    QString last() const { return heard.isEmpty() ? QString() : heard.last(); }
    void clear() { heard.clear(); }

    /// Runs after each line, inside the signal; the line is already in the list.
    std::function<void(const QString &line)> onLine;

private:
    void append(const QString &line);

    QStringList heard;
};

/// One entry of a manifest that a test publishes; what is not set is left out of the JSON.
struct Listed {
    QString path;
    std::optional<QString> url;
};

/// Content of files, by their names.
using Files = QMap<QString, QByteArray>;

/// Base of the tests of PatchManager: a web server in a thread of its own, an empty client folder,
/// a manager that knows both, and the settings at version "1.0.0".
class PatchTest : public TestBase
{
    Q_OBJECT

protected slots:
    void initTestCase();
    void init();
    void cleanup();

protected:
    /// Publishes a manifest with @p version and @p files.
    void publish(const QString &version, const QList<Listed> &files);
    /// Publishes @p body as the manifest.
    void publishText(const QByteArray &body);
    /// Publishes @p files with their content and a manifest that lists them, with version "2". This
    /// is where a subclass with another server brings that one into order.
    virtual void publishWhole(const Files &files);

    /// Holds a fault to its consequences. The client folder holds the files @p left and no other,
    /// no temporary among them; the version is the old one; and a next run, with the server and the
    /// disk in order, stores all of its files.
    void expectRecovery(const Files &left);

    /// Starts a run, waits for its end and lets everything that is still under way arrive. False
    /// when it did not end, ended twice or said something after its end.
    bool runToEnd();
    /// Waits until there were @p count ends, then lets everything that is still under way arrive.
    /// False when there were fewer or more.
    bool waitForEnds(const std::function<int()> &count);
    bool waitForEnds(int count);
    /// Lets every event arrive that is under way. False when the server does not come to rest.
    bool settle();
    /// Waits until the server holds an answer and the client had time to read what came before.
    bool waitForHold();

    /// The library's own text for the failure of a plain GET of @p url.
    static QString libraryError(const QUrl &url);

    QString clientPath(const QString &name) const;
    QByteArray clientFile(const QString &name) const;
    /// Every file and folder below the client folder, sorted.
    QStringList clientTree() const;

    /// The version in the settings file, read anew.
    static QString savedVersion();
    /// The bytes of the settings file. They change with every save(), because the settings in
    /// memory hold a server name that was never saved.
    static QByteArray settingsBytes();

    std::unique_ptr<HttpServer> server;
    std::unique_ptr<QTemporaryDir> root;
    std::unique_ptr<PatchManager> manager;
    std::unique_ptr<SignalLog> log;
};

/// The text of the library for an aborted transfer.
inline QString abortedText()
{
    return QStringLiteral("Operation canceled");
}
